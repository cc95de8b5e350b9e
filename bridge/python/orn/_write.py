"""Writing an image."""

import math
import numbers
import os
import secrets
from collections.abc import Mapping
from contextlib import suppress
from typing import Any, Optional

import numpy as np
import scipy.io

from . import _metadata
from ._errors import OrnError
from ._metadata import FIELDS, Metadata
from ._mosaic import BAYER_GRIDS, GRIDS, TYPES, cell_positions, sample_bits
from ._read import Path, orn_read

_FURTHER_FIELDS = [
    "raw",
    "grid",
    "pattern",
    "bit_depth",
    "source",
    "attributes",
    "other_items",
]
_LARGEST_PLANE = 2**31 - 1024


def orn_write(
    file: Path, image: Any, meta: Optional[Mapping[str, Any]] = None
) -> None:
    """Write an image to a MAT file so that orn reads the same.

    image is an array of rows x columns for one channel, of rows x columns
    x channels for more, of float64, float32, int8 to int32 or uint8 to
    uint32. The file name ends in .mat. An existing file is replaced once
    the new one has been read back and compared.

    meta is what is known of the image: a dict as orn_read returns it, or
    any of its keys. For a mosaic, of rows x columns, meta["grid"] is
    enough; a cell of another size takes meta["grid"] = "cell" and
    meta["pattern"]. meta["raw"] = False makes a plain image of what was a
    mosaic. meta["source"] says where an image came from and is not
    written. Raises OrnError, and TypeError for a meta that is no mapping.

    Examples:

        # a photograph; then orn convert photo.mat photo.tif
        orn_write("photo.mat", image)

        # a capture of 12 bits
        orn_write("capture.mat", mosaic, {"grid": "RGGB", "bit_depth": 12})

        # correct the samples of a capture, keep everything else
        mosaic, meta = orn_read("capture.mat")
        corrected = scipy.ndimage.median_filter(mosaic, 5)
        orn_write("corrected.mat", corrected, meta)
    """
    path = os.fspath(file)
    if meta is not None and not isinstance(meta, Mapping):
        raise TypeError("the metadata must be a dict")
    try:
        samples = _checked_image(path, image)
        metadata, pattern = _checked_metadata(samples, meta or {})
    except ValueError as error:
        raise OrnError(f"{path}: {error}") from error
    planes = _split(samples, GRIDS[metadata.bayer_grid], pattern)
    metadata.saved_channels = len(planes)
    variables: dict[str, Any] = {}
    for i, plane in enumerate(planes, 1):
        variables[f"ep_image_channel_{i}"] = plane
    variables["ep_image_metadata"] = _metadata.to_xml(metadata)
    _save(path, variables, samples)


def _checked_image(path: str, image: Any) -> np.ndarray:
    if not path.lower().endswith(".mat"):
        raise ValueError("the name must end in .mat, as orn's MAT files do")
    samples = np.asarray(image)
    samples = samples.astype(samples.dtype.newbyteorder("="), copy=False)
    kind = samples.dtype.name
    if kind not in TYPES:
        raise ValueError(
            f"an image of {kind} cannot be written, only {', '.join(TYPES)}"
        )
    if samples.ndim not in (2, 3) or samples.size == 0:
        raise ValueError(
            "an image has rows, columns and perhaps channels, "
            f"this array is {samples.shape}"
        )
    rows, columns = samples.shape[:2]
    if rows * columns * samples.itemsize > _LARGEST_PLANE:
        raise ValueError("a MAT file holds no channel of more than 2 GiB")
    return samples[:, :, 0] if samples.shape[2:] == (1,) else samples


def _checked_metadata(
    image: np.ndarray, meta: Mapping[str, Any]
) -> tuple[Metadata, list[str]]:
    """The metadata of the file, and the rows of the mosaic's cell."""
    for key in meta:
        if key not in FIELDS and key not in _FURTHER_FIELDS:
            raise ValueError(f"the metadata has no field {key!r}")
    grid, pattern = _checked_grid(image, meta)
    colors = "".join(pattern)
    channels = 1 if image.ndim == 2 else image.shape[2]
    metadata = Metadata(
        bayer_grid=GRIDS.index(grid),
        layout=int(channels > 1),
        pattern_width=len(pattern[0]) if pattern else 0,
        pattern_height=len(pattern),
        pattern_colors="" if "?" in colors else colors,
        color_bit_depth=_checked_depth(image, meta.get("bit_depth")),
        orig_channels=channels,
        attributes=_checked_attributes(meta.get("attributes")),
        other_items=_checked_items(meta.get("other_items")),
    )
    for name, kind in FIELDS.items():
        metadata.fields[name] = _checked_field(name, kind, meta.get(name))
    return metadata, pattern


def _checked_grid(
    image: np.ndarray, meta: Mapping[str, Any]
) -> tuple[str, list[str]]:
    raw = meta.get("raw")
    if raw is not None and not isinstance(raw, (bool, np.bool_)):
        raise ValueError("meta['raw'] must be True or False")
    pattern = meta.get("pattern")
    pattern = [] if pattern is None else list(pattern)
    if not all(isinstance(row, str) and row for row in pattern):
        raise ValueError("meta['pattern'] must be rows of letters")
    if len({len(row) for row in pattern}) > 1:
        raise ValueError("the rows of meta['pattern'] differ in length")
    grid = meta.get("grid") or ("cell" if pattern else "none")
    if grid not in GRIDS:
        raise ValueError(f"meta['grid'] must be one of {', '.join(GRIDS)}")
    if raw is not None and not raw:
        return "none", []
    if raw and grid == "none":
        raise ValueError(
            "meta['raw'] says that it is a mosaic, "
            "and there is no meta['grid'] to say which"
        )
    if grid == "none":
        return grid, []
    grid, pattern = _checked_pattern(grid, pattern)
    _check_cells(image, len(pattern), len(pattern[0]))
    return grid, pattern


def _checked_pattern(grid: str, pattern: list[str]) -> tuple[str, list[str]]:
    colors = "".join(pattern)
    if grid == "cell" and len(pattern) == 2 and colors in BAYER_GRIDS:
        grid = colors
    if grid == "cell":
        letters = [letter for letter in colors if "!" <= letter <= "~"]
        if len(colors) < 2 or len(letters) < len(colors):
            raise ValueError(
                "a mosaic of grid 'cell' needs its colours in "
                "meta['pattern'], one letter each"
            )
    elif not pattern:
        pattern = [grid[:2], grid[2:]]
    elif colors != grid or len(pattern) != 2:
        raise ValueError(
            "meta['grid'] and meta['pattern'] contradict each other"
        )
    return grid, pattern


def _check_cells(image: np.ndarray, rows: int, columns: int) -> None:
    if image.ndim != 2:
        raise ValueError(
            f"an image of {image.shape[2]} channels is no mosaic: "
            "set meta['raw'] to False"
        )
    if image.shape[0] % rows or image.shape[1] % columns:
        raise ValueError(
            f"a mosaic of {image.shape[0]} x {image.shape[1]} "
            f"is no whole number of {rows} x {columns} cells"
        )


def _checked_depth(image: np.ndarray, depth: Any) -> int:
    if depth is None:
        return 0
    if not _is_number(depth) or depth < 1 or depth != int(depth):
        raise ValueError("meta['bit_depth'] must be a whole number of bits")
    held, needed = sample_bits(image)
    if depth > held:
        raise ValueError(
            f"meta['bit_depth'] is {depth}, "
            f"samples of {image.dtype.name} have {held} bits"
        )
    if depth < needed:
        raise ValueError(
            f"meta['bit_depth'] is {depth}, "
            f"the largest sample needs {needed} bits"
        )
    return int(depth)


def _checked_attributes(attributes: Any) -> dict[str, str]:
    if attributes is None:
        return {}
    if isinstance(attributes, Mapping):
        texts = [*attributes.keys(), *attributes.values()]
        if all(isinstance(text, str) for text in texts):
            return dict(attributes)
    raise ValueError("meta['attributes'] must be a dict of texts")


def _checked_items(items: Any) -> str:
    try:
        _metadata.parse(f"<metadata>{items or ''}</metadata>")
    except ValueError as error:
        raise ValueError(
            "meta['other_items'] must be as orn_read has returned it"
        ) from error
    return str(items or "").encode("ascii", "xmlcharrefreplace").decode()


def _is_number(value: Any) -> bool:
    is_real = isinstance(value, numbers.Real) and not isinstance(value, bool)
    return is_real and math.isfinite(value)


def _checked_field(name: str, kind: str, value: Any) -> Any:
    if value is None:
        return _metadata.unknown(kind)
    if kind == "text":
        if not isinstance(value, str):
            raise ValueError(f"meta[{name!r}] must be a str")
        return value
    if kind in ("list", "matrix"):
        return _checked_list(name, value)
    if not _is_number(value):
        raise ValueError(f"meta[{name!r}] must be a finite number")
    if kind == "number":
        return float(value)
    if value != int(value) or abs(value) >= 2**31:
        raise ValueError(f"meta[{name!r}] must be a whole number")
    return int(value)


def _checked_list(name: str, value: Any) -> list[float]:
    try:
        values = np.asarray(value, dtype=np.float64).ravel()
    except (TypeError, ValueError) as error:
        raise ValueError(f"meta[{name!r}] must be numbers") from error
    if not np.isfinite(values).all():
        raise ValueError(f"meta[{name!r}] must be finite numbers")
    return values.tolist()


def _split(
    image: np.ndarray, grid: str, pattern: list[str]
) -> list[np.ndarray]:
    if not pattern:
        return [image] if image.ndim == 2 else [*np.moveaxis(image, 2, 0)]
    rows, columns = len(pattern), len(pattern[0])
    positions = cell_positions(grid, rows, columns)
    return [image[row::rows, column::columns] for row, column in positions]


def _save(path: str, variables: dict[str, Any], image: np.ndarray) -> None:
    """Lets the file appear under its name when it is whole and proved."""
    part = f"{path}.{secrets.token_hex(4)}.part"
    try:
        with open(part, "xb") as stream:
            scipy.io.savemat(stream, variables, appendmat=False)
            stream.flush()
            os.fsync(stream.fileno())
        if not _is_same(orn_read(part)[0], image):
            raise OrnError(f"{path}: what was written is not the image")
        os.replace(part, path)
    except OSError as error:
        reason = f"it cannot be written ({error.strerror})"
        raise OrnError(f"{path}: {reason}") from error
    finally:
        with suppress(OSError):
            os.remove(part)


def _is_same(a: np.ndarray, b: np.ndarray) -> bool:
    if a.dtype != b.dtype:
        return False
    return np.array_equal(a, b, equal_nan=a.dtype.kind == "f")
