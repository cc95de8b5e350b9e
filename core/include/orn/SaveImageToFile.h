/**
 * @file
 * Writing an image file of any known format.
 */
#pragma once

#include <orn/Export.h>

#include <ep/CxMetadata.h>
#include <ep/SxImageBuf.h>

#include <QMap>
#include <QString>
#include <QVariant>

namespace orn {

/**
 * Writes @p image, with @p metadata where given, as ep::CxImageFormatManager::saveImageToFile() does: in the format of
 * the suffix of @p fileName, in place of an existing file.
 * @param parameters  options of the format's saver; may be null
 * @return false, with an existing file left whole, when it cannot
 */
ORN_EXPORT bool SaveImageToFile(const QString& fileName, const ep::SxImageBuf& image, const ep::CxMetadata* metadata,
                                const QMap<QString, QVariant>* parameters);

}  // namespace orn
