/**
 * @file
 * The colour bit depth of a folder of images.
 */
#pragma once

#include <orn/Export.h>

#include <ep/ExImageDataType.h>

#include <QString>
#include <QStringList>

namespace orn {

class CxProgressInfo;
class Protocol;

/** Results of GetColorBitDepthFromDir(): bit 31 marks failure. */
enum ExColorBitDepthResult : unsigned int {
    ColorBitDepthFound = 0,                 ///< an image was read, and the scan came to its end
    ColorBitDepthFailed = 0xA0000000u,      ///< no file, no image, no depth, or canceled
    ColorBitDepthNoBitDepth = 0xA0004315u,  ///< the pointer for the depth is null
    ColorBitDepthNoDataType = 0xA0004316u   ///< the pointer for the sample type is null
};

/**
 * Reads the image files of the folder @p dir whose names match @p nameFilters, each one whole and one after the other,
 * and tells the largest bitDepth among them.
 *
 * Files come in the order of the file system, without hidden ones, pipes and folders. A folder that cannot be listed is
 * an empty one; an empty @p dir is the current folder. A @p dir that ends in a backslash gets no separator, on every
 * system: the names are appended to it as it stands.
 *
 * @param bitDepth  gets the largest depth of what was read, also after a cancellation; 0 when there is none
 * @param dataType  gets the sample type of the first image of that depth; left alone when no file matches
 * @param protocol  may be null. Gets, through QObject::tr():
 * @verbatim
 *   %1 of %2 files checked.      before the files 0, 10, 20, ... with that number and the number of files
 *   Failed to read %1.           after a file that could not be read, with its name
 *   %1 of %2 files checked.      at the end, with the number of files twice, also after a cancellation
 *   Done.                        after that
 * @endverbatim
 * Nothing when no file matches.
 * @param progress  may be null. It is reset, which forgets an earlier cancel(), gets the ratio 1, and after each file
 * the share of all files that were looked at as its total, with the text "Detecting color depth...". A cancel() is seen
 * before the next file. One scan at a time
 *
 * Runs on the caller's thread. Images are read by ep::CxImageFormatManager; one is in memory at a time.
 *
 * @return an ExColorBitDepthResult
 */
ORN_EXPORT unsigned int GetColorBitDepthFromDir(const QString& dir, const QStringList& nameFilters, int* bitDepth,
                                                ep::ExImageDataType* dataType, orn::Protocol* protocol,
                                                orn::CxProgressInfo* progress);

}  // namespace orn
