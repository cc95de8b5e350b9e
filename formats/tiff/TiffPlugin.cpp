#include "TiffPlugin.h"

// The DNG writer is a file of its own; the module builds without it.
#if __has_include("CxDngImageSaver.cpp")
#include "CxDngImageSaver.h"
#define EP_TIFF_WRITES_DNG
#endif

namespace ep {
namespace tiff {

bool TiffPlugin::init()
{
#ifdef EP_TIFF_WRITES_DNG
    CxRtti::instance()->registerClass(this, CxDngImageSaver::staticMetaObject, QStringLiteral("IxImageDataSaver"));
#endif
    return true;
}

}  // namespace tiff
}  // namespace ep
