#include "ImageParts.h"

#include "Mosaic.h"

#include <QStringList>

#include <algorithm>
#include <limits>

namespace {

/** What each place of the cell is called, row by row. */
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

void add(QVector<ImagePart>& parts, const QString& name, const SamplePlace& place)
{
    const auto known =
        std::find_if(parts.begin(), parts.end(), [&](const ImagePart& part) { return part.name == name; });
    if (known == parts.end())
        parts << ImagePart{name, {place}};
    else
        known->places << place;
}

QVector<ImagePart> colorParts(const ep::SxImageInfo& mosaic, const ep::CxCommonImageMetadata* common)
{
    const QSize cell = cellSize(mosaic);
    const QStringList names = placeNames(mosaic, common);
    QVector<ImagePart> parts;
    for (int place = 0; place < names.size(); ++place) {
        const QPoint first(place % cell.width(), place / cell.width());
        if (first.x() < mosaic.width && first.y() < mosaic.height)
            add(parts, names[place], {0, first, cell});
    }
    const QStringList order{QStringLiteral("R"), QStringLiteral("G1"), QStringLiteral("G"), QStringLiteral("B")};
    const auto rank = [&](const ImagePart& part) { return static_cast<unsigned>(order.indexOf(part.name)); };
    std::stable_sort(parts.begin(), parts.end(),
                     [&](const ImagePart& a, const ImagePart& b) { return rank(a) < rank(b); });
    return parts;
}

/** True when the record of a view can say how far its rows are apart. */
bool hasRoomForStride(const ep::SxImageInfo& image, int rows)
{
    return image.stride <= std::numeric_limits<qint32>::max() / rows;
}

}  // namespace

QVector<ImagePart> channelParts(const ep::SxImageInfo& image)
{
    QVector<ImagePart> parts;
    for (int channel = 0; channel < image.channels; ++channel)
        parts << ImagePart{QStringLiteral("channel %1").arg(channel + 1), {{channel, {0, 0}, {1, 1}}}};
    return parts;
}

QVector<ImagePart> imageParts(const ep::SxImageInfo& image, const ep::CxCommonImageMetadata* common)
{
    constexpr qint64 mostPlaces = 64;
    const QSize cell = cellSize(image);
    const bool isListed = isMosaic(image) && static_cast<qint64>(cell.width()) * cell.height() <= mostPlaces
                          && hasRoomForStride(image, cell.height());
    return isListed ? colorParts(image, common) : channelParts(image);
}

SampleView samplesAt(const ep::SxImageBuf& image, const SamplePlace& place)
{
    if (place.step == QSize(1, 1))
        return {image, place.channel};
    // A row of a cell is one pixel of the view. Its last pixel may end outside of the image, but not the one sample
    // of it that is looked at.
    ep::SxImageBuf view = image;
    view.width = (image.width - place.first.x() + place.step.width() - 1) / place.step.width();
    view.height = (image.height - place.first.y() + place.step.height() - 1) / place.step.height();
    view.channels = place.step.width();
    view.layout = ep::LayoutPacked;
    const bool isPossible = image.data && hasRoomForStride(image, place.step.height());
    view.stride = isPossible ? image.stride * place.step.height() : 0;
    view.data = isPossible
                    ? static_cast<unsigned char*>(image.data) + static_cast<qint64>(image.stride) * place.first.y()
                    : nullptr;
    return {view, place.first.x()};
}
