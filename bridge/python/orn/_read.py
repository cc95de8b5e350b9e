"""Reading an image."""

import os
import re
from typing import Any, Optional, Union

import numpy as np
import scipy.io

from . import _metadata
from ._errors import OrnError
from ._metadata import Metadata
from ._mosaic import BAYER_GRIDS, GRIDS, cell_positions, sample_bits

Path = Union[str, "os.PathLike[str]"]
Cell = Optional[tuple[int, int]]  # rows and columns; None: no mosaic

_METADATA_NAME = "ep_image_metadata"
_ENTROPY_NAMES = ["PIG", "PDG"]


def orn_read(
    file: Path, name: Optional[str] = None
) -> tuple[np.ndarray, dict[str, Any]]:
    """Read an image that orn has written to a MAT file.

    Returns the samples and what is known of them. The samples are upright:
    an array of rows x columns for one channel or a mosaic, of rows x
    columns x channels for more, in the type of the samples in the file.
    The metadata is a dict; a number that is not known is None, a list [],
    a text "".

        raw          True for a mosaic: each sample has one colour of the
                     pattern
        grid         "RGGB", "BGGR", "GBRG" or "GRBG"; "cell" for a cell of
                     another size; "none". It describes image[:2, :2]
        pattern      the rows of the cell, such as ["RG", "GB"]; "?" for a
                     colour that is not known
        bit_depth    significant bits of a sample
        source       base name of the variables that hold the image
        sensor_width, sensor_height, left_margin, top_margin
                     the whole sensor, and where the image begins on it
        black_levels, white_level
                     the levels of no light (one, or one for each of R, G1,
                     B, G2; for "cell" one for each sample of the cell) and
                     of saturation
        white_balance, color_matrix
                     multipliers of R, G and B; XYZ to camera RGB, 3 rows
        camera_make, camera_model, exposure_time (s), aperture, iso,
        focal_length (mm), capture_time (ISO 8601), orientation (Exif)
        attributes   further texts of the file, a dict
        other_items  metadata that only orn understands, for orn_write

    name chooses an image by its base name, where "orn convert --name" has
    given one; a single image is found by itself. Raises OrnError.

    Examples:

        # a photograph (orn convert photo.tif photo.mat)
        image, meta = orn_read("photo.mat")
        matplotlib.pyplot.imshow(image)

        # the red samples of a capture
        # (orn convert capture.dng capture.mat)
        mosaic, meta = orn_read("capture.mat")
        row, column = divmod("".join(meta["pattern"]).index("R"), 2)
        red = mosaic[row::2, column::2]
    """
    path = os.fspath(file)
    if name is not None and not isinstance(name, str):
        raise TypeError("the name of the image must be a str")
    try:
        names = _variable_names(path)
        base = _find_image(names, name)
        if _METADATA_NAME in names and base not in _ENTROPY_NAMES:
            metadata, planes = _read_own(path, base, names)
        else:
            metadata, planes = _read_entropy(path, base, names)
    except ValueError as error:
        raise OrnError(f"{path}: {error}") from error
    image, cell = _join(planes, metadata)
    return image, _describe(image, metadata, cell, base)


def _variable_names(path: str) -> list[str]:
    if os.path.isdir(path):
        raise ValueError("it is a folder, not a file")
    if not os.path.exists(path):
        raise ValueError("the file does not exist")
    try:
        return [name for name, *_ in scipy.io.whosmat(path, appendmat=False)]
    except NotImplementedError as error:
        raise ValueError("SciPy reads no MAT file of version 7.3") from error
    except OSError as error:
        raise ValueError(error.strerror or str(error)) from error
    except Exception as error:  # whatever SciPy stumbles over
        reason = f"it is not a MAT file, or it is damaged ({error})"
        raise ValueError(reason) from error


def _load(path: str, names: list[str]) -> dict[str, Any]:
    """Loads variables in the classes that MATLAB would give them."""
    try:
        return scipy.io.loadmat(
            path, appendmat=False, mat_dtype=True, variable_names=names
        )
    except Exception as error:  # whatever SciPy stumbles over
        raise ValueError(f"it is damaged ({error})") from error


def _find_image(names: list[str], name: Optional[str]) -> str:
    """The base name: what stands before "_channel_1" or "_channel_R"."""
    matches = [re.fullmatch(r"(.+)_channel_(?:1|R)", each) for each in names]
    found = sorted({match[1] for match in matches if match})
    known = ", ".join(found)
    if not found:
        raise ValueError(
            "it holds no image that orn has written "
            "(orn convert --variable reads other arrays)"
        )
    if name is not None and name not in found:
        raise ValueError(f'it holds no image "{name}", only {known}')
    for usual in [name, *_ENTROPY_NAMES, "ep_image"]:
        if usual is not None and usual in found:
            return usual
    if len(found) > 1:
        raise ValueError(f"it holds several images, name one of them: {known}")
    return found[0]


def _read_own(
    path: str, base: str, names: list[str]
) -> tuple[Metadata, list[np.ndarray]]:
    text = _load(path, [_METADATA_NAME]).get(_METADATA_NAME)
    if not isinstance(text, np.ndarray) or text.dtype.kind != "U":
        raise ValueError("its metadata is no text")
    try:
        metadata = _metadata.parse("".join(text.flat).partition("\0")[0])
    except ValueError as error:
        raise ValueError(f"its metadata is damaged ({error})") from error
    if metadata.saved_channels < 1:
        raise ValueError("its metadata does not say how many planes there are")
    wanted = []
    for i in range(metadata.saved_channels):
        wanted.append(f"{base}_channel_{i + 1}")
        if wanted[-1] not in names:
            raise ValueError(f'the variable "{wanted[-1]}" is missing')
    planes = _read_planes(path, wanted)
    if metadata.reverse_rows:
        planes = [plane[::-1] for plane in planes]
    return metadata, planes


def _read_entropy(
    path: str, base: str, names: list[str]
) -> tuple[Metadata, list[np.ndarray]]:
    """Reads planes without metadata.

    They come by number, or as the four colours of a BGGR mosaic.
    """
    keys = [str(i + 1) for i in range(len(names))]
    if f"{base}_channel_R" in names:
        keys = ["R", "G1", "B", "G2"]
    wanted: list[str] = []
    for key in keys:
        if f"{base}_channel_{key}" not in names:
            break
        wanted.append(f"{base}_channel_{key}")
    planes = _read_planes(path, wanted)
    if planes[0].dtype != np.float64:
        raise ValueError(
            "it holds no image that orn has written: "
            f'"{wanted[0]}" is no plane of doubles'
        )
    is_mosaic = wanted[-1].endswith("_G2")
    return Metadata(bayer_grid=0 if is_mosaic else 4), planes


def _read_planes(path: str, names: list[str]) -> list[np.ndarray]:
    variables = _load(path, names)
    planes = [_as_plane(name, variables.get(name)) for name in names]
    first = planes[0]
    for name, plane in zip(names, planes):
        if plane.dtype != first.dtype or plane.shape != first.shape:
            raise ValueError(f'the variable "{name}" is not like the first')
    return planes


def _as_plane(name: str, value: Any) -> np.ndarray:
    is_array = isinstance(value, np.ndarray) and value.dtype.kind in "iuf"
    if not is_array or value.ndim != 2 or value.size == 0:
        raise ValueError(f'the variable "{name}" is no plane of an image')
    return value.astype(value.dtype.newbyteorder("="), copy=False)


def _join(
    planes: list[np.ndarray], metadata: Metadata
) -> tuple[np.ndarray, Cell]:
    """The image, and its cell when it is a mosaic."""
    cell = _cell_of(metadata)
    if not cell or cell[0] * cell[1] != len(planes) or len(planes) < 2:
        if len(planes) == 1:
            return np.ascontiguousarray(planes[0]), None
        return np.stack(planes, axis=-1), None
    rows, columns = planes[0].shape
    size = (rows * cell[0], columns * cell[1])
    image = np.empty(size, planes[0].dtype)
    positions = cell_positions(GRIDS[metadata.bayer_grid], *cell)
    for plane, (row, column) in zip(planes, positions):
        image[row::cell[0], column::cell[1]] = plane
    return image, cell


def _cell_of(metadata: Metadata) -> Cell:
    if metadata.layout != 0:
        return None
    if 0 <= metadata.bayer_grid < len(BAYER_GRIDS):
        return 2, 2
    if metadata.bayer_grid == GRIDS.index("cell"):
        cell = (metadata.pattern_height, metadata.pattern_width)
        return cell if min(cell) > 0 else None
    return None


def _describe(
    image: np.ndarray, metadata: Metadata, cell: Cell, base: str
) -> dict[str, Any]:
    return {
        "raw": cell is not None,
        "grid": GRIDS[metadata.bayer_grid] if cell else "none",
        "pattern": _pattern(metadata, cell) if cell else [],
        "bit_depth": _true_depth(image, metadata.color_bit_depth),
        "source": base,
        **metadata.fields,
        "attributes": metadata.attributes,
        "other_items": metadata.other_items,
    }


def _pattern(metadata: Metadata, cell: tuple[int, int]) -> list[str]:
    rows, columns = cell
    colors = GRIDS[metadata.bayer_grid]
    if colors == "cell":
        colors = metadata.pattern_colors
    if len(colors) != rows * columns:
        colors = "?" * (rows * columns)
    starts = range(0, len(colors), columns)
    return [colors[start:start + columns] for start in starts]


def _true_depth(image: np.ndarray, declared: int) -> int:
    """The depth that was declared, unless the samples need more."""
    held, needed = sample_bits(image)
    if max(needed, 1) <= declared <= held:
        return declared
    return needed if image.dtype == np.uint16 else held
