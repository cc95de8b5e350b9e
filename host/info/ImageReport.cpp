#include "ImageReport.h"

#include "ImageParts.h"
#include "Json.h"
#include "Mosaic.h"

#include <QJsonArray>

#include <cmath>
#include <limits>

namespace {

/** The smallest and the largest sample of a part of an image. */
struct Range {
    QString name;
    double minimum;
    double maximum;
};

/** The ranges of the parts of an image; empty when its samples are no numbers. */
QVector<Range> rangesOf(const ep::SxImageBuf& image, const QVector<ImagePart>& parts)
{
    QVector<Range> ranges;
    for (const ImagePart& part : parts) {
        constexpr double none = std::numeric_limits<double>::quiet_NaN();
        Range range{part.name, none, none};
        for (const SamplePlace& place : part.places) {
            const SampleView samples = samplesAt(image, place);
            double minimum = none;
            double maximum = none;
            if (ep::failed(ep::SampleRange(samples.image, samples.channel, minimum, maximum)))
                return {};
            range.minimum = std::fmin(range.minimum, minimum);
            range.maximum = std::fmax(range.maximum, maximum);
        }
        ranges << range;
    }
    return ranges;
}

QString rangeText(const Range& range)
{
    return numberText(range.minimum) + QStringLiteral(" .. ") + numberText(range.maximum);
}

QJsonObject rangeJson(const Range& range)
{
    return {{QStringLiteral("minimum"), jsonNumber(range.minimum)},
            {QStringLiteral("maximum"), jsonNumber(range.maximum)}};
}

QString plural(int count, const QString& noun)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(noun, count == 1 ? QString() : QStringLiteral("s"));
}

Fact mosaicFact(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common)
{
    const QString label = QStringLiteral("mosaic");
    if (!isMosaic(image))
        return {label, QStringLiteral("none"), label, QJsonValue::Null};
    const QSize cell = cellSize(image);
    const QString colors = cellColors(image, common);
    QString text = gridName(image);
    if (image.bayerGrid == ep::BayerGridCell && !colors.isEmpty())
        for (int row = 0; row < cell.height(); ++row)
            text += QLatin1Char(' ') + colors.mid(row * cell.width(), cell.width());
    const QJsonObject json{{QStringLiteral("grid"), gridName(image)},
                           {QStringLiteral("code"), image.bayerGrid},
                           {QStringLiteral("cellWidth"), cell.width()},
                           {QStringLiteral("cellHeight"), cell.height()},
                           {QStringLiteral("colors"), colors.isEmpty() ? QJsonValue() : colors}};
    return {label, text, label, json};
}

}  // namespace

QString briefText(const ep::SxImageInfo& image)
{
    QString text = QStringLiteral("%1 x %2, ").arg(image.width).arg(image.height);
    text += QLatin1String(ep::sampleFacts(image.dataType).name);
    if (image.channels != 1)
        text += QStringLiteral(", ") + plural(image.channels, QStringLiteral("channel"));
    text += QStringLiteral(", %1 bit").arg(image.bitDepth);
    return isMosaic(image) ? text + QStringLiteral(", ") + gridName(image) : text;
}

int declaredDepth(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common)
{
    return common && common->colorBitDepth > 0 ? common->colorBitDepth : image.bitDepth;
}

Facts recordFacts(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common)
{
    const QString layout = image.layout == ep::LayoutPlanar ? QStringLiteral("planar") : QStringLiteral("packed");
    const QString type = QLatin1String(ep::sampleFacts(image.dataType).name);
    const int declared = declaredDepth(image, common);
    return {
        {QStringLiteral("size"), QStringLiteral("%1 x %2").arg(image.width).arg(image.height), QStringLiteral("width"),
         image.width},
        {QString(), QString(), QStringLiteral("height"), image.height},
        {QStringLiteral("samples"),
         type + QStringLiteral(", ") + plural(image.channels, QStringLiteral("channel")) + QStringLiteral(", ")
             + layout,
         QStringLiteral("sampleType"), type},
        {QString(), QString(), QStringLiteral("channels"), image.channels},
        {QString(), QString(), QStringLiteral("layout"), layout},
        {QString(), QString(), QStringLiteral("formatCode"), image.formatCode},
        {QString(), QString(), QStringLiteral("stride"), image.stride},
        {QStringLiteral("depth"), plural(image.bitDepth, QStringLiteral("bit")), QStringLiteral("bitDepth"),
         image.bitDepth},
        {declared == image.bitDepth ? QString() : QStringLiteral("declared depth"),
         plural(declared, QStringLiteral("bit")), QStringLiteral("declaredBitDepth"), declared},
        mosaicFact(image, common),
    };
}

Facts sampleFactsOf(const ep::SxImageBuf& image, const ep::CxCommonImageMetadata* common)
{
    Facts facts;
    qint32 usedBits = 0;
    if (!ep::failed(ep::DetectColorBitDepth(image, usedBits)))
        facts << Fact{QStringLiteral("bits used"), QString::number(usedBits), QStringLiteral("usedBits"), usedBits};
    const QVector<Range> parts = rangesOf(image, imageParts(image, common));
    if (parts.isEmpty())
        return facts;
    Range whole = parts.front();
    for (const Range& range : parts) {
        whole.minimum = std::fmin(whole.minimum, range.minimum);
        whole.maximum = std::fmax(whole.maximum, range.maximum);
    }
    facts << Fact{QStringLiteral("range"), rangeText(whole), QStringLiteral("range"), rangeJson(whole)};
    QJsonArray json;
    for (const Range& part : parts) {
        QJsonObject object = rangeJson(part);
        object[QStringLiteral("name")] = part.name;
        json.append(object);
        if (parts.size() > 1)
            facts << Fact{QStringLiteral("  ") + part.name, rangeText(part), QString(), QJsonValue()};
    }
    facts << Fact{QString(), QString(), QStringLiteral("ranges"), json};
    return facts;
}
