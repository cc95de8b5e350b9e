"""Samples and the colour filter before them."""

import numpy as np

# By their codes 0 to 5.
GRIDS = ["BGGR", "RGGB", "GBRG", "GRBG", "none", "cell"]
BAYER_GRIDS = GRIDS[:4]

# The types of samples that orn reads.
TYPES = [
    "float64",
    "float32",
    "int8",
    "uint8",
    "int16",
    "uint16",
    "int32",
    "uint32",
]


def cell_positions(
    grid: str, rows: int, columns: int
) -> list[tuple[int, int]]:
    """Row and column in the cell of each plane of a mosaic.

    Planes of the 2 x 2 grids come in the order R, G1 (the green in the row
    of red), B, G2; those of any other cell row by row.
    """
    order = list(range(rows * columns))
    if grid in BAYER_GRIDS:
        red = grid.index("R")
        # Across the row flips the lowest bit of the position, down the
        # column the next one.
        order = [red, red ^ 1, red ^ 3, red ^ 2]
    return [divmod(place, columns) for place in order]


def sample_bits(image: np.ndarray) -> tuple[int, int]:
    """The bits of a sample, and how many the largest one needs.

    The second is 0 where it says nothing: of signed and float samples.
    """
    needed = 0
    if image.dtype.kind == "u":
        needed = max(int(image.max()).bit_length(), 1)
    return image.dtype.itemsize * 8, needed
