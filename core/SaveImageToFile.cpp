#include <orn/SaveImageToFile.h>

#include <ep/CxImageFormatManager.h>

namespace orn {

bool SaveImageToFile(const QString& fileName, const ep::SxImageBuf& image, const ep::CxMetadata* metadata,
                     const QMap<QString, QVariant>* parameters)
{
    ep::CxImageFormatManager::instance();
    return ep::CxImageFormatManager::saveImageToFile(fileName, image, metadata, parameters, false, QString());
}

}  // namespace orn
