#include "ImageHistogram.h"

#include "Facts.h"
#include "Json.h"

#include <QJsonArray>
#include <QStringList>

#include <algorithm>
#include <numeric>

namespace {

constexpr quint32 red = 0xd62728;
constexpr quint32 green = 0x2ca02c;
constexpr quint32 otherGreen = 0x7a9a01;
constexpr quint32 blue = 0x1f5fd0;

/** The colour of a part by its name, or by its place among the channels. */
quint32 colorOf(const ep::SxImageInfo& image, const QString& name, int index)
{
    constexpr quint32 others[] = {0x505050, 0xb05a00, 0x8040a0, 0x008080, 0xa04060, 0x607090};
    constexpr quint32 colors[] = {red, green, blue};
    const QStringList lights{QStringLiteral("R"), QStringLiteral("G"), QStringLiteral("B")};
    if (name == QLatin1String("G1"))
        return green;
    if (name == QLatin1String("G2"))
        return otherGreen;
    if (lights.contains(name))
        return colors[lights.indexOf(name)];
    if (image.channels >= 3 && index < 3)
        return colors[image.formatCode == ep::FormatCodeReversedColors ? 2 - index : index];
    return others[(image.channels >= 3 ? index - 3 : index) % 6];
}

bool isReal(ep::ExImageDataType type)
{
    return type == ep::DataTypeFloat || type == ep::DataTypeDouble;
}

QString levelText(double level, ep::ExImageDataType type)
{
    return isReal(type) ? QString::number(level, 'g', 6) : numberText(level);
}

qint64 sum(const QVector<qint64>& counts)
{
    return std::accumulate(counts.begin(), counts.end(), qint64(0));
}

QJsonObject jsonOf(const PartHistogram& part)
{
    QJsonArray counts;
    for (qint64 count : part.histogram.counts)
        counts.append(static_cast<double>(count));
    return {{QStringLiteral("name"), part.name},
            {QStringLiteral("samples"), static_cast<double>(part.samples)},
            {QStringLiteral("below"), static_cast<double>(part.histogram.below)},
            {QStringLiteral("above"), static_cast<double>(part.histogram.above)},
            {QStringLiteral("notNumbers"), static_cast<double>(part.histogram.notNumbers)},
            {QStringLiteral("counts"), counts}};
}

}  // namespace

qint64 ImageHistogram::largestCount() const
{
    qint64 largest = 0;
    for (const PartHistogram& part : parts)
        largest = std::max(largest, *std::max_element(part.histogram.counts.begin(), part.histogram.counts.end()));
    return largest;
}

bool countSamples(const ep::SxImageBuf& image, const QVector<ImagePart>& parts, int mostBins, ImageHistogram& histogram)
{
    if (ep::failed(orn::HistogramBins(image, mostBins, histogram.bins)))
        return false;
    for (const ImagePart& part : parts) {
        const int index = part.places.front().channel;
        PartHistogram counted{part.name, colorOf(image, part.name, index), 0, {}};
        for (const SamplePlace& place : part.places) {
            const SampleView samples = samplesAt(image, place);
            if (ep::failed(orn::HistogramChannel(samples.image, samples.channel, histogram.bins, counted.histogram)))
                return false;
        }
        const orn::SxChannelHistogram& found = counted.histogram;
        counted.samples = sum(found.counts) + found.below + found.above + found.notNumbers;
        histogram.parts << counted;
    }
    return true;
}

QString firstLevelText(const ImageHistogram& histogram, ep::ExImageDataType type)
{
    return levelText(histogram.bins.low, type);
}

QString lastLevelText(const ImageHistogram& histogram, ep::ExImageDataType type)
{
    const orn::SxHistogramBins& bins = histogram.bins;
    return levelText(bins.low + bins.width * bins.count - (isReal(type) ? 0 : 1), type);
}

QString binsText(const ImageHistogram& histogram, ep::ExImageDataType type)
{
    const orn::SxHistogramBins& bins = histogram.bins;
    const QString text = QStringLiteral("%1 %2 of ")
                             .arg(bins.count)
                             .arg(bins.count == 1 ? QStringLiteral("bin") : QStringLiteral("bins"));
    if (isReal(type))
        return text + QString::number(bins.width, 'g', 4);
    return text + numberText(bins.width) + (bins.width == 1 ? QStringLiteral(" level") : QStringLiteral(" levels"));
}

QString strayText(const PartHistogram& part)
{
    QStringList strays;
    const qint64 infinite = part.histogram.below + part.histogram.above;
    if (part.histogram.notNumbers > 0)
        strays << QStringLiteral("%1 not a number").arg(part.histogram.notNumbers);
    if (infinite > 0)
        strays << QStringLiteral("%1 infinite").arg(infinite);
    return strays.join(QStringLiteral(", "));
}

QJsonObject jsonOf(const ImageHistogram& histogram)
{
    QJsonArray parts;
    for (const PartHistogram& part : histogram.parts)
        parts.append(jsonOf(part));
    return {{QStringLiteral("low"), jsonNumber(histogram.bins.low)},
            {QStringLiteral("binWidth"), jsonNumber(histogram.bins.width)},
            {QStringLiteral("bins"), histogram.bins.count},
            {QStringLiteral("parts"), parts}};
}
