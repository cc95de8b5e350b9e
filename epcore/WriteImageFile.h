/**
 * @file
 * Writing an image file so that it is either right or not there.
 */
#pragma once

#include <ep/SxFileError.h>
#include <ep/SxImageBuf.h>

#include <QMap>
#include <QString>
#include <QVariant>

namespace ep {

class CxMetadata;
class FormatCatalog;

/** What to write and how. Owns nothing. */
struct SxWriteRequest {
    QString path;                          ///< the target
    QString formatName;                    ///< name that says the format, in lower case
    const SxImageBuf* image = nullptr;     ///< the image
    const CxMetadata* metadata = nullptr;  ///< its metadata; may be null
    QMap<QString, QVariant> options;       ///< for the saver
    bool refuseReplace = false;            ///< true: an existing file stays
    qint64 memoryLimit = 0;                ///< for the loader that reads the file back
};

/** Writes with the best saver, or the next best where that refuses. @return the reason of a failure */
SxFileError writeImageFile(FormatCatalog& catalog, const SxWriteRequest& request);

}  // namespace ep
