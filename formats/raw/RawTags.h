/**
 * @file
 * What the tags of a TIFF-like RAW file say, noted while LibRaw reads them.
 */
#pragma once

#include <QByteArray>
#include <QMap>
#include <QRect>
#include <QVector>

#include <libraw/libraw.h>

namespace ep {
namespace raw {

/** What one directory says about its image. A plain value. */
struct RawDirectory {
    bool isMosaic = false;     ///< its samples are those of a colour-filter array
    quint32 width = 0;         ///< columns
    quint32 height = 0;        ///< rows
    QRect activeArea;          ///< the part of it that belongs to the picture; empty: not told
    quint32 compression = 0;   ///< TIFF's code; 0: not told
    quint32 sampleFormat = 1;  ///< TIFF's code; 1: unsigned integers
    quint32 tileWidth = 0;     ///< 0: strips
    quint32 tileHeight = 0;    ///< 0: strips
    QVector<quint32> offsets;  ///< where the pieces of the image begin
    QVector<quint32> sizes;    ///< bytes of each piece
    quint32 cellHeight = 0;    ///< rows of the colour-filter cell; 0: not told
    quint32 cellWidth = 0;     ///< columns of that cell
    bool isStaggered = false;  ///< rows or columns of the mosaic are shifted against each other
    QByteArray pattern;        ///< colour codes of the cell row by row; empty: not told
};

/**
 * LibRaw keeps little of what it reads, guesses a pattern where the file tells none, and reads past the end of data
 * without a word in some decoders. This notes the tags that it passes on the way, so that both can be noticed.
 */
class RawTags {
public:
    /** @p identity is what the decoder knows of the file so far. */
    explicit RawTags(const libraw_iparams_t& identity) : m_identity(identity) {}

    /**
     * The callback for LibRaw; ends its work by an exception of its own kind where going on would crash it. @p self is
     * the RawTags object, @p stream stands at the tag's value.
     */
    static void note(void* self, int tag, int type, int count, unsigned int order, void* stream, long long base);

    /** The directory of the mosaic, the largest one; null when the file has none that says so. */
    const RawDirectory* mosaic() const;
    /** True when a piece of the mosaic lies past the end of a file of @p fileBytes bytes. */
    bool isTruncated(qint64 fileBytes) const;
    /** Exif's time of the picture; empty when it is not told. */
    QByteArray captureTime() const { return m_captureTime; }
    /** Exif's offset of that time from UTC; empty when it is not told. */
    QByteArray captureTimeOffset() const { return m_captureTimeOffset; }

private:
    const libraw_iparams_t& m_identity;
    QMap<int, RawDirectory> m_directories;
    QByteArray m_captureTime;
    QByteArray m_captureTimeOffset;
};

}  // namespace raw
}  // namespace ep
