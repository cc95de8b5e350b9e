#include "WriteTiffImage.h"

#include "TiffTagNames.h"
#include "WriteTiffMetadata.h"

#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace ep {
namespace tiff {
namespace {

/** Offsets of a classic file have 32 bits; tags and compression that gains nothing need room, too. */
constexpr qint64 mostClassicBytes = 3900000000;
constexpr qint64 stripBytes = 512 * 1024;

qint32 planeCount(const SxImageBuf& image)
{
    return image.layout == LayoutPlanar ? image.channels : 1;
}

/** Bytes of the samples of one row: of all channels of a packed image, of one plane of a planar one. */
qint64 rowBytes(const SxImageBuf& image)
{
    return qint64(image.width) * (image.channels / planeCount(image)) * sampleFacts(image.dataType).bytes;
}

/** What the samples mean: what the file that the image came from said, as far as it fits; grey or RGB otherwise. */
quint16 photometric(const SxImageBuf& image, const CxCommonImageMetadata& common)
{
    const QString meaning = common.attributes.value(QLatin1String(photometricAttribute));
    if (meaning == QLatin1String("MinIsWhite") && image.channels < 3)
        return PHOTOMETRIC_MINISWHITE;
    if (meaning == QLatin1String("Separated") && image.channels >= 4)
        return PHOTOMETRIC_SEPARATED;
    return image.channels == 3 || image.channels == 4 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
}

bool setSampleTags(TiffFile& file, const SxImageBuf& image, quint16 meaning)
{
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    const int format = facts.isFloat ? SAMPLEFORMAT_IEEEFP : facts.isSigned ? SAMPLEFORMAT_INT : SAMPLEFORMAT_UINT;
    const int colors = meaning == PHOTOMETRIC_RGB ? 3 : meaning == PHOTOMETRIC_SEPARATED ? 4 : 1;
    const std::vector<uint16_t> extra(static_cast<size_t>(image.channels - colors), EXTRASAMPLE_UNSPECIFIED);
    return file.set(TIFFTAG_SAMPLESPERPIXEL, image.channels) && file.set(TIFFTAG_BITSPERSAMPLE, facts.bits)
           && file.set(TIFFTAG_SAMPLEFORMAT, format) && file.set(TIFFTAG_PHOTOMETRIC, int(meaning))
           && (extra.empty() || file.set(TIFFTAG_EXTRASAMPLES, int(extra.size()), extra.data()));
}

/** Says the depth of integers that leave bits of their type unused. */
bool setDepth(TiffFile& file, const SxImageBuf& image)
{
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    // The tag has room for 32 bits.
    const bool isSayable = image.bitDepth >= (facts.isSigned ? 2 : 1) && image.bitDepth <= 32;
    if (facts.isFloat || !isSayable || image.bitDepth >= facts.bits)
        return true;
    const double maximum = std::ldexp(1.0, facts.isSigned ? image.bitDepth - 1 : image.bitDepth) - 1;
    if (facts.isSigned || facts.bits > 16)
        return file.set(TIFFTAG_SMAXSAMPLEVALUE, maximum);
    return file.set(TIFFTAG_MAXSAMPLEVALUE, int(maximum));
}

bool setCompression(TiffFile& file, const SxImageBuf& image, quint16 compression)
{
    if (!file.set(TIFFTAG_COMPRESSION, int(compression)))
        return false;
    const SxSampleFacts& facts = sampleFacts(image.dataType);
    // Not every reader takes differences of 64-bit integers.
    if (compression == COMPRESSION_NONE || (!facts.isFloat && facts.bytes > 4))
        return true;
    return file.set(TIFFTAG_PREDICTOR, facts.isFloat ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
}

/** Colours of the cell of a mosaic as the tag for them counts; empty when one of them is unknown. */
std::vector<uint8_t> cellColors(const SxImageBuf& image, const CxCommonImageMetadata& common)
{
    static const char* const grids[] = {"BGGR", "RGGB", "GBRG", "GRBG"};
    const bool isBayer = image.bayerGrid >= BayerGridBGGR && image.bayerGrid <= BayerGridGRBG;
    const QString letters = isBayer ? QString::fromLatin1(grids[image.bayerGrid]) : common.patternColors;
    std::vector<uint8_t> colors;
    for (const QChar letter : letters) {
        const int code = QStringLiteral("RGBCMYW").indexOf(letter);
        if (code < 0)
            return {};
        colors.push_back(static_cast<uint8_t>(code));
    }
    return colors;
}

/** Tells other programs about the mosaic. To those that don't ask, the page is a grey image. */
bool setMosaic(TiffFile& file, const SxImageBuf& image, const CxCommonImageMetadata& common)
{
    if (image.channels != 1 || image.bayerGrid == BayerGridNone)
        return true;
    const bool isCell = image.bayerGrid == BayerGridCell;
    const qint64 rows = isCell ? image.patternHeight : 2;
    const qint64 columns = isCell ? image.patternWidth : 2;
    const std::vector<uint8_t> colors = cellColors(image, common);
    if (rows < 1 || columns < 1 || colors.empty() || static_cast<qint64>(colors.size()) != rows * columns)
        return true;
    const uint16_t repeat[] = {static_cast<uint16_t>(rows), static_cast<uint16_t>(columns)};
    return file.set(TIFFTAG_CFAREPEATPATTERNDIM, repeat)
           && file.set(TIFFTAG_CFAPATTERN, int(colors.size()), colors.data());
}

bool setPageTags(TiffFile& file, const SxImageBuf& image, const CxCommonImageMetadata& common,
                 const QByteArray& description, quint16 compression)
{
    const qint64 rowsPerStrip = std::clamp<qint64>(stripBytes / rowBytes(image), 1, image.height);
    return file.set(TIFFTAG_IMAGEWIDTH, image.width) && file.set(TIFFTAG_IMAGELENGTH, image.height)
           && setSampleTags(file, image, photometric(image, common))
           && file.set(TIFFTAG_PLANARCONFIG, image.layout == LayoutPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG)
           && file.set(TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(rowsPerStrip))
           && setCompression(file, image, compression) && setDepth(file, image) && setMosaic(file, image, common)
           && setCommonTags(file, common)
           && (description.isEmpty() || file.set(TIFFTAG_IMAGEDESCRIPTION, description.constData()));
}

/**
 * Lets the samples of a large image begin on a memory page of the file: the system copies them there in half the time
 * when they lie in memory as they shall lie in the file.
 */
bool alignSamples(TiffFile& file, const SxImageBuf& image)
{
    constexpr uint64_t pageBytes = 4096;
    if (rowBytes(image) * image.height < stripBytes)
        return true;
    TIFF* const handle = file.handle();
    const uint64_t used = TIFFGetSeekProc(handle)(TIFFClientdata(handle), 0, SEEK_END);
    std::vector<char> filling(static_cast<size_t>((pageBytes - used % pageBytes) % pageBytes));
    const auto bytes = static_cast<tmsize_t>(filling.size());
    return TIFFGetWriteProc(handle)(TIFFClientdata(handle), filling.data(), bytes) == bytes;
}

/** Hands the samples of an image to libtiff, colours red first. */
class StripWriter {
public:
    StripWriter(TiffFile& file, const SxImageBuf& image)
        : m_file(file), m_image(image), m_rowBytes(rowBytes(image)),
          m_isRun(image.stride == m_rowBytes && (image.layout == LayoutPlanar || !isReordered()))
    {
    }

    bool write()
    {
        uint32_t rowsPerStrip = 0;
        uint16_t compression = 0;
        if (!m_file.get(TIFFTAG_ROWSPERSTRIP, &rowsPerStrip) || rowsPerStrip == 0
            || !m_file.get(TIFFTAG_COMPRESSION, &compression))
            return false;
        m_isRaw = compression == COMPRESSION_NONE;
        uint32_t strip = 0;
        for (qint32 plane = 0; plane < planeCount(m_image); ++plane) {
            for (qint64 y = 0; y < m_image.height; y += rowsPerStrip) {
                const qint64 rows = std::min<qint64>(rowsPerStrip, m_image.height - y);
                if (!writeStrip(strip++, plane, y, rows))
                    return false;
            }
        }
        return true;
    }

private:
    bool isReordered() const
    {
        for (qint32 c = 0; c < m_image.channels; ++c)
            if (ChannelIndexLogicalToPhysical(c, m_image) != c)
                return true;
        return false;
    }

    bool writeStrip(uint32_t strip, qint32 plane, qint64 y, qint64 rows)
    {
        const tmsize_t bytes = rows * m_rowBytes;
        const unsigned char* samples = rowOf(plane, y);
        if (!m_isRun) {
            m_strip.resize(static_cast<size_t>(bytes));
            for (qint64 row = 0; row < rows; ++row)
                gatherRow(plane, y + row, m_strip.data() + row * m_rowBytes);
            samples = m_strip.data();
        }
        // libtiff only reads: samples are in this machine's byte order, and the predictor works on a copy. Samples that
        // are not compressed go to the file without a copy in between.
        const auto put = m_isRaw ? &TIFFWriteRawStrip : &TIFFWriteEncodedStrip;
        return put(m_file.handle(), strip, const_cast<unsigned char*>(samples), bytes) == bytes;
    }

    const unsigned char* rowOf(qint32 plane, qint64 y) const
    {
        const qint32 stored = m_image.layout == LayoutPlanar ? ChannelIndexLogicalToPhysical(plane, m_image) : 0;
        return static_cast<const unsigned char*>(m_image.data) + stored * planeOffset() + y * m_image.stride;
    }

    qint64 planeOffset() const { return m_image.layout == LayoutPlanar ? internal::planeBytes(m_image) : 0; }

    void gatherRow(qint32 plane, qint64 y, unsigned char* row) const
    {
        if (m_image.layout == LayoutPlanar || !isReordered()) {
            std::memcpy(row, rowOf(plane, y), static_cast<size_t>(m_rowBytes));
            return;
        }
        const qint64 bytes = sampleFacts(m_image.dataType).bytes;
        for (qint32 c = 0; c < m_image.channels; ++c) {
            const internal::ConstPlaneView source =
                internal::planeView(m_image, ChannelIndexLogicalToPhysical(c, m_image));
            internal::visitSampleSize(static_cast<qint32>(bytes), [&](auto tag) {
                using Sample = typename decltype(tag)::Type;
                for (qint64 x = 0; x < m_image.width; ++x)
                    internal::storeSample(row + (x * m_image.channels + c) * bytes,
                                          internal::loadSample<Sample>(source.sample(x, y)));
            });
        }
    }

    TiffFile& m_file;
    const SxImageBuf& m_image;
    const qint64 m_rowBytes;
    const bool m_isRun;    // a strip is one run of memory
    bool m_isRaw = false;  // a strip goes to the file as it is
    std::vector<unsigned char> m_strip;
};

}  // namespace

bool writeTiffImage(const QString& path, const SxImageBuf& image, const CxCommonImageMetadata& common,
                    const QByteArray& description, const TiffWriteOptions& options, SxFileError& error)
{
    const qint64 bytes = rowBytes(image) * image.height * planeCount(image) + description.size();
    const bool isBig = options.isBig || bytes > mostClassicBytes;
    TiffFile file = TiffFile::openForWriting(path, isBig ? TiffFile::Variant::Big : TiffFile::Variant::Classic);
    quint64 exif = 0;
    const bool done = file && writeExifDirectory(file, common, exif)
                      && setPageTags(file, image, common, description, options.compression)
                      && (exif == 0 || file.set(TIFFTAG_EXIFIFD, static_cast<uint64_t>(exif)))
                      && alignSamples(file, image) && StripWriter(file, image).write()
                      && TIFFWriteDirectory(file.handle()) == 1 && file.problem().isEmpty();
    if (!done)
        error = {ExFileError::Unwritable, file.problemOr(QStringLiteral("it could not be written"))};
    return done;
}

}  // namespace tiff
}  // namespace ep
