/**
 * @file
 * The chain of pages of a TIFF file.
 */
#pragma once

#include <QString>
#include <QVector>

namespace ep {
namespace tiff {

/**
 * The offsets of the pages of the TIFF file @p path in their order: of the directories in its main chain that are not
 * marked as a smaller version or a mask of another (of all of them, if all are). The chain ends where it is damaged or
 * bites its own tail, and at 65,535 pages. The cost does not depend on how large the pages are.
 */
QVector<quint64> tiffPageOffsets(const QString& path);

/**
 * True when the value of a tag in the directory at @p offset lies past the end of the file @p path, of which libtiff
 * makes a tag that is not there.
 */
bool endsBeforeItsTags(const QString& path, quint64 offset);

}  // namespace tiff
}  // namespace ep
