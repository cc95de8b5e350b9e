#include "WritePnmRaster.h"

#include <ep/ChannelIndexLogicalToPhysical.h>
#include <ep/internal/PlaneView.h>
#include <ep/internal/SampleVisitor.h>

#include <QByteArray>
#include <QIODevice>
#include <QtEndian>

#include <charconv>
#include <cstring>

namespace ep {
namespace pnm {
namespace {

using internal::loadSample;
using internal::storeSample;

constexpr int longestLine = 70;

/** Collects the samples of row @p y side by side, colours red first. */
void gatherRow(const SxImageBuf& image, qint32 y, unsigned char* row)
{
    const std::ptrdiff_t bytes = sampleFacts(image.dataType).bytes;
    if (image.layout == LayoutPacked && image.formatCode != FormatCodeReversedColors) {
        std::memcpy(row, internal::planeView(image, 0).row(y),
                    static_cast<size_t>(bytes) * image.width * image.channels);
        return;
    }
    internal::visitSampleSize(static_cast<qint32>(bytes), [&](auto tag) {
        using Sample = typename decltype(tag)::Type;
        for (qint32 channel = 0; channel < image.channels; ++channel) {
            const internal::ConstPlaneView plane =
                internal::planeView(image, ChannelIndexLogicalToPhysical(channel, image));
            unsigned char* target = row + channel * bytes;
            for (qint32 x = 0; x < image.width; ++x, target += image.channels * bytes)
                storeSample(target, loadSample<Sample>(plane.sample(x, y)));
        }
    });
}

/** Puts the samples of a row into the byte order of the file, in place. */
void orderBytes(unsigned char* row, const PnmHeader& header)
{
    if (header.kind == PnmKind::FloatMap)
        qToLittleEndian<quint32>(row, header.rowSamples(), row);
    else if (header.sampleBytes() == 2)
        qToBigEndian<quint16>(row, header.rowSamples(), row);
}

/** Packs a row of samples 0 and 1 into bits, first sample first, in place; the last byte is filled up with 0. */
void packBits(unsigned char* row, qint32 width)
{
    for (qint32 x = 0; x < width; x += 8) {
        unsigned int byte = 0;
        for (qint32 bit = 0; bit < 8; ++bit)
            byte = byte << 1 | (x + bit < width ? row[x + bit] : 0u);
        row[x / 8] = static_cast<unsigned char>(byte);
    }
}

/** Text of a row of samples, in lines of at most 70 bytes. */
QByteArray rowText(const unsigned char* row, const PnmHeader& header)
{
    const bool isBitmap = header.kind == PnmKind::Bitmap;
    QByteArray text;
    int lineBytes = 0;
    for (qint64 i = 0; i < header.rowSamples(); ++i) {
        char digits[8];
        const unsigned int sample =
            header.sampleBytes() == 1 ? row[i] : static_cast<unsigned int>(loadSample<quint16>(row + 2 * i));
        const int count = static_cast<int>(std::to_chars(digits, digits + sizeof(digits), sample).ptr - digits);
        const int blank = lineBytes > 0 && !isBitmap ? 1 : 0;
        if (lineBytes + blank + count > longestLine) {
            text += '\n';
            lineBytes = 0;
        } else if (blank) {
            text += ' ';
            ++lineBytes;
        }
        text.append(digits, count);
        lineBytes += count;
    }
    return text + '\n';
}

bool writeRow(QIODevice& device, const PnmHeader& header, unsigned char* row)
{
    if (header.ascii) {
        const QByteArray text = rowText(row, header);
        return device.write(text) == text.size();
    }
    if (header.kind == PnmKind::Bitmap)
        packBits(row, header.width);
    else
        orderBytes(row, header);
    const qint64 bytes = header.rasterRowBytes();
    return device.write(reinterpret_cast<const char*>(row), bytes) == bytes;
}

}  // namespace

bool writeRaster(QIODevice& device, const PnmHeader& header, const SxImageBuf& image)
{
    const bool lastRowFirst = header.kind == PnmKind::FloatMap;
    QByteArray scratch;
    scratch.resize(static_cast<int>(header.rowSamples() * header.sampleBytes()));
    auto* row = reinterpret_cast<unsigned char*>(scratch.data());
    for (qint32 y = 0; y < image.height; ++y) {
        gatherRow(image, lastRowFirst ? image.height - 1 - y : y, row);
        if (!writeRow(device, header, row))
            return false;
    }
    return true;
}

}  // namespace pnm
}  // namespace ep
