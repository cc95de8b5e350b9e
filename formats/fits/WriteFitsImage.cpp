#include "WriteFitsImage.h"

#include "FitsCards.h"
#include "FitsFile.h"
#include "FitsHeader.h"
#include "FitsMetadata.h"
#include "FitsTypes.h"

#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <algorithm>
#include <vector>

namespace ep {
namespace fits {
namespace {

constexpr qint64 chunkBytes = 1 << 20;

using internal::loadSample;
using internal::storeSample;

QByteArray headerText(const SxImageBuf& image, const CxMetadata& metadata)
{
    const FitsType& type = *typeOfSamples(image.dataType);
    QByteArray text = valueCard("SIMPLE", "T") + valueCard("BITPIX", QByteArray::number(type.bitpix))
                      + valueCard("NAXIS", image.channels > 1 ? "3" : "2")
                      + valueCard("NAXIS1", QByteArray::number(image.width))
                      + valueCard("NAXIS2", QByteArray::number(image.height));
    if (image.channels > 1)
        text += valueCard("NAXIS3", QByteArray::number(image.channels));
    if (type.text)
        text += valueCard("BSCALE", "1") + valueCard("BZERO", type.text);
    text += stringCard("ROWORDER", "BOTTOM-UP") + metadataCards(metadata, image)
            + QByteArray("END").leftJustified(cardBytes);
    return text.leftJustified(static_cast<int>(wholeBlocks(text.size())), ' ');
}

/** Puts rows of a channel side by side into @p target, going up from the row @p y. */
void gatherRows(const internal::ConstPlaneView& plane, qint32 sampleBytes, qint32 y, qint32 rows, unsigned char* target)
{
    internal::visitSampleSize(sampleBytes, [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        for (qint32 i = 0; i < rows; ++i)
            for (qint32 x = 0; x < plane.width; ++x, target += sizeof(Sample))
                storeSample(target, loadSample<Sample>(plane.sample(x, y - i)));
    });
}

/** Writes the samples, the bottom row first, colours red first; gives cfitsio's status. */
int writeSamples(const FitsFile& file, const SxImageBuf& image)
{
    const FitsType& type = *typeOfSamples(image.dataType);
    const qint32 sampleBytes = sampleFacts(image.dataType).bytes;
    const qint64 rowBytes = qint64(image.width) * sampleBytes;
    const auto step = static_cast<qint32>(std::clamp<qint64>(chunkBytes / rowBytes, 1, image.height));
    std::vector<unsigned char> scratch(static_cast<size_t>(rowBytes * step));
    LONGLONG first = 1;
    int status = 0;
    for (qint32 channel = 0; channel < image.channels; ++channel) {
        const internal::ConstPlaneView plane =
            internal::planeView(image, ChannelIndexLogicalToPhysical(channel, image));
        for (qint32 y = image.height - 1; y >= 0 && status == 0; y -= step) {
            const qint32 rows = std::min(step, y + 1);
            gatherRows(plane, sampleBytes, y, rows, scratch.data());
            const LONGLONG count = LONGLONG(image.width) * rows;
            fits_write_img(file.handle(), type.code, first, count, scratch.data(), &status);
            first += count;
        }
    }
    return status;
}

}  // namespace

QString obstacle(const SxImageBuf& image)
{
    if (!internal::isSound(image))
        return QStringLiteral("there is no image to write");
    if (!typeOfSamples(image.dataType))
        return QStringLiteral("samples of type %1 are not written as FITS")
            .arg(QLatin1String(sampleFacts(image.dataType).name));
    return QString();
}

bool writeFitsImage(const QString& path, const SxImageBuf& image, const CxMetadata& metadata, qint64& fileBytes,
                    SxFileError& error)
{
    QFile file(path);
    const QByteArray header = headerText(image, metadata);
    if (!file.open(QIODevice::ReadWrite | QIODevice::Truncate) || file.write(header) != header.size()
        || !file.flush()) {
        error = {ExFileError::Unwritable, file.errorString()};
        return false;
    }
    FitsFile writer = FitsFile::open(file, READWRITE);
    if (!writer) {
        error = {ExFileError::Unwritable, problemText(FILE_NOT_OPENED)};
        return false;
    }
    const int status = writeSamples(writer, image);
    const bool isClosed = writer.close();
    if (status != 0 || !isClosed) {
        error = {ExFileError::Unwritable, problemText(status != 0 ? status : FILE_NOT_CLOSED)};
        return false;
    }
    const qint64 samples = qint64(image.width) * image.height * image.channels;
    fileBytes = header.size() + wholeBlocks(samples * sampleFacts(image.dataType).bytes);
    return true;
}

}  // namespace fits
}  // namespace ep
