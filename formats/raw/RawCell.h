/**
 * @file
 * The colour-filter cell of a RAW file.
 */
#pragma once

#include <ep/ExBayerGrid.h>

#include <QString>

namespace ep {
namespace raw {

class RawFile;

/** The cell that repeats over the visible area, from its top-left sample on. A plain value. */
struct RawCell {
    ExBayerGrid grid = BayerGridNone;  ///< BayerGridNone: monochrome, or not known
    int width = 0;                     ///< columns; 0 without a grid
    int height = 0;                    ///< rows; 0 without a grid
    QString colors;                    ///< one letter per position, row by row
    bool isUnknown = false;            ///< there is a mosaic, but the file does not tell its pattern
};

/** Finds the cell of an open file from the file's own pattern; it is never guessed. */
RawCell findRawCell(const RawFile& file);

}  // namespace raw
}  // namespace ep
