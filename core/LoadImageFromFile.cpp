#include <orn/LoadImageFromFile.h>

#include <ep/CxImageFormatManager.h>

namespace orn {

bool LoadImageFromFile(const QString& fileName, ep::SxImageBuf& image, ep::CxMetadata* metadata)
{
    ep::CxImageFormatManager::instance();
    return ep::CxImageFormatManager::loadImageFromFile(fileName, image, metadata);
}

}  // namespace orn
