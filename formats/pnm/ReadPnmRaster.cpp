#include "ReadPnmRaster.h"

#include "PnmScanner.h"

#include <ep/internal/MemoryLimit.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <QtEndian>

#include <algorithm>
#include <limits>

namespace ep {
namespace pnm {
namespace {

constexpr qint64 largestTold = 999999999999999;  // larger samples in text are told as one more than this

using internal::CheckedSize;
using internal::loadSample;
using internal::storeSample;

bool fail(SxFileError& error, const QString& reason, ExFileError kind = ExFileError::Unreadable)
{
    error = {kind, reason};
    return false;
}

bool failForMissing(SxFileError& error, qint64 present, qint64 announced, const QString& atLeast = QString())
{
    return fail(error, QStringLiteral("the file ends %1%2 samples short of the %3 that its header announces")
                           .arg(atLeast)
                           .arg(announced - present)
                           .arg(announced));
}

bool failForLarge(SxFileError& error, qint64 sample, const PnmHeader& header)
{
    return fail(error, QStringLiteral("it holds a sample of %1, past the %2 that its header announces as the largest")
                           .arg(sample)
                           .arg(header.maxval));
}

qint64 sampleCount(const PnmHeader& header)
{
    return (CheckedSize(header.rowSamples()) * header.height).value();
}

/** Whole samples in the first @p bytes bytes of a binary raster. */
qint64 samplesIn(qint64 bytes, const PnmHeader& header)
{
    if (header.kind != PnmKind::Bitmap)
        return bytes / header.sampleBytes();
    const qint64 rowBytes = header.rasterRowBytes();
    return bytes / rowBytes * header.width + std::min<qint64>(bytes % rowBytes * 8, header.width);
}

/** Fewest bytes that a raster in text takes: digits stand alone in bitmaps and need blanks between them elsewhere. */
qint64 fewestTextBytes(const PnmHeader& header)
{
    const qint64 samples = sampleCount(header);
    return header.kind == PnmKind::Bitmap ? samples : samples + (samples - 1);
}

/**
 * Turns the bits of a bitmap row into one sample each. The bits stand at the end of the row's own storage: each is read
 * before, or when, its byte is written.
 */
void expandBits(unsigned char* row, const unsigned char* bits, qint32 width)
{
    unsigned int byte = 0;
    for (qint32 x = 0; x < width; ++x) {
        if (x % 8 == 0)
            byte = bits[x / 8];
        row[x] = static_cast<unsigned char>((byte >> (7 - x % 8)) & 1);
    }
}

/** Brings the samples of a row from the byte order of the file into the one of this machine, in place. */
void orderBytes(unsigned char* row, const PnmHeader& header)
{
    const qint64 count = header.rowSamples();
    if (header.kind == PnmKind::FloatMap && header.scale < 0)
        qFromLittleEndian<quint32>(row, count, row);
    else if (header.kind == PnmKind::FloatMap)
        qFromBigEndian<quint32>(row, count, row);
    else if (header.sampleBytes() == 2)
        qFromBigEndian<quint16>(row, count, row);
}

template <typename Sample>
qint32 largestOf(const unsigned char* row, qint64 count)
{
    Sample largest = 0;
    for (qint64 i = 0; i < count; ++i)
        largest = std::max(largest, loadSample<Sample>(row + i * static_cast<qint64>(sizeof(Sample))));
    return largest;
}

qint32 largestSample(const unsigned char* row, const PnmHeader& header)
{
    return header.sampleBytes() == 1 ? largestOf<quint8>(row, header.rowSamples())
                                     : largestOf<quint16>(row, header.rowSamples());
}

bool readBitmap(PnmScanner& scanner, const PnmHeader& header, const internal::PlaneView& rows, SxFileError& error)
{
    const qint64 bytes = header.rasterRowBytes();
    for (qint32 y = 0; y < header.height; ++y) {
        unsigned char* row = rows.row(y);
        unsigned char* bits = row + header.width - bytes;
        if (!scanner.read(bits, bytes))
            return failForMissing(error, y * header.rowSamples(), sampleCount(header));
        expandBits(row, bits, header.width);
    }
    return true;
}

bool readBinary(PnmScanner& scanner, const PnmHeader& header, const internal::PlaneView& rows, SxFileError& error)
{
    const qint32 containerMaximum = header.sampleBytes() == 1 ? 255 : largestMaxval;
    const bool canPass = header.kind != PnmKind::FloatMap && header.maxval < containerMaximum;
    for (qint32 y = 0; y < header.height; ++y) {
        unsigned char* row = rows.row(y);
        if (!scanner.read(row, header.rasterRowBytes()))
            return failForMissing(error, y * header.rowSamples(), sampleCount(header));
        orderBytes(row, header);
        const qint32 largest = canPass ? largestSample(row, header) : 0;
        if (largest > header.maxval)
            return failForLarge(error, largest, header);
    }
    return true;
}

/** The next sample of a raster in text; -1 when none stands there. */
qint64 textSample(PnmScanner& scanner, const PnmHeader& header)
{
    if (header.kind != PnmKind::Bitmap)
        return scanner.number(largestTold);
    // The digits of a bitmap may follow each other without a blank.
    const int byte = scanner.skipBlanks();
    if (byte != '0' && byte != '1')
        return -1;
    scanner.skip();
    return byte - '0';
}

bool readText(PnmScanner& scanner, const PnmHeader& header, const internal::PlaneView& rows, SxFileError& error)
{
    const qint32 bytes = header.sampleBytes();
    for (qint32 y = 0; y < header.height; ++y) {
        unsigned char* target = rows.row(y);
        for (qint64 i = 0; i < header.rowSamples(); ++i, target += bytes) {
            const qint64 sample = textSample(scanner, header);
            const qint64 index = y * header.rowSamples() + i;
            if (sample < 0 && scanner.skipBlanks() == -1)
                return failForMissing(error, index, sampleCount(header));
            if (sample < 0)
                return fail(error, QStringLiteral("it holds %1 where sample %2 of %3 should be")
                                       .arg(scanner.quoteNext())
                                       .arg(index + 1)
                                       .arg(sampleCount(header)));
            if (sample > header.maxval)
                return failForLarge(error, sample, header);
            if (bytes == 1)
                *target = static_cast<unsigned char>(sample);
            else
                storeSample(target, static_cast<quint16>(sample));
        }
    }
    return true;
}

}  // namespace

bool checkRasterSize(const PnmScanner& scanner, const PnmHeader& header, qint64 memoryLimit, SxFileError& error)
{
    const CheckedSize samples = CheckedSize(header.rowSamples()) * header.height;
    const CheckedSize image = samples * header.sampleBytes() * 2;  // half of the range leaves room for every sum here
    if (!image.isValid())
        return fail(error,
                    QStringLiteral("its size of %1 x %2 x %3 samples is past what memory can hold")
                        .arg(header.width)
                        .arg(header.height)
                        .arg(header.channels),
                    ExFileError::TooLarge);
    const qint64 rasterBytes = header.ascii ? fewestTextBytes(header) : header.rasterRowBytes() * header.height;
    const qint64 remaining = scanner.remaining();
    if (remaining < rasterBytes && header.ascii)
        return failForMissing(error, header.kind == PnmKind::Bitmap ? remaining : (remaining + 1) / 2, samples.value(),
                              QStringLiteral("at least "));
    if (remaining < rasterBytes)
        return failForMissing(error, samplesIn(remaining, header), samples.value());
    const qint64 bytes = samples.value() * header.sampleBytes();
    const qint64 rowBytes = header.rowSamples() * header.sampleBytes();
    if (rowBytes > std::numeric_limits<qint32>::max())
        return fail(error,
                    QStringLiteral("a row of its image takes %1 bytes, past what an image can have").arg(rowBytes),
                    ExFileError::TooLarge);
    if (bytes > memoryLimit)
        error = internal::pastMemoryLimit(bytes, memoryLimit);
    return !error;
}

bool readRaster(PnmScanner& scanner, const PnmHeader& header, SxImageBuf& image, SxFileError& error)
{
    const internal::PlaneView rows = internal::planeView(image, 0);
    if (header.ascii)
        return readText(scanner, header, rows, error);
    if (header.kind == PnmKind::Bitmap)
        return readBitmap(scanner, header, rows, error);
    return readBinary(scanner, header, header.kind == PnmKind::FloatMap ? rows.reversedRows() : rows, error);
}

}  // namespace pnm
}  // namespace ep
