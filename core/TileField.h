/**
 * @file
 * A smooth surface through numbers that belong to the tiles of a plane.
 */
#pragma once

#include <QtGlobal>

#include <cmath>
#include <cstddef>
#include <vector>

namespace orn {

/** A length cut into tiles of nearly one size. */
class TileRuler {
public:
    TileRuler(qint32 length, qint32 edge) : m_length(length), m_count(qMax<qint32>(1, (length + edge / 2) / edge)) {}

    qint32 count() const { return m_count; }
    qint32 length() const { return m_length; }
    /** Where tile @p tile begins; that of the tile past the last one is the end. */
    qint32 begin(qint32 tile) const { return static_cast<qint32>(static_cast<qint64>(tile) * m_length / m_count); }
    double centre(qint32 tile) const { return (begin(tile) + begin(tile + 1) - 1) / 2.0; }
    /** The tile that holds @p place. */
    qint32 tileAt(qint32 place) const;

private:
    qint32 m_length;
    qint32 m_count;
};

/** Median of @p values, which are put into another order; NaN when there is none. */
double medianOf(std::vector<double>& values);

/** How a surface runs between the centres of tiles. */
enum class TileSurface {
    Bilinear,  ///< straight from centre to centre, and level from the outermost ones to the edges
    Cubic      ///< through the four nearest centres of either direction, at the edges through three: follows curvature
};

/** Share of up to four neighbouring tiles in the value at a place. */
struct TileWeights {
    qint32 first;
    qint32 count;
    double weights[4];
};

/** One number per tile of a plane, and the surface between them. */
class TileField {
public:
    TileField(qint32 width, qint32 height, qint32 edge, TileSurface surface);

    const TileRuler& columns() const { return m_columns; }
    const TileRuler& rows() const { return m_rows; }
    double& at(qint32 column, qint32 row) { return m_values[index(column, row)]; }
    double at(qint32 column, qint32 row) const { return m_values[index(column, row)]; }

    /** Gives tiles whose number is not finite the median of the others. */
    void fillGaps();
    double median() const;
    double least() const;

    /** The surface in row @p y of the plane. */
    void interpolateRow(qint32 y, double* row) const;

private:
    std::size_t index(qint32 column, qint32 row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns.count())
               + static_cast<std::size_t>(column);
    }

    TileRuler m_columns;
    TileRuler m_rows;
    TileSurface m_surface;
    std::vector<TileWeights> m_columnWeights;
    std::vector<double> m_values;
};

/**
 * Calls @p use with the column, the row and the finite samples of every tile of @p field.
 * @param readRow  is called with a row and a place for its samples
 * @param everyRow  looks at every so-manieth row of tiles
 */
template <typename ReadRow, typename Use>
void forEachTile(const TileField& field, ReadRow&& readRow, Use&& use, qint32 everyRow = 1)
{
    const TileRuler& columns = field.columns();
    const TileRuler& rows = field.rows();
    const auto width = static_cast<std::size_t>(columns.length());
    std::vector<double> strip;
    std::vector<double> tile;
    for (qint32 row = 0; row < rows.count(); row += everyRow) {
        const qint32 top = rows.begin(row);
        const qint32 bottom = rows.begin(row + 1);
        strip.resize(width * static_cast<std::size_t>(bottom - top));
        for (qint32 y = top; y < bottom; ++y)
            readRow(y, strip.data() + width * static_cast<std::size_t>(y - top));
        for (qint32 column = 0; column < columns.count(); ++column) {
            tile.clear();
            for (qint32 y = top; y < bottom; ++y)
                for (qint32 x = columns.begin(column); x < columns.begin(column + 1); ++x) {
                    const double value = strip[width * static_cast<std::size_t>(y - top) + static_cast<std::size_t>(x)];
                    if (std::isfinite(value))
                        tile.push_back(value);
                }
            use(column, row, tile);
        }
    }
}

}  // namespace orn
