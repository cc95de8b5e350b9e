#include "CheckFitsTiles.h"

#include <zlib.h>

#include <algorithm>
#include <limits>
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
    TileTable(const FitsFile& file, const FitsImage& source) : m_file(file.handle()), m_source(source)
    {
        const bool isDeflated = source.header.text("ZCMPTYPE").startsWith("GZIP");
        m_compressed = {column("COMPRESSED_DATA"), isDeflated};
        m_fallback = {column("GZIP_COMPRESSED_DATA"), true};
        m_plain = column("UNCOMPRESSED_DATA");
    }

    bool check(qint64 row)
    {
        const qint64 samples = tileSamples(m_source, row);
        return m_compressed.number > 0 && checkCompressed(m_compressed, row, samples)
               && checkCompressed(m_fallback, row, samples) && lengthOf(m_plain, row) <= samples;
    }

private:
    struct Column {
        int number = 0;  // 0: there is none
        bool isDeflated = false;
    };

    int column(const char* name)
    {
        int number = 0;
        int status = 0;
        // cfitsio wants a pattern that it may write to.
        QByteArray pattern(name);
        return fits_get_colnum(m_file, CASEINSEN, pattern.data(), &number, &status) == 0 ? number : 0;
    }

    /** Elements of the tile in column @p number; past every limit when that cannot be read. */
    qint64 lengthOf(int number, qint64 row)
    {
        LONGLONG length = 0;
        LONGLONG offset = 0;
        int status = 0;
        if (number > 0)
            fits_read_descriptll(m_file, number, row + 1, &length, &offset, &status);
        return status == 0 && length >= 0 ? length : std::numeric_limits<qint64>::max();
    }

    bool checkCompressed(const Column& column, qint64 row, qint64 samples)
    {
        const qint64 length = lengthOf(column.number, row);
        if (length > m_source.stored)
            return false;
        if (length == 0 || !column.isDeflated)
            return true;
        m_bytes.resize(static_cast<size_t>(length));
        int anyNothing = 0;
        int status = 0;
        fits_read_col_byt(m_file, column.number, row + 1, 1, length, 0, m_bytes.data(), &anyNothing, &status);
        constexpr qint64 largestSample = 8;
        const qint64 size = status == 0 ? inflatedSize(m_bytes, samples * largestSample) : -1;
        return size == samples || size == samples * 2 || size == samples * 4 || size == samples * 8;
    }

    fitsfile* m_file;
    const FitsImage& m_source;
    Column m_compressed;
    Column m_fallback;
    int m_plain = 0;
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
