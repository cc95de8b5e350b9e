/**
 * @file
 * What a file-dialog filter says about file names.
 */
#pragma once

#include <QString>
#include <QStringList>

namespace ep {

/** The suffixes in a filter such as "TIFF image (*.tif *.tiff)": lower case, without dot; "*" stands for any. */
QStringList filterSuffixes(const QString& filter);

/** True when the file @p fileName (in lower case) has one of @p suffixes. */
bool hasSuffix(const QString& fileName, const QStringList& suffixes);

}  // namespace ep
