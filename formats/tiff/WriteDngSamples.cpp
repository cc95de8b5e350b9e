#include "WriteDngSamples.h"

#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <QByteArray>

#include <algorithm>
#include <cstring>

namespace ep {
namespace tiff {
namespace {

using namespace internal;

constexpr qint32 stripBytes = 1 << 20;

bool setStorage(TiffFile& file, const SxImageBuf& image, int bits, int format, int compression)
{
    return file.set(TIFFTAG_SUBFILETYPE, 0) && file.set(TIFFTAG_IMAGEWIDTH, image.width)
           && file.set(TIFFTAG_IMAGELENGTH, image.height) && file.set(TIFFTAG_BITSPERSAMPLE, bits)
           && file.set(TIFFTAG_SAMPLESPERPIXEL, 1) && file.set(TIFFTAG_SAMPLEFORMAT, format)
           && file.set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_CFA) && file.set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG)
           && file.set(TIFFTAG_COMPRESSION, compression);
}

/** Strips one after another: readers that know nothing of strips see one run of samples. */
bool writePlain(TiffFile& file, const SxImageBuf& image)
{
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    const qint32 rowBytes = image.width * facts.bytes;
    const qint32 rows = std::clamp(stripBytes / rowBytes, 1, image.height);
    if (!setStorage(file, image, facts.bits, SAMPLEFORMAT_UINT, COMPRESSION_NONE)
        || !file.set(TIFFTAG_ROWSPERSTRIP, rows))
        return false;
    const ConstPlaneView view = planeView(image, 0);
    QByteArray strip(rows * rowBytes, '\0');
    for (qint32 top = 0; top < image.height; top += rows) {
        const qint32 count = std::min(rows, image.height - top);
        for (qint32 y = 0; y < count; ++y)
            std::memcpy(strip.data() + y * rowBytes, view.row(top + y), static_cast<size_t>(rowBytes));
        if (TIFFWriteEncodedStrip(file.handle(), static_cast<uint32_t>(top / rows), strip.data(), count * rowBytes) < 0)
            return false;
    }
    return true;
}

/** Rows of a tile. LibRaw reads neither a single tile nor four: those it takes for the shots of a multi-shot camera. */
qint32 tileRows(qint32 height)
{
    qint32 rows = 64;
    for (; rows > 16; rows /= 2) {
        const qint32 tiles = (height + rows - 1) / rows;
        if (tiles > 1 && tiles != 4)
            break;
    }
    return rows;
}

/** Any sample as float, exactly: the integers that come here have at most 16 bits. */
void copyAsFloats(const SxImageBuf& image, qint32 y, char* row)
{
    visitSampleType(image.dataType, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        const ConstPlaneView view = planeView(image, 0);
        for (qint32 x = 0; x < view.width; ++x)
            storeSample(row + x * qint32(sizeof(float)), static_cast<float>(loadSample<Sample>(view.sample(x, y))));
    });
}

/**
 * Floats in tiles of whole rows, deflated after the floating-point predictor: DNG knows deflate for no integers of 16
 * bits, and readers take it in no other form.
 */
bool writeDeflated(TiffFile& file, const SxImageBuf& image)
{
    constexpr qint32 sampleBytes = sizeof(float);
    const qint32 tileWidth = (image.width + 15) / 16 * 16;
    const qint32 rows = tileRows(image.height);
    const qint32 rowBytes = tileWidth * sampleBytes;
    if (!setStorage(file, image, 8 * sampleBytes, SAMPLEFORMAT_IEEEFP, COMPRESSION_ADOBE_DEFLATE)
        || !file.set(TIFFTAG_PREDICTOR, PREDICTOR_FLOATINGPOINT) || !file.set(TIFFTAG_TILEWIDTH, tileWidth)
        || !file.set(TIFFTAG_TILELENGTH, rows))
        return false;
    QByteArray tile(rows * rowBytes, '\0');
    for (qint32 top = 0; top < image.height; top += rows) {
        // Encoding leaves the predictor's differences behind.
        tile.fill('\0');
        for (qint32 y = top; y < std::min(top + rows, image.height); ++y)
            copyAsFloats(image, y, tile.data() + (y - top) * rowBytes);
        if (TIFFWriteEncodedTile(file.handle(), static_cast<uint32_t>(top / rows), tile.data(), tile.size()) < 0)
            return false;
    }
    return true;
}

}  // namespace

bool writeDngSamples(TiffFile& file, const DngMosaic& mosaic)
{
    return mosaic.isDeflated ? writeDeflated(file, *mosaic.image) : writePlain(file, *mosaic.image);
}

}  // namespace tiff
}  // namespace ep
