#include "TileField.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace orn {

namespace {

/** Between which two tiles a place lies, and how far on the way from the first one. */
struct Between {
    qint32 first;
    qint32 second;
    double part;
};

Between between(const TileRuler& ruler, qint32 place, bool extrapolate)
{
    if (ruler.count() == 1)
        return {0, 0, 0};
    qint32 tile = ruler.tileAt(place);
    if (place < ruler.centre(tile))
        --tile;
    tile = qBound(0, tile, ruler.count() - 2);
    const double start = ruler.centre(tile);
    const double part = (place - start) / (ruler.centre(tile + 1) - start);
    return {tile, tile + 1, extrapolate ? part : qBound(0.0, part, 1.0)};
}

}  // namespace

qint32 TileRuler::tileAt(qint32 place) const
{
    auto tile = static_cast<qint32>(static_cast<qint64>(place) * m_count / m_length);
    while (tile > 0 && place < begin(tile))
        --tile;
    while (tile + 1 < m_count && place >= begin(tile + 1))
        ++tile;
    return tile;
}

double medianOf(std::vector<double>& values)
{
    if (values.empty())
        return std::numeric_limits<double>::quiet_NaN();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0)
        return *middle;
    // Halved first: the sum of two large numbers might be none.
    return *middle / 2 + *std::max_element(values.begin(), middle) / 2;
}

TileField::TileField(qint32 width, qint32 height, qint32 edge)
    : m_columns(width, edge), m_rows(height, edge), m_values(index(0, m_rows.count()), 0.0)
{
}

double TileField::median() const
{
    std::vector<double> values;
    std::copy_if(m_values.begin(), m_values.end(), std::back_inserter(values),
                 [](double value) { return std::isfinite(value); });
    return values.empty() ? 0 : medianOf(values);
}

double TileField::least() const
{
    return *std::min_element(m_values.begin(), m_values.end());
}

void TileField::fillGaps()
{
    const double middle = median();
    for (double& value : m_values)
        if (!std::isfinite(value))
            value = middle;
}

void TileField::interpolateRow(qint32 y, bool extrapolate, double* row) const
{
    const Between vertical = between(m_rows, y, extrapolate);
    const qint32 count = m_columns.count();
    std::vector<double> values(static_cast<std::size_t>(count));
    for (qint32 column = 0; column < count; ++column) {
        const double upper = at(column, vertical.first);
        values[static_cast<std::size_t>(column)] = upper + (at(column, vertical.second) - upper) * vertical.part;
    }
    // From centre to centre, and from the outermost ones to the edges.
    for (qint32 column = 0; column < qMax(1, count - 1); ++column) {
        const qint32 from = column == 0 ? 0 : static_cast<qint32>(std::ceil(m_columns.centre(column)));
        const qint32 to =
            column + 2 >= count ? m_columns.length() : static_cast<qint32>(std::ceil(m_columns.centre(column + 1)));
        const Between first = between(m_columns, from, true);
        const double left = values[static_cast<std::size_t>(first.first)];
        const double rise = values[static_cast<std::size_t>(first.second)] - left;
        const double start = m_columns.centre(first.first);
        const double length = first.first == first.second ? 1 : m_columns.centre(first.second) - start;
        for (qint32 x = from; x < to; ++x) {
            const double part = (x - start) / length;
            row[x] = left + rise * (extrapolate ? part : qBound(0.0, part, 1.0));
        }
    }
}

}  // namespace orn
