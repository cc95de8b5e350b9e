/**
 * @file
 * What OpenImageIO serves, as it was found out by trying when this was built.
 */
#pragma once

#include <ep/SxImageBuf.h>

#include <QList>
#include <QPair>
#include <QString>

namespace ep {
namespace oiio {

/** How an image fares in a format. */
enum class Holding { None, Lossy, Exact };

/** One format of OpenImageIO. */
struct OiioFormat {
    const char* name;  ///< OpenImageIO's own: "png", "openexr"
    const char* filter;
    int rank;
    bool reads;
    // By sample type, the numbers of channels that come back: bit c - 1 stands for c channels, the last of the five
    // bits for every larger number too.
    unsigned exact[12];
    unsigned lossy[12];
    int mostDescription;  ///< most bytes that were found to fit the description; 0: there is none

    bool writes() const;
    Holding holding(const SxImageInfo& image) const;
    /** What it holds, for people: "samples of type uint8 in 1, 3 or 4 channels". */
    QString contents() const;
    bool is(const char* other) const { return qstrcmp(name, other) == 0; }
};

/** The format that the suffix of @p fileName names; null when there is none. */
const OiioFormat* formatOfFile(const QString& fileName);

/** File-dialog filter and rank of each format that is read, or written. */
QList<QPair<QString, int>> readFormats();
QList<QPair<QString, int>> writtenFormats();

}  // namespace oiio
}  // namespace ep
