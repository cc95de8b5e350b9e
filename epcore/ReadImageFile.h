/**
 * @file
 * Reading an image file with whichever loader takes it.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QMap>
#include <QString>
#include <QVariant>

#include <memory>

namespace ep {

class CxImageData;
class FormatCatalog;

/** What to read and how. */
struct SxReadRequest {
    QString path;                     ///< the file
    QString formatName;               ///< name that says the format, in lower case: its own, or one of another suffix
    QMap<QString, QVariant> options;  ///< for the loader
    qint64 memoryLimit = 0;           ///< for the loader; 0: its default
};

/**
 * Reads the first image of a file and completes it. The candidates are tried by rank until one opens the file.
 * @return null with the reason in @p error: that of the best candidate, which knows the format best
 */
std::unique_ptr<CxImageData> readImageFile(FormatCatalog& catalog, const SxReadRequest& request, SxFileError& error);

}  // namespace ep
