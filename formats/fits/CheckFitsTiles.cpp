#include "CheckFitsTiles.h"

#include "RiceCode.h"

#include <zlib.h>

#include <algorithm>
#include <vector>

namespace ep {
namespace fits {
namespace {

constexpr int gzipWindow = 15 + 16;  // zlib's way to ask for the header of gzip
constexpr size_t bufferBytes = 1 << 16;

/** Bytes that @p deflated inflates to; -1 when it is damaged or gives more than @p most. */
qint64 inflatedSize(std::vector<unsigned char>& deflated, qint64 most)
{
    z_stream stream = {};
    stream.next_in = deflated.data();
    stream.avail_in = static_cast<uInt>(deflated.size());
    if (inflateInit2(&stream, gzipWindow) != Z_OK)
        return -1;
    std::vector<unsigned char> buffer(bufferBytes);
    qint64 bytes = 0;
    int state = Z_OK;
    while (state == Z_OK && bytes <= most) {
        stream.next_out = buffer.data();
        stream.avail_out = static_cast<uInt>(buffer.size());
        state = inflate(&stream, Z_NO_FLUSH);
        bytes += static_cast<qint64>(buffer.size() - stream.avail_out);
    }
    inflateEnd(&stream);
    return state == Z_STREAM_END && bytes <= most ? bytes : -1;
}

/** Samples in tile @p row; those at the right and upper edges are cut. */
qint64 tileSamples(const FitsImage& source, qint64 row)
{
    qint64 samples = 1;
    for (int i = 0; i < source.axes.size(); ++i) {
        const qint64 across = (source.axes[i] + source.tile[i] - 1) / source.tile[i];
        samples *= std::min(source.tile[i], source.axes[i] - row % across * source.tile[i]);
        row /= across;
    }
    return samples;
}

/** The columns that a tile may stand in. */
class TileTable {
public:
    TileTable(const FitsFile& file, const FitsImage& source)
        : m_file(file.handle()), m_source(source), m_coded(column("COMPRESSED_DATA")),
          m_deflated(column("GZIP_COMPRESSED_DATA")), m_plain(column("UNCOMPRESSED_DATA")),
          m_sampleBytes(source.bitpix < 0 ? -source.bitpix / 8 : source.bitpix / 8),
          m_isRice(source.header.text("ZCMPTYPE").startsWith("RICE")), m_isExact(source.bitpix < 0 && isUnscaled())
    {
    }

    /** True when cfitsio can decode the tile in @p row, from the column in which it looks first. */
    bool check(qint64 row)
    {
        const qint64 samples = tileSamples(m_source, row);
        if (m_coded == 0 || m_coded == damaged || m_deflated == damaged || m_plain == damaged)
            return false;
        if (lengthOf(m_coded, row) != 0)
            return read(m_coded, row) && (m_isRice ? isRiceCode(samples) : isDeflated(samples));
        if (m_plain != 0)
            return lengthOf(m_plain, row) == samples;
        return m_deflated != 0 && read(m_deflated, row)
               && inflatedSize(m_bytes, samples * m_sampleBytes) == samples * m_sampleBytes;
    }

private:
    static constexpr int damaged = -1;

    /** The number of a column; 0 when there is none. */
    int column(const char* name)
    {
        int number = 0;
        int status = 0;
        // cfitsio wants a pattern that it may write to.
        QByteArray pattern(name);
        fits_get_colnum(m_file, CASEINSEN, pattern.data(), &number, &status);
        return status == 0 ? number : status == COL_NOT_FOUND ? 0 : damaged;
    }

    /** Elements of the tile in column @p number; -1 when that cannot be read. */
    qint64 lengthOf(int number, qint64 row)
    {
        LONGLONG length = 0;
        LONGLONG offset = 0;
        int status = 0;
        fits_read_descriptll(m_file, number, row + 1, &length, &offset, &status);
        return status == 0 ? length : -1;
    }

    /** Reads the bytes of a tile; false unless there are any. */
    bool read(int number, qint64 row)
    {
        const qint64 length = lengthOf(number, row);
        if (length < 1 || length > m_source.stored)
            return false;
        m_bytes.resize(static_cast<size_t>(length));
        int anyNothing = 0;
        int status = 0;
        fits_read_col_byt(m_file, number, row + 1, 1, length, 0, m_bytes.data(), &anyNothing, &status);
        return status == 0;
    }

    bool isRiceCode(qint64 samples) const
    {
        // cfitsio would take integers for floats of twice their size.
        const FitsHeader& header = m_source.header;
        return !m_isExact
               && holdsRiceCode(m_bytes, samples, header.integer("ZVAL1", 1),
                                static_cast<int>(header.integer("ZVAL2", 4)));
    }

    bool isDeflated(qint64 samples)
    {
        constexpr qint64 largestInteger = 4;
        const qint64 size = inflatedSize(m_bytes, samples * std::max(m_sampleBytes, largestInteger));
        if (m_isExact)
            return size == samples * m_sampleBytes;
        const bool isSmaller = m_source.bitpix > 0 && (size == samples || size == samples * 2);
        return isSmaller || size == samples * largestInteger;
    }

    /** True when floats are kept as such, and not as integers with a scale. */
    bool isUnscaled()
    {
        const FitsHeader& header = m_source.header;
        return header.text("ZQUANTIZ") == "NONE" || (!header.has("ZSCALE") && column("ZSCALE") == 0);
    }

    fitsfile* m_file;
    const FitsImage& m_source;
    int m_coded;
    int m_deflated;
    int m_plain;
    qint64 m_sampleBytes;
    bool m_isRice;
    bool m_isExact;
    std::vector<unsigned char> m_bytes;
};

}  // namespace

bool checkFitsTiles(const FitsFile& file, const FitsImage& source, SxFileError& error)
{
    qint64 tiles = 1;
    for (int i = 0; i < source.axes.size(); ++i)
        tiles *= (source.axes[i] + source.tile[i] - 1) / source.tile[i];
    TileTable table(file, source);
    for (qint64 row = 0; row < tiles; ++row) {
        if (table.check(row))
            continue;
        error = {ExFileError::Unreadable,
                 QStringLiteral("compressed tile %1 of %2 is damaged").arg(row + 1).arg(tiles)};
        return false;
    }
    return true;
}

}  // namespace fits
}  // namespace ep
