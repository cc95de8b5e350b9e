"""Reads every MAT file of a folder with orn_read, writes it with orn_write.

    exchange.py BRIDGE [SOURCE TARGET]...

Beside each new file stand its samples as read, row by row with the channels
of a sample together (NAME.samples), and what was said of them (NAME.facts);
where something fails, only the message (NAME.failure).
"""

import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv[1] + "/python")

from orn import orn_read, orn_write  # noqa: E402

NUMBERS = [
    "sensor_width",
    "left_margin",
    "black_levels",
    "white_balance",
    "exposure_time",
    "iso",
    "orientation",
    "color_matrix",
]


def numbers(value):
    if value is None:
        return ""
    if isinstance(value, list):
        return " ".join(numbers(part) for part in value)
    return f"{value:.17g}" if isinstance(value, float) else str(value)


def facts(image, meta):
    names = {"float32": "single", "float64": "double"}
    kind = names.get(image.dtype.name, image.dtype.name)
    rows, columns, channels = (*image.shape, 1)[:3]
    pattern = "/".join(meta["pattern"])
    lines = [
        f"{kind} {rows} {columns} {channels}",
        f"{int(meta['raw'])} {meta['grid']} {pattern} "
        f"{meta['bit_depth']} {meta['source']}",
    ]
    for name in NUMBERS:
        lines.append(numbers(meta[name]))
    lines += [meta["camera_make"], meta["camera_model"], meta["capture_time"]]
    for name, text in meta["attributes"].items():
        lines.append(name + "=" + text.replace("\n", "|"))
    return "\n".join(lines) + "\n"


def exchange(source, target):
    for path in pathlib.Path(source).glob("*.mat"):
        result = f"{target}/{path.stem}"
        samples = pathlib.Path(result + ".samples")
        said = pathlib.Path(result + ".facts")
        failure = pathlib.Path(result + ".failure")
        try:
            image, meta = orn_read(path)
            said.write_text(facts(image, meta), encoding="utf-8")
            samples.write_bytes(image.tobytes())
            orn_write(result + ".mat", image, meta)
        except Exception as error:
            failure.write_text(str(error), encoding="utf-8")


for folders in range(2, len(sys.argv), 2):
    exchange(sys.argv[folders], sys.argv[folders + 1])
