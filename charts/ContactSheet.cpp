#include "ContactSheet.h"

#include "ChartFont.h"

#include <ep/ExStatus.h>

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

namespace charts {

namespace {

constexpr int pictureWidth = 240;
constexpr int pictureHeight = 180;
constexpr int captionHeight = 24;
constexpr int gap = 12;
constexpr int tileWidth = pictureWidth + gap;
constexpr int tileHeight = pictureHeight + captionHeight + gap;
// What a painter can address.
constexpr int longestSide = 32767;

/** @p picture as large as a tile allows. Small ones are enlarged in whole steps: their pixels stay squares. */
QImage fitted(const QImage& picture)
{
    const QSize room(pictureWidth, pictureHeight);
    const int factor = std::min(room.width() / picture.width(), room.height() / picture.height());
    if (factor >= 1)
        return picture.scaled(picture.size() * factor, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    const QSize size = picture.size().scaled(room, Qt::KeepAspectRatio).expandedTo({1, 1});
    return picture.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/** Copies @p image into a new record. */
bool copyOut(const QImage& image, ep::CxScopedBuffer& sheet)
{
    ep::SxImageInfo info = ep::emptyImage();
    info.width = image.width();
    info.height = image.height();
    info.channels = 3;
    info.dataType = ep::DataTypeUInt8;
    info.bitDepth = 8;
    ep::CxScopedBuffer copy(info);
    if (ep::failed(copy.allocate()))
        return false;
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(static_cast<uchar*>(copy->data) + static_cast<std::ptrdiff_t>(y) * copy->stride,
                    image.constScanLine(y), static_cast<size_t>(copy->stride));
    sheet = std::move(copy);
    return true;
}

}  // namespace

void ContactSheet::addPicture(const ep::SxImageBuf& picture, const QString& caption)
{
    const QImage::Format format = picture.channels == 3 ? QImage::Format_RGB888 : QImage::Format_Grayscale8;
    const QImage whole(static_cast<const uchar*>(picture.data), picture.width, picture.height, picture.stride, format);
    // What fits as it is would still be the caller's memory.
    const QImage copy = fitted(whole).convertToFormat(QImage::Format_RGB888).copy();
    if (copy.isNull())
        throw std::bad_alloc();  // a tile without a picture is one that says why
    m_tiles.push_back({copy, QString(), caption});
}

void ContactSheet::addPlaceholder(const QString& reason, const QString& caption)
{
    m_tiles.push_back({QImage(), reason, caption});
}

void ContactSheet::drawTile(const Tile& tile, const QPoint& corner, QPainter& painter)
{
    const QRect frame(corner, QSize(pictureWidth, pictureHeight));
    if (tile.picture.isNull()) {
        painter.setPen(QPen(QColor(160, 60, 60), 1, Qt::DashLine));
        painter.drawRect(frame.adjusted(0, 0, -1, -1));
        painter.setFont(chartFont(13));
        painter.setPen(QColor(140, 30, 30));
        painter.drawText(frame.adjusted(gap, gap, -gap, -gap), Qt::AlignCenter | Qt::TextWordWrap, tile.reason);
    } else {
        QRect place(QPoint(0, 0), tile.picture.size());
        place.moveCenter(frame.center());
        painter.drawImage(place.topLeft(), tile.picture);
    }
    const QFont font = chartFont(13);
    painter.setFont(font);
    painter.setPen(Qt::black);
    const QRect below(frame.left(), frame.bottom() + 1, pictureWidth, captionHeight);
    painter.drawText(below, Qt::AlignCenter,
                     QFontMetrics(font).elidedText(tile.caption, Qt::ElideMiddle, below.width()));
}

bool ContactSheet::draw(ep::CxScopedBuffer& sheet)
{
    const auto tiles = static_cast<int>(m_tiles.size());
    const int columns = std::max(1, static_cast<int>(std::ceil(std::sqrt(tiles))));
    const int rows = std::max(1, (tiles + columns - 1) / columns);
    if (columns > longestSide / tileWidth - 1 || rows > longestSide / tileHeight - 1)
        return false;
    QImage image(gap + columns * tileWidth, gap + rows * tileHeight, QImage::Format_RGB888);
    if (image.isNull())
        return false;
    image.fill(QColor(236, 236, 236));
    QPainter painter(&image);
    for (int i = 0; i < tiles; ++i)
        drawTile(m_tiles[static_cast<size_t>(i)], {gap + i % columns * tileWidth, gap + i / columns * tileHeight},
                 painter);
    painter.end();
    return copyOut(image, sheet);
}

}  // namespace charts
