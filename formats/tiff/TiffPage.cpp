#include "TiffPage.h"

#include <ep/internal/MemoryLimit.h>

#include <cmath>
#include <limits>

namespace ep {
namespace tiff {
namespace {

using internal::CheckedSize;

bool refuse(SxFileError& error, ExFileError kind, const QString& reason)
{
    error = {kind, reason};
    return false;
}

/** The sample type for samples of the file; DataTypeNone when there is none. */
ExImageDataType containerType(quint16 bits, quint16 sampleFormat)
{
    if (sampleFormat == SAMPLEFORMAT_IEEEFP) {
        const bool fitsFloat = bits == 16 || bits == 24 || bits == 32;
        return fitsFloat ? DataTypeFloat : bits == 64 ? DataTypeDouble : DataTypeNone;
    }
    const bool isSigned = sampleFormat == SAMPLEFORMAT_INT;
    if (bits >= 1 && bits <= 8)
        return isSigned ? DataTypeInt8 : DataTypeUInt8;
    if (bits >= 9 && bits <= 16)
        return isSigned ? DataTypeInt16 : DataTypeUInt16;
    if (bits >= 17 && bits <= 32)
        return isSigned ? DataTypeInt32 : DataTypeUInt32;
    if (bits == 64)
        return isSigned ? DataTypeInt64 : DataTypeUInt64;
    return DataTypeNone;
}

/** The n for which 2^n - 1 is @p maximum; 0 when there is none below @p bits. */
qint32 depthOfMaximum(double maximum, qint32 bits)
{
    for (qint32 n = 1; n < bits; ++n)
        if (std::ldexp(1.0, n) - 1 == maximum)
            return n;
    return 0;
}

/** The depth that a tag declares for integers that fill their sample type; 0 when none does. */
qint32 declaredDepth(const TiffFile& file, const TiffPage& page)
{
    const SxSampleFacts& facts = sampleFacts(page.image.dataType);
    if (facts.isFloat || page.bits != facts.bits)
        return 0;
    double maximum = 0;
    uint16_t shortMaximum = 0;
    if (file.get(TIFFTAG_SMAXSAMPLEVALUE, &maximum)) {
        // The largest signed number of n bits is 2^(n - 1) - 1.
        const qint32 n = depthOfMaximum(maximum, facts.isSigned ? facts.bits - 1 : facts.bits);
        return n > 0 && facts.isSigned ? n + 1 : n;
    }
    if (!facts.isSigned && file.get(TIFFTAG_MAXSAMPLEVALUE, &shortMaximum))
        return depthOfMaximum(shortMaximum, facts.bits);
    return 0;
}

bool describeSize(const TiffFile& file, TiffPage& page, SxFileError& error)
{
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t channels = 1;
    if (!file.get(TIFFTAG_IMAGEWIDTH, &width) || !file.get(TIFFTAG_IMAGELENGTH, &height) || width == 0 || height == 0)
        return refuse(error, ExFileError::Unreadable, QStringLiteral("a page has no size"));
    TIFFGetFieldDefaulted(file.handle(), TIFFTAG_SAMPLESPERPIXEL, &channels);
    constexpr uint32_t most = std::numeric_limits<qint32>::max();
    if (width > most || height > most)
        return refuse(error, ExFileError::TooLarge,
                      QStringLiteral("a page of %1 x %2 pixels is too large").arg(width).arg(height));
    if (channels == 0)
        return refuse(error, ExFileError::Unreadable, QStringLiteral("a page has no channel"));
    uint32_t depth = 1;
    if (file.get(TIFFTAG_IMAGEDEPTH, &depth) && depth > 1)
        return refuse(error, ExFileError::Unsupported, QStringLiteral("volumes are not served"));
    page.image.width = static_cast<qint32>(width);
    page.image.height = static_cast<qint32>(height);
    page.image.channels = channels;
    return true;
}

bool describeSamples(const TiffFile& file, TiffPage& page, SxFileError& error)
{
    uint16_t planarConfig = PLANARCONFIG_CONTIG;
    page.bits = 1;
    page.sampleFormat = SAMPLEFORMAT_UINT;
    TIFFGetFieldDefaulted(file.handle(), TIFFTAG_BITSPERSAMPLE, &page.bits);
    TIFFGetFieldDefaulted(file.handle(), TIFFTAG_SAMPLEFORMAT, &page.sampleFormat);
    TIFFGetFieldDefaulted(file.handle(), TIFFTAG_PLANARCONFIG, &planarConfig);
    if (page.sampleFormat == SAMPLEFORMAT_VOID)
        page.sampleFormat = SAMPLEFORMAT_UINT;
    const bool isComplex =
        page.sampleFormat == SAMPLEFORMAT_COMPLEXINT || page.sampleFormat == SAMPLEFORMAT_COMPLEXIEEEFP;
    page.image.dataType = isComplex ? DataTypeNone : containerType(page.bits, page.sampleFormat);
    if (page.image.dataType == DataTypeNone)
        return refuse(error, ExFileError::Unsupported,
                      QStringLiteral("%1 samples of %2 bits are not served")
                          .arg(isComplex                                  ? QStringLiteral("complex")
                               : page.sampleFormat == SAMPLEFORMAT_IEEEFP ? QStringLiteral("float")
                                                                          : QStringLiteral("integer"))
                          .arg(page.bits));
    const SxSampleFacts& facts = sampleFacts(page.image.dataType);
    const qint32 declared = declaredDepth(file, page);
    page.hasDeclaredDepth = declared > 0;
    page.image.bitDepth = facts.isFloat ? facts.bits : declared > 0 ? declared : page.bits;
    page.image.layout = planarConfig == PLANARCONFIG_SEPARATE ? LayoutPlanar : LayoutPacked;
    return true;
}

/** Luminance and colour differences: what JPEG can turn into RGB is turned, what is subsampled otherwise is refused. */
bool settleYCbCr(const TiffFile& file, TiffPage& page, SxFileError& error)
{
    if (page.compression == COMPRESSION_JPEG && page.image.layout == LayoutPacked) {
        if (TIFFSetField(file.handle(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB) != 1)
            return refuse(error, ExFileError::Unsupported, QStringLiteral("this kind of JPEG is not served"));
        page.photometric = PHOTOMETRIC_RGB;
        return true;
    }
    uint16_t horizontal = 2;
    uint16_t vertical = 2;
    TIFFGetFieldDefaulted(file.handle(), TIFFTAG_YCBCRSUBSAMPLING, &horizontal, &vertical);
    if (horizontal != 1 || vertical != 1)
        return refuse(error, ExFileError::Unsupported,
                      QStringLiteral("subsampled colour differences are only served within JPEG"));
    return true;
}

bool describeCoding(const TiffFile& file, TiffPage& page, SxFileError& error)
{
    page.compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file.handle(), TIFFTAG_COMPRESSION, &page.compression);
    if (!file.get(TIFFTAG_PHOTOMETRIC, &page.photometric))
        page.photometric = PHOTOMETRIC_MINISBLACK;
    const bool isServed = page.compression != COMPRESSION_OJPEG && page.compression != COMPRESSION_SGILOG
                          && page.compression != COMPRESSION_SGILOG24 && TIFFIsCODECConfigured(page.compression);
    if (!isServed)
        return refuse(error, ExFileError::Unsupported,
                      QStringLiteral("compression %1 is not served").arg(page.compression));
    return page.photometric != PHOTOMETRIC_YCBCR || settleYCbCr(file, page, error);
}

/** Most bytes that one byte of the file can become; 0: there is no useful limit. */
qint64 largestExpansion(quint16 compression)
{
    switch (compression) {
    case COMPRESSION_NONE: return 1;
    case COMPRESSION_PACKBITS: return 64;  // a run of 128 bytes takes two
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE: return 1100;  // 258 bytes in two bits, and the framing
    case COMPRESSION_LZW: return 4096;            // no string of the table is longer
    default: return 0;
    }
}

}  // namespace

bool describePage(const TiffFile& file, TiffPage& page, SxFileError& error)
{
    page = TiffPage{};
    page.image = emptyImage();
    if (!describeSize(file, page, error) || !describeSamples(file, page, error) || !describeCoding(file, page, error))
        return false;
    const CheckedSize samples =
        CheckedSize(page.image.width) * (page.image.layout == LayoutPlanar ? 1 : page.image.channels);
    const CheckedSize rowBits = samples * page.bits + 7;
    page.rowBytes = rowBits.value() / 8;
    if (!rowBits.isValid() || TIFFScanlineSize64(file.handle()) != static_cast<uint64_t>(page.rowBytes))
        return refuse(error, ExFileError::Unsupported, QStringLiteral("its rows have an unexpected size"));
    return true;
}

bool checkPageSize(const TiffPage& page, qint64 fileBytes, qint64 memoryLimit, SxFileError& error)
{
    const SxImageInfo& image = page.image;
    const CheckedSize bytes =
        CheckedSize(image.width) * image.height * image.channels * sampleFacts(image.dataType).bytes;
    if (!bytes.fits(memoryLimit)) {
        error = internal::pastMemoryLimit(bytes, memoryLimit);
        return false;
    }
    const qint64 planes = image.layout == LayoutPlanar ? image.channels : 1;
    const CheckedSize encoded = CheckedSize(page.rowBytes) * image.height * planes;
    const qint64 expansion = largestExpansion(page.compression);
    if (expansion > 0 && !encoded.fits((CheckedSize(fileBytes) * expansion).value()))
        return refuse(error, ExFileError::Unreadable, QStringLiteral("the file is too short for its samples"));
    return true;
}

}  // namespace tiff
}  // namespace ep
