#include "TiffPlugin.h"

#include "CxTiffImageLoader.h"
#include "CxTiffImageSaver.h"

// The DNG writer is a file of its own; the module works without it.
#if __has_include("CxDngImageSaver.cpp")
#include "CxDngImageSaver.h"
#define EP_TIFF_WRITES_DNG
#endif

namespace ep {
namespace tiff {

bool TiffPlugin::init()
{
    CxRtti* registry = CxRtti::instance();
    registry->registerClass(this, CxTiffImageLoader::staticMetaObject, QStringLiteral("IxImageDataLoader"));
    registry->registerClass(this, CxTiffImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
#ifdef EP_TIFF_WRITES_DNG
    registry->registerClass(this, CxDngImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
#endif
    return true;
}

}  // namespace tiff
}  // namespace ep
