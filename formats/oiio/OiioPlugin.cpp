#include "OiioPlugin.h"

#include "CxOiioImageLoader.h"
#include "CxOiioImageSaver.h"

namespace ep {
namespace oiio {

bool OiioPlugin::init()
{
    CxRtti* registry = CxRtti::instance();
    registry->registerClass(this, CxOiioImageLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    registry->registerClass(this, CxOiioImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
    return true;
}

}  // namespace oiio
}  // namespace ep
