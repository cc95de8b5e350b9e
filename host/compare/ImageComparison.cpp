#include "ImageComparison.h"

#include "Facts.h"
#include "Mosaic.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

QStringList recordDifferences(const ep::SxImageInfo& a, const ep::SxImageInfo& b)
{
    QStringList differences;
    const auto compare = [&](const QString& what, const QString& inA, const QString& inB) {
        if (inA != inB)
            differences << QStringLiteral("%1: %2, %3").arg(what, inA, inB);
    };
    const auto size = [](const ep::SxImageInfo& image) {
        return QStringLiteral("%1 x %2").arg(image.width).arg(image.height);
    };
    compare(QStringLiteral("size"), size(a), size(b));
    compare(QStringLiteral("channels"), QString::number(a.channels), QString::number(b.channels));
    compare(QStringLiteral("sample type"), QLatin1String(ep::sampleFacts(a.dataType).name),
            QLatin1String(ep::sampleFacts(b.dataType).name));
    compare(QStringLiteral("depth"), QString::number(a.bitDepth), QString::number(b.bitDepth));
    compare(QStringLiteral("grid"), gridName(a), gridName(b));
    return differences;
}

bool isReal(const ep::SxImageInfo& image)
{
    return image.dataType == ep::DataTypeFloat || image.dataType == ep::DataTypeDouble;
}

/** The largest value of the depth; of real numbers, which have none, the span of all samples. */
double peakOf(const ep::SxImageBuf& image)
{
    if (!isReal(image))
        return std::ldexp(1.0, image.bitDepth) - 1;
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (int channel = 0; channel < image.channels; ++channel) {
        double minimum = 0;
        double maximum = 0;
        ep::SampleRange(image, channel, minimum, maximum);
        low = std::fmin(low, minimum);
        high = std::fmax(high, maximum);
    }
    return high - low;
}

/** Moves the first difference of @p part, a view at @p place, to where it lies in the image. */
void placeInImage(const SamplePlace& place, orn::SxChannelComparison& part)
{
    if (part.differing == 0)
        return;
    const QPoint first = place.inImage(part.firstColumn, part.firstRow);
    part.firstColumn = first.x();
    part.firstRow = first.y();
}

bool isEarlier(const orn::SxChannelComparison& a, const orn::SxChannelComparison& b)
{
    return a.firstRow != b.firstRow ? a.firstRow < b.firstRow : a.firstColumn < b.firstColumn;
}

/** Adds what was found in other samples of the same image. */
void merge(const orn::SxChannelComparison& more, orn::SxChannelComparison& sum)
{
    if (more.differing > 0 && (sum.differing == 0 || isEarlier(more, sum))) {
        sum.firstColumn = more.firstColumn;
        sum.firstRow = more.firstRow;
        sum.firstA = more.firstA;
        sum.firstB = more.firstB;
    }
    const auto squares = [](const orn::SxChannelComparison& part) {
        return part.rmsError * part.rmsError * static_cast<double>(part.samples);
    };
    const double total = squares(sum) + squares(more);
    sum.samples += more.samples;
    sum.differing += more.differing;
    sum.maximumError = std::fmax(sum.maximumError, more.maximumError);
    sum.rmsError = std::sqrt(total / static_cast<double>(sum.samples));
}

constexpr orn::SxChannelComparison nothingCompared{0, 0, 0, 0, -1, -1, 0, 0};

bool comparePart(const ImagePart& part, const ep::SxImageBuf& a, const ep::SxImageBuf& b, double tolerance,
                 orn::SxChannelComparison& result)
{
    result = nothingCompared;
    for (const SamplePlace& place : part.places) {
        const SampleView inA = samplesAt(a, place);
        const SampleView inB = samplesAt(b, place);
        orn::SxChannelComparison found{};
        if (ep::failed(orn::CompareChannel(inA.image, inB.image, inA.channel, tolerance, found)))
            return false;
        placeInImage(place, found);
        if (part.places.size() == 1)
            result = found;
        else
            merge(found, result);
    }
    return true;
}

bool compareParts(const QVector<ImagePart>& parts, const ep::SxImageBuf& a, const ep::SxImageBuf& b, double tolerance,
                  QVector<PartComparison>& comparisons)
{
    for (const ImagePart& part : parts) {
        PartComparison comparison{part.name, {}};
        if (!comparePart(part, a, b, tolerance, comparison.result))
            return false;
        comparisons << comparison;
    }
    return true;
}

}  // namespace

bool ImageComparison::samplesAgree() const
{
    return std::all_of(channels.begin(), channels.end(),
                       [](const PartComparison& channel) { return channel.result.differing == 0; });
}

bool sameShape(const ep::SxImageInfo& a, const ep::SxImageInfo& b)
{
    return a.width == b.width && a.height == b.height && a.channels == b.channels;
}

bool compareImages(const ep::SxImageBuf& a, const ep::CxCommonImageMetadata* common, const ep::SxImageBuf& b,
                   double tolerance, bool samplesOnly, ImageComparison& comparison)
{
    if (!samplesOnly || !sameShape(a, b))
        comparison.recordDifferences = recordDifferences(a, b);
    if (!sameShape(a, b))
        return true;
    comparison.peak = peakOf(a);
    if (!compareParts(channelParts(a), a, b, tolerance, comparison.channels))
        return false;
    for (int channel = 0; channel < comparison.channels.size(); ++channel)
        comparison.channels[channel].name = QString::number(channel + 1);
    return !isMosaic(a) || compareParts(imageParts(a, common), a, b, tolerance, comparison.colors);
}
