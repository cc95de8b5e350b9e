/**
 * @file
 * Many pictures on one.
 */
#pragma once

#include <charts/IxCharts.h>

#include <QImage>

#include <vector>

class QPainter;

namespace charts {

/**
 * Tiles in rows, about as many of them as there are columns.
 * @verbatim
 *   +----------+ +----------+ +----------+
 *   | picture  | | picture  | |  reason  |
 *   +----------+ +----------+ +----------+
 *      a.dng        b.tif        c.png
 * @endverbatim
 */
class ContactSheet : public IxContactSheet {
public:
    void addPicture(const ep::SxImageBuf& picture, const QString& caption) override;
    void addPlaceholder(const QString& reason, const QString& caption) override;
    bool draw(ep::CxScopedBuffer& sheet) override;

private:
    struct Tile {
        QImage picture;  // null: a placeholder
        QString reason;
        QString caption;
    };
    static void drawTile(const Tile& tile, const QPoint& corner, QPainter& painter);

    std::vector<Tile> m_tiles;
};

}  // namespace charts
