/**
 * @file
 * Metadata beside an image file.
 */
#pragma once

#include <QString>

namespace ep {

/** The side file of the image file @p fileName: "NAME.xml" in the folder @p subdir relative to the file's own. */
QString metadataSideFile(const QString& fileName, const QString& subdir);

}  // namespace ep
