/**
 * @file
 * The cells of the square rings that a repair searches.
 */
#pragma once

#include <QtGlobal>

#include <array>
#include <cstddef>

namespace orn {

/** Where a slot of a ring lies, seen from the ring's centre. */
struct RingCell {
    qint64 dx;
    qint64 dy;
};

/** Cells of the square ring of @p radius. */
constexpr qint64 ringCellCount(qint64 radius)
{
    return 8 * radius;
}

/** The cell of a slot, worked out; see ringCell(). */
constexpr RingCell farRingCell(qint64 radius, qint64 slot)
{
    const qint64 side = 2 * radius + 1;
    if (slot < side)
        return {-radius, slot - radius};
    const qint64 inner = slot - side;  // of the columns between the sides, which have two cells each
    if (inner < 2 * (side - 2))
        return {1 - radius + inner / 2, inner % 2 == 0 ? -radius : radius};
    return {radius, inner - 2 * (side - 2) - radius};
}

/** Most searches end in the first rings: their cells lie in a table, ring after ring. */
constexpr qint64 nearRings = 5;

/** Cells of the rings within that of @p radius. */
constexpr qint64 cellsWithin(qint64 radius)
{
    return 4 * radius * (radius - 1);
}

constexpr auto makeNearCells()
{
    std::array<RingCell, cellsWithin(nearRings + 1)> cells{};
    for (qint64 radius = 1; radius <= nearRings; ++radius)
        for (qint64 slot = 0; slot < ringCellCount(radius); ++slot)
            cells[static_cast<std::size_t>(cellsWithin(radius) + slot)] = farRingCell(radius, slot);
    return cells;
}

inline constexpr auto nearCells = makeNearCells();

/**
 * Slot @p slot of the ring of @p radius. Slots run down the columns, the columns from left to right:
 * @verbatim
 *   radius 1    0 3 5
 *               1   6
 *               2 4 7
 * @endverbatim
 */
inline RingCell ringCell(qint64 radius, qint64 slot)
{
    return radius <= nearRings ? nearCells[static_cast<std::size_t>(cellsWithin(radius) + slot)]
                               : farRingCell(radius, slot);
}

}  // namespace orn
