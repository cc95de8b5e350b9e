"""Seconds that SciPy takes to save or load the planes of an image, the median of several times.

scipy_peer.py save FILE DTYPE ROWS COLUMNS PLANES
scipy_peer.py load FILE
"""
import os
import statistics
import sys
import time

import numpy
from scipy.io import loadmat, savemat

TIMES = 7


def median(work):
    seconds = []
    for _ in range(TIMES):
        start = time.perf_counter()
        result = work()
        seconds.append(time.perf_counter() - start)
        del result
    return statistics.median(seconds)


def save(path, dtype, rows, columns, planes):
    numbers = numpy.random.default_rng(1).integers(0, 255, (int(planes), int(rows), int(columns)), dtype='uint8')
    variables = {f'ep_image_channel_{i + 1}': plane.astype(dtype) for i, plane in enumerate(numbers)}

    def work():
        if os.path.exists(path):
            os.remove(path)
        savemat(path, variables)
    return median(work)


def load(path):
    # SciPy leaves the columns as they stand in the file; an image has its rows in a row.
    def work():
        planes = [value for name, value in loadmat(path).items() if name.startswith('ep_image_channel_')]
        return [numpy.ascontiguousarray(plane) for plane in planes]
    return median(work)


print({'save': save, 'load': load}[sys.argv[1]](*sys.argv[2:]))
