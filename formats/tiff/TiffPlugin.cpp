#include "TiffPlugin.h"

#include "CxDngImageLoader.h"
#include "CxDngImageSaver.h"
#include "CxTiffImageLoader.h"
#include "CxTiffImageSaver.h"

namespace ep {
namespace tiff {

bool TiffPlugin::init()
{
    CxRtti* registry = CxRtti::instance();
    registry->registerClass(this, CxTiffImageLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    registry->registerClass(this, CxTiffImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
    registry->registerClass(this, CxDngImageLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    registry->registerClass(this, CxDngImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
    return true;
}

}  // namespace tiff
}  // namespace ep
