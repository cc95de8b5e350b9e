#include "RawPlugin.h"

#include "CxRawImageLoader.h"

namespace ep {
namespace raw {

bool RawPlugin::init()
{
    CxRtti::instance()->registerClass(this, CxRawImageLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    return true;
}

}  // namespace raw
}  // namespace ep
