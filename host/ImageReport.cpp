#include "ImageReport.h"

#include "Json.h"
#include "Mosaic.h"

#include <QJsonArray>
#include <QMap>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/** The smallest and the largest sample of a part of an image. */
struct Range {
    QString name;
    double minimum;
    double maximum;
};

void add(QVector<Range>& ranges, const Range& range)
{
    for (Range& known : ranges) {
        if (known.name == range.name) {
            known.minimum = std::fmin(known.minimum, range.minimum);
            known.maximum = std::fmax(known.maximum, range.maximum);
            return;
        }
    }
    ranges << range;
}

QVector<Range> channelRanges(const ep::SxImageBuf& image)
{
    QVector<Range> ranges;
    for (int channel = 0; channel < image.channels; ++channel) {
        Range range{QStringLiteral("channel %1").arg(channel + 1), 0, 0};
        if (ep::failed(ep::SampleRange(image, channel, range.minimum, range.maximum)))
            return {};
        ranges << range;
    }
    return ranges;
}

/** What each place of the cell is called, row by row: R, G1, B, G2 for the 2 x 2 grids, else colour or number. */
QStringList placeNames(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common)
{
    const QString colors = cellColors(image, common);
    const QSize cell = cellSize(image);
    QStringList names;
    for (int place = 0; place < cell.width() * cell.height(); ++place) {
        QString name = colors.isEmpty() ? QStringLiteral("place %1").arg(place + 1) : QString(colors[place]);
        if (image.bayerGrid != ep::BayerGridCell && name == QLatin1String("G"))
            name += colors.mid(place / 2 * 2, 2).contains(QLatin1Char('R')) ? QLatin1Char('1') : QLatin1Char('2');
        names << name;
    }
    return names;
}

/** Row @p row of every cell of a packed mosaic: the same memory, where one pixel is a row of the cell. */
ep::SxImageBuf cellRows(const ep::SxImageBuf& mosaic, const QSize& cell, int row)
{
    ep::SxImageBuf view = mosaic;
    view.width = mosaic.width / cell.width();
    view.height = mosaic.height / cell.height();
    view.stride = mosaic.stride * cell.height();
    view.channels = cell.width();
    view.layout = ep::LayoutPacked;
    view.data = static_cast<unsigned char*>(mosaic.data) + static_cast<qint64>(mosaic.stride) * row;
    return view;
}

QVector<Range> colorRanges(const ep::SxImageBuf& mosaic, const ep::CxCommonImageMetadata* common)
{
    constexpr qint64 mostPlaces = 64;
    const QSize cell = cellSize(mosaic);
    const qint64 places = static_cast<qint64>(cell.width()) * cell.height();
    if (places > mostPlaces || mosaic.stride > std::numeric_limits<qint32>::max() / cell.height())
        return {};
    const QStringList names = placeNames(mosaic, common);
    QVector<Range> ranges;
    for (int place = 0; place < places; ++place) {
        Range range{names[place], 0, 0};
        const ep::SxImageBuf rows = cellRows(mosaic, cell, place / cell.width());
        if (ep::failed(ep::SampleRange(rows, place % cell.width(), range.minimum, range.maximum)))
            return {};
        add(ranges, range);
    }
    const QStringList order{QStringLiteral("R"), QStringLiteral("G1"), QStringLiteral("G"), QStringLiteral("B")};
    const auto rank = [&](const Range& range) { return static_cast<unsigned>(order.indexOf(range.name)); };
    std::stable_sort(ranges.begin(), ranges.end(), [&](const Range& a, const Range& b) { return rank(a) < rank(b); });
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

Facts recordFacts(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common)
{
    const QString layout = image.layout == ep::LayoutPlanar ? QStringLiteral("planar") : QStringLiteral("packed");
    const QString type = QLatin1String(ep::sampleFacts(image.dataType).name);
    const int declared = common && common->colorBitDepth > 0 ? common->colorBitDepth : image.bitDepth;
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
    const QVector<Range> channels = channelRanges(image);
    if (channels.isEmpty())
        return facts;
    Range whole = channels.front();
    for (const Range& range : channels) {
        whole.minimum = std::fmin(whole.minimum, range.minimum);
        whole.maximum = std::fmax(whole.maximum, range.maximum);
    }
    facts << Fact{QStringLiteral("range"), rangeText(whole), QStringLiteral("range"), rangeJson(whole)};
    const QVector<Range> parts = isMosaic(image) ? colorRanges(image, common) : channels;
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
