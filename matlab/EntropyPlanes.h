/**
 * @file
 * Entropy images in a MAT file that is open already.
 */
#pragma once

#include "MatDirectory.h"

#include <ep/SxImageBuf.h>

#include <QString>
#include <QStringList>

namespace orn {
namespace matlab {

/** The prefix, "PIG" or "PDG", by which the file is told to be an entropy image; empty when it is none. */
QString entropyPrefix(MatDirectory& directory);

/** The names of the planes under @p prefix that the file holds, in their order. */
QStringList entropyPlaneNames(MatDirectory& directory, const QString& prefix);

/** Prefixes of the variables that readEntropyPlanes() asks for. */
QList<QByteArray> entropyVariables(const QString& prefix);

/**
 * What LoadEntropyImageFromMat() does.
 * @param limit most bytes that the image may take
 */
bool readEntropyPlanes(MatDirectory& directory, const QString& prefix, qint64 limit, ep::SxImageBuf& image,
                       ep::SxFileError& error);

}  // namespace matlab
}  // namespace orn
