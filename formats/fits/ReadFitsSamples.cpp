#include "ReadFitsSamples.h"

#include "CheckFitsTiles.h"
#include "FitsTypes.h"

#include <ep/ExStatus.h>
#include <ep/ReverseRowOrder.h>

#include <limits>

namespace ep {
namespace fits {
namespace {

bool fail(SxFileError& error, int status)
{
    error = {ExFileError::Unreadable, problemText(status)};
    return false;
}

/** True when cfitsio takes the current unit of @p file for the same image as findFitsImage() did. */
bool agrees(const FitsFile& file, const FitsImage& source)
{
    constexpr int mostAxes = 999;
    int bitpix = 0;
    int axes = 0;
    int status = 0;
    QVector<LONGLONG> lengths(mostAxes, 1);
    fits_get_img_paramll(file.handle(), mostAxes, &bitpix, &axes, lengths.data(), &status);
    const bool isCompressed = fits_is_compressed_image(file.handle(), &status) != 0;
    LONGLONG header = 0;
    LONGLONG data = 0;
    LONGLONG end = 0;
    fits_get_hduaddrll(file.handle(), &header, &data, &end, &status);
    return status == 0 && header == source.offset && data == source.offset + source.header.bytes()
           && bitpix == source.bitpix && isCompressed == source.isCompressed && lengths[0] == source.info.width
           && lengths[1] == source.info.height && lengths[2] == source.info.channels;
}

int readAll(const FitsFile& file, const FitsImage& source, SxImageBuf& image)
{
    double noDouble = std::numeric_limits<double>::quiet_NaN();
    float noFloat = std::numeric_limits<float>::quiet_NaN();
    // Stored floats are taken as they are, with every bit of a NaN; where cfitsio computes samples, it has to be told
    // what stands for one without a value.
    void* nothing = nullptr;
    if (source.isScaled || source.isCompressed)
        nothing = image.dataType == DataTypeDouble  ? static_cast<void*>(&noDouble)
                  : image.dataType == DataTypeFloat ? static_cast<void*>(&noFloat)
                                                    : nullptr;
    const LONGLONG count = LONGLONG(image.width) * image.height * image.channels;
    int anyNothing = 0;
    int status = 0;
    fits_read_img(file.handle(), typeOfSamples(image.dataType)->code, 1, count, nothing, image.data, &anyNothing,
                  &status);
    return status;
}

}  // namespace

bool readFitsSamples(const QFile& file, const FitsImage& source, CxScopedBuffer& image, SxFileError& error)
{
    FitsFile reader = FitsFile::open(file, READONLY);
    int status = 0;
    int kind = 0;
    if (!reader)
        return fail(error, FILE_NOT_OPENED);
    if (fits_movabs_hdu(reader.handle(), source.unit, &kind, &status) != 0)
        return fail(error, status);
    if (!agrees(reader, source)) {
        error = {ExFileError::Unreadable, QStringLiteral("its header contradicts itself")};
        return false;
    }
    if (source.isCompressed && !checkFitsTiles(reader, source, error))
        return false;
    CxScopedBuffer samples(source.info);
    if (failed(samples.allocate())) {
        error = {ExFileError::TooLarge, QStringLiteral("there is not enough memory for its image")};
        return false;
    }
    status = readAll(reader, source, samples.image());
    if (status != 0)
        return fail(error, status);
    if (!source.isTopDown)
        ReverseRowOrder(samples.image());
    image = std::move(samples);
    return true;
}

}  // namespace fits
}  // namespace ep
