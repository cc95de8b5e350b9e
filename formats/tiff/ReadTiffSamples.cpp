#include "ReadTiffSamples.h"

#include "TiffRowDecoder.h"

#include <ep/ExStatus.h>
#include <ep/internal/MemoryLimit.h>
#include <ep/internal/PlaneView.h>

#include <algorithm>
#include <memory>
#include <new>

namespace ep {
namespace tiff {
namespace {

using internal::CheckedSize;

/** Scratch memory; null when there is none. */
std::unique_ptr<unsigned char[]> scratch(qint64 bytes)
{
    return std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[static_cast<size_t>(bytes)]());
}

/** One decoding run: the file, what it holds and where it goes. */
class PageReader {
public:
    PageReader(TiffFile& file, const TiffPage& page, SxImageBuf& image)
        : m_file(file), m_page(page), m_image(image), m_decoder(page),
          m_planes(page.image.layout == LayoutPlanar ? page.image.channels : 1),
          m_planeChannels(page.image.layout == LayoutPlanar ? 1 : page.image.channels)
    {
    }

    bool read(qint64 memoryLimit)
    {
        if (TIFFIsTiled(m_file.handle()))
            return readTiles(memoryLimit);
        return m_decoder.isPlain() ? readStrips() : readRows();
    }
    /** Why it failed, apart from what libtiff said. */
    const SxFileError& error() const { return m_error; }

private:
    unsigned char* rowOf(qint32 plane, qint64 y) const
    {
        const qint64 planeBytes = m_page.image.layout == LayoutPlanar ? internal::planeBytes(m_image) : 0;
        return static_cast<unsigned char*>(m_image.data) + plane * planeBytes + y * m_image.stride;
    }

    // The image has tight rows, so a strip of plain samples is one run of it.
    bool readStrips()
    {
        uint32_t rowsPerStrip = 0;
        TIFFGetFieldDefaulted(m_file.handle(), TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
        const qint64 height = m_image.height;
        const qint64 step = std::min<qint64>(rowsPerStrip, height);
        if (step < 1)
            return false;
        for (qint32 plane = 0; plane < m_planes; ++plane) {
            for (qint64 y = 0; y < height; y += step) {
                const tmsize_t bytes = std::min(step, height - y) * m_image.stride;
                const uint32_t strip =
                    TIFFComputeStrip(m_file.handle(), static_cast<uint32_t>(y), static_cast<uint16_t>(plane));
                if (TIFFReadEncodedStrip(m_file.handle(), strip, rowOf(plane, y), bytes) != bytes || hasTrouble())
                    return false;
            }
        }
        return true;
    }

    bool readRows()
    {
        const auto row = scratch(m_page.rowBytes);
        if (!row)
            return failForMemory();
        const qint64 samples = qint64(m_image.width) * m_planeChannels;
        for (qint32 plane = 0; plane < m_planes; ++plane) {
            for (qint32 y = 0; y < m_image.height; ++y) {
                const int done = TIFFReadScanline(m_file.handle(), row.get(), static_cast<uint32_t>(y),
                                                  static_cast<uint16_t>(plane));
                if (done != 1 || hasTrouble())
                    return false;
                m_decoder.decode(row.get(), rowOf(plane, y), samples);
            }
        }
        return true;
    }

    bool readTiles(qint64 memoryLimit)
    {
        uint32_t width = 0;
        uint32_t height = 0;
        if (!m_file.get(TIFFTAG_TILEWIDTH, &width) || !m_file.get(TIFFTAG_TILELENGTH, &height) || width == 0
            || height == 0)
            return false;
        const CheckedSize rowBits = CheckedSize(width) * m_planeChannels * m_page.bits + 7;
        const qint64 rowBytes = rowBits.value() / 8;
        const CheckedSize bytes = CheckedSize(rowBytes) * height;
        if (!rowBits.isValid() || !bytes.fits(memoryLimit)) {
            m_error = internal::pastMemoryLimit(bytes, memoryLimit, QStringLiteral("a tile of its image"));
            return false;
        }
        if (TIFFTileSize64(m_file.handle()) != static_cast<uint64_t>(bytes.value()))
            return false;
        const auto tile = scratch(bytes.value());
        return tile ? readTileGrid(tile.get(), rowBytes, width, height) : failForMemory();
    }

    bool readTileGrid(unsigned char* tile, qint64 rowBytes, qint64 tileWidth, qint64 tileHeight)
    {
        const tmsize_t bytes = rowBytes * tileHeight;
        for (qint32 plane = 0; plane < m_planes; ++plane) {
            for (qint64 y = 0; y < m_image.height; y += tileHeight) {
                for (qint64 x = 0; x < m_image.width; x += tileWidth) {
                    const uint32_t index = TIFFComputeTile(m_file.handle(), static_cast<uint32_t>(x),
                                                           static_cast<uint32_t>(y), 0, static_cast<uint16_t>(plane));
                    if (TIFFReadEncodedTile(m_file.handle(), index, tile, bytes) != bytes || hasTrouble())
                        return false;
                    copyTile(tile, rowBytes, plane, x, y, std::min(tileWidth, m_image.width - x),
                             std::min(tileHeight, m_image.height - y));
                }
            }
        }
        return true;
    }

    void copyTile(const unsigned char* tile, qint64 rowBytes, qint32 plane, qint64 left, qint64 top, qint64 width,
                  qint64 height)
    {
        const qint64 pixelBytes = qint64(m_planeChannels) * sampleFacts(m_image.dataType).bytes;
        for (qint64 y = 0; y < height; ++y)
            m_decoder.decode(tile + y * rowBytes, rowOf(plane, top + y) + left * pixelBytes, width * m_planeChannels);
    }

    // Some decoders report damage and go on as if nothing were.
    bool hasTrouble() const { return !m_file.problem().isEmpty(); }

    bool failForMemory()
    {
        m_error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
        return false;
    }

    TiffFile& m_file;
    const TiffPage& m_page;
    SxImageBuf& m_image;
    const TiffRowDecoder m_decoder;
    const qint32 m_planes;
    const qint32 m_planeChannels;
    SxFileError m_error;
};

}  // namespace

bool readTiffSamples(TiffFile& file, const TiffPage& page, qint64 memoryLimit, CxScopedBuffer& image,
                     SxFileError& error)
{
    CxScopedBuffer samples(page.image);
    if (failed(samples.allocate())) {
        error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory")};
        return false;
    }
    // What reading the directory said is no fault of the samples.
    file.forgetProblems();
    PageReader reader(file, page, samples.image());
    if (!reader.read(memoryLimit)) {
        error = reader.error();
        if (!error)
            error = {ExFileError::Unreadable, file.problemOr(QStringLiteral("samples are missing"))};
        return false;
    }
    image = std::move(samples);
    return true;
}

}  // namespace tiff
}  // namespace ep
