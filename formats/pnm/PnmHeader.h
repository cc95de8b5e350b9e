/**
 * @file
 * The header of a portable map.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QByteArray>
#include <QByteArrayList>
#include <QtGlobal>

namespace ep {
namespace pnm {

class PnmScanner;

/** The kinds of portable maps. */
enum class PnmKind {
    Bitmap,     ///< PBM: bits, 0 is white
    Graymap,    ///< PGM: one channel
    Pixmap,     ///< PPM: red, green, blue
    Arbitrary,  ///< PAM: any number of channels
    FloatMap    ///< PFM: one or three channels of 32-bit floats, the last row first
};

/** Largest sample that an integer map can announce. */
constexpr qint32 largestMaxval = 65535;
/** Most channels that are read and written. */
constexpr qint32 mostChannels = 65535;

/** What a portable map says before its raster. A plain value. */
struct PnmHeader {
    PnmKind kind = PnmKind::Graymap;
    bool ascii = false;       ///< samples stand as decimal text (P1 to P3)
    qint32 width = 0;         ///< pixels per row
    qint32 height = 0;        ///< rows
    qint32 channels = 1;      ///< samples per pixel
    qint32 maxval = 1;        ///< largest sample; 1 for bitmaps, not used by float maps
    double scale = -1;        ///< float maps: below 0 little-endian, above 0 big-endian; the size is a unit
    QByteArray tupleType;     ///< arbitrary maps: what the channels mean; may be empty
    QByteArrayList comments;  ///< without their '#'

    /** Bytes of one sample in memory, and in a binary raster of any kind but the bitmap. */
    qint32 sampleBytes() const { return kind == PnmKind::FloatMap ? 4 : maxval < 256 ? 1 : 2; }
    /** Bits that the largest sample takes. */
    qint32 bitDepth() const;
    /** Bytes of one row of a binary raster. */
    qint64 rasterRowBytes() const;
    /** Samples of one row. */
    qint64 rowSamples() const { return static_cast<qint64>(width) * channels; }
};

/** Reads a header; what @p scanner gives next is the raster. False with the reason in @p error. */
bool readHeader(PnmScanner& scanner, PnmHeader& header, SxFileError& error);

/** The text of @p header as it stands in a file. Float maps get no comments: many of their readers know none. */
QByteArray headerText(const PnmHeader& header);

}  // namespace pnm
}  // namespace ep
