"""Calls orn_read and orn_write as they are not meant to be called.

    refusals.py BRIDGE FOLDER

Writes the message of each call to NAME.python in the folder; of a call that
succeeds, "nothing".
"""

import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv[1] + "/python")

import numpy as np  # noqa: E402
from orn import OrnError, orn_read, orn_write  # noqa: E402

FOLDER = pathlib.Path(sys.argv[2])
KEPT = FOLDER / "kept.mat"
GRAY = np.arange(1, 37, dtype=np.uint16).reshape(6, 6)
MOSAIC = {"grid": "RGGB"}

READ = [
    "missing",
    "folder",
    "text",
    "foreign",
    "damaged metadata",
    "metadata of numbers",
    "missing plane",
    "unlike planes",
    "truncated",
    "several images",
]

WRITE = {
    "int64": (GRAY.astype(np.int64), None),
    "logical": (GRAY > 7, None),
    "text image": ("abc", None),
    "complex": (GRAY + 1j, None),
    "four dimensions": (np.ones((2, 2, 2, 2)), None),
    "empty": (np.zeros((0, 3)), None),
    "metadata type": (GRAY, "RGGB"),
    "unknown field": (GRAY, {"Grid": "RGGB"}),
    "unknown grid": (GRAY, {"grid": "RGBG"}),
    "odd mosaic": (GRAY[:, :5], MOSAIC),
    "mosaic of channels": (np.stack([GRAY, GRAY], axis=-1), MOSAIC),
    "raw without grid": (GRAY, {"raw": True}),
    "cell without pattern": (GRAY, {"grid": "cell"}),
    "contradiction": (GRAY, {"grid": "RGGB", "pattern": ["GR", "BG"]}),
    "small depth": (GRAY, {"bit_depth": 5}),
    "large depth": (GRAY, {"bit_depth": 17}),
    "broken depth": (GRAY, {"bit_depth": 12.5}),
    "number for a text": (GRAY, {"camera_make": 7}),
    "text for a number": (GRAY, {"iso": "fast"}),
    "not finite": (GRAY, {"black_levels": [1, float("nan")]}),
    "broken integer": (GRAY, {"orientation": 1.5}),
    "attributes": (GRAY, {"attributes": {1: "x"}}),
    "other items": (GRAY, {"other_items": "<item>"}),
}


def attempt(name, function, *arguments):
    message = "nothing"
    try:
        function(*arguments)
    except (OrnError, TypeError) as error:
        message = str(error)
    (FOLDER / f"{name}.python").write_text(message, encoding="utf-8")


for stem in READ:
    attempt(stem, orn_read, FOLDER / f"{stem}.mat")
attempt("no such image", orn_read, FOLDER / "several images.mat", "c")
attempt("no file name", orn_read, 7)
for case, (image, meta) in WRITE.items():
    attempt(case, orn_write, KEPT, image, meta)
attempt("suffix", orn_write, FOLDER / "kept.tif", GRAY)
attempt("no folder", orn_write, FOLDER / "nowhere/x.mat", GRAY)
