/**
 * @file
 * TIFF files of every kind, made with libtiff from a function that gives the samples.
 */
#pragma once

#include <QFile>
#include <QString>

#include <tiffio.h>

#include <functional>
#include <vector>

namespace testing {

/** Gives the lowest bits of the sample at column x, row y, channel c as they shall stand in the file. */
using TiffSamples = std::function<quint64(int x, int y, int c)>;

/** Samples without a pattern. */
inline quint64 mixed(int x, int y, int c)
{
    quint64 value = static_cast<quint64>(x) * 0x9e3779b97f4a7c15u + static_cast<quint64>(y) * 0xbf58476d1ce4e5b9u
                    + static_cast<quint64>(c + 1) * 0x94d049bb133111ebu;
    value ^= value >> 31;
    return value * 0xd6e8feb86659fd93u;
}

/** A kind of TIFF file. */
struct TiffKind {
    int width = 7;
    int height = 5;
    int channels = 1;
    int bits = 16;
    int format = SAMPLEFORMAT_UINT;
    int planarConfig = PLANARCONFIG_CONTIG;
    int compression = COMPRESSION_NONE;
    int predictor = PREDICTOR_NONE;
    int photometric = PHOTOMETRIC_MINISBLACK;
    int rowsPerStrip = 2;
    int tileSize = 0;        ///< 0: strips
    const char* mode = "w";  ///< libtiff's: "wb" big-endian, "wl" little-endian, "w8" BigTIFF
    int fillOrder = FILLORDER_MSB2LSB;
};

/** Appends samples as TIFF packs them: bit to bit where they are no whole bytes, in this machine's order else. */
class TiffRowPacker {
public:
    explicit TiffRowPacker(int bits) : m_bits(bits) {}

    void add(quint64 sample)
    {
        if (m_bits % 8 == 0) {
            for (int i = 0; i < m_bits / 8; ++i)
                m_bytes.push_back(static_cast<unsigned char>(sample >> (8 * i)));
            return;
        }
        for (int bit = m_bits - 1; bit >= 0; --bit) {
            if (m_used % 8 == 0)
                m_bytes.push_back(0);
            if (sample >> bit & 1)
                m_bytes.back() = static_cast<unsigned char>(m_bytes.back() | 0x80 >> m_used % 8);
            ++m_used;
        }
    }
    void endRow() { m_used = 0; }
    std::vector<unsigned char>& bytes() { return m_bytes; }

private:
    int m_bits;
    int m_used = 0;
    std::vector<unsigned char> m_bytes;
};

/** Writes the samples of one page, and nothing else. */
inline bool writeTiffBlocks(TIFF* file, const TiffKind& kind, const TiffSamples& samples)
{
    const bool isPlanar = kind.planarConfig == PLANARCONFIG_SEPARATE;
    const int blockWidth = kind.tileSize > 0 ? kind.tileSize : kind.width;
    const int blockHeight = kind.tileSize > 0 ? kind.tileSize : kind.rowsPerStrip;
    uint32_t block = 0;
    for (int plane = 0; plane < (isPlanar ? kind.channels : 1); ++plane) {
        for (int top = 0; top < kind.height; top += blockHeight) {
            for (int left = 0; left < kind.width; left += blockWidth) {
                TiffRowPacker packer(kind.bits);
                const int rows = kind.tileSize > 0 ? blockHeight : std::min(blockHeight, kind.height - top);
                for (int y = top; y < top + rows; ++y) {
                    for (int x = left; x < left + blockWidth; ++x)
                        for (int c = isPlanar ? plane : 0; c < (isPlanar ? plane + 1 : kind.channels); ++c)
                            packer.add(x < kind.width && y < kind.height ? samples(x, y, c) : ~quint64(0));
                    packer.endRow();
                }
                std::vector<unsigned char>& bytes = packer.bytes();
                const auto size = static_cast<tmsize_t>(bytes.size());
                const tmsize_t written = kind.tileSize > 0 ? TIFFWriteEncodedTile(file, block, bytes.data(), size)
                                                           : TIFFWriteEncodedStrip(file, block, bytes.data(), size);
                if (written != size)
                    return false;
                ++block;
            }
        }
    }
    return true;
}

/** Sets the tags that @p kind says. */
inline void setTiffTags(TIFF* file, const TiffKind& kind)
{
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, kind.width);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, kind.height);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, kind.channels);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, kind.format);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, kind.planarConfig);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(file, TIFFTAG_FILLORDER, kind.fillOrder);
    TIFFSetField(file, TIFFTAG_COMPRESSION, kind.compression);
    if (kind.predictor != PREDICTOR_NONE)
        TIFFSetField(file, TIFFTAG_PREDICTOR, kind.predictor);
    if (kind.tileSize > 0) {
        TIFFSetField(file, TIFFTAG_TILEWIDTH, kind.tileSize);
        TIFFSetField(file, TIFFTAG_TILELENGTH, kind.tileSize);
    } else {
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, kind.rowsPerStrip);
    }
}

/** Sets further tags of a page. */
using TiffTags = std::function<void(TIFF*)>;

/** Writes a file of @p pages pages; every page has the same samples but for @p samples seeing c + 1000 x page. */
inline bool makeTiff(const QString& path, const TiffKind& kind, const TiffSamples& samples, const TiffTags& tags = {},
                     int pages = 1)
{
    QFile::remove(path);  // see writeFile()
    TIFF* file = TIFFOpen(QFile::encodeName(path).constData(), kind.mode);
    if (!file)
        return false;
    bool done = true;
    for (int page = 0; done && page < pages; ++page) {
        setTiffTags(file, kind);
        if (tags)
            tags(file);
        done = writeTiffBlocks(file, kind, [&](int x, int y, int c) { return samples(x, y, c + 1000 * page); })
               && TIFFWriteDirectory(file) == 1;
    }
    TIFFClose(file);
    return done;
}

}  // namespace testing
