"""Saves arrays as anybody does, without anything of orn.

    arrays.py BRIDGE FOLDER

Element (row, column, channel), counted from 0, is 40 * channel + 10 * row +
column.
"""

import sys

import numpy as np
import scipy.io
import scipy.sparse

row, column, channel = np.ogrid[0:3, 0:6, 0:7]
numbers = 40.0 * channel + 10 * row + column
arrays = {}
for name, dtype in {
    "double": np.float64,
    "single": np.float32,
    "int8": np.int8,
    "uint8": np.uint8,
    "int16": np.int16,
    "uint16": np.uint16,
    "int32": np.int32,
    "uint32": np.uint32,
}.items():
    arrays[name + "_rgb"] = numbers[:, :, :3].astype(dtype)
    arrays[name + "_gray"] = numbers[:, :, 0].astype(dtype)
arrays["seven"] = numbers.astype(np.uint16)
arrays["mask"] = numbers[:, :, 0] > 12
arrays["phase"] = numbers + 1j
arrays["note"] = "a text"
arrays["big"] = numbers.astype(np.int64)
arrays["film"] = np.stack([numbers, numbers], axis=-1)
arrays["nothing"] = np.zeros((4, 0, 3))
arrays["thin"] = scipy.sparse.eye(4)
arrays["list"] = np.array([1, "b"], dtype=object)
arrays["record"] = {"first": 1, "second": 2}
folder = sys.argv[2]
scipy.io.savemat(f"{folder}/scipy plain.mat", arrays)
scipy.io.savemat(f"{folder}/scipy compressed.mat", arrays, do_compression=True)
