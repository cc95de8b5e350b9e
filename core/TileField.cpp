#include "TileField.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace orn {

namespace {

/** Weights of tiles first to last of @p ruler: the polynomial through their values at their centres. */
TileWeights throughCentres(const TileRuler& ruler, qint32 first, qint32 last, double place)
{
    TileWeights result{first, last - first + 1, {}};
    for (qint32 i = first; i <= last; ++i) {
        double weight = 1;
        for (qint32 other = first; other <= last; ++other)
            if (other != i)
                weight *= (place - ruler.centre(other)) / (ruler.centre(i) - ruler.centre(other));
        result.weights[i - first] = weight;
    }
    return result;
}

TileWeights weightsAt(const TileRuler& ruler, qint32 place, TileSurface surface)
{
    const qint32 last = ruler.count() - 1;
    qint32 tile = ruler.tileAt(place);
    if (place < ruler.centre(tile))
        --tile;
    tile = qBound(0, tile, qMax(0, last - 1));  // of the two centres around
    if (surface == TileSurface::Cubic)
        return throughCentres(ruler, qMax(0, tile - 1), qMin(last, tile + 2), place);
    return throughCentres(ruler, tile, qMin(last, tile + 1),
                          qBound(ruler.centre(0), double(place), ruler.centre(last)));
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

TileField::TileField(qint32 width, qint32 height, qint32 edge, TileSurface surface)
    : m_columns(width, edge), m_rows(height, edge), m_surface(surface), m_values(index(0, m_rows.count()), 0.0)
{
    for (qint32 x = 0; x < width; ++x)
        m_columnWeights.push_back(weightsAt(m_columns, x, surface));
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

void TileField::interpolateRow(qint32 y, double* row) const
{
    const TileWeights vertical = weightsAt(m_rows, y, m_surface);
    std::vector<double> values(static_cast<std::size_t>(m_columns.count()), 0.0);
    for (qint32 i = 0; i < vertical.count; ++i)
        for (qint32 column = 0; column < m_columns.count(); ++column)
            values[static_cast<std::size_t>(column)] += vertical.weights[i] * at(column, vertical.first + i);
    for (std::size_t x = 0; x < m_columnWeights.size(); ++x) {
        const TileWeights& horizontal = m_columnWeights[x];
        double sum = 0;
        for (qint32 i = 0; i < horizontal.count; ++i)
            sum += horizontal.weights[i] * values[static_cast<std::size_t>(horizontal.first + i)];
        row[x] = sum;
    }
}

}  // namespace orn
