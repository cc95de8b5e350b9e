"""SciPy's turns: for each line on standard input the work is done once, and its seconds are printed.

scipy_peer.py save FILE DTYPE ROWS COLUMNS PLANES    planes of integers, in C's order as images lie, into a MAT file
scipy_peer.py load FILE                              the planes of a MAT file, upright and in C's order
"""
import os
import sys
import time

import numpy
from scipy.io import loadmat, savemat

PLANE = 'ep_image_channel_'


def saver(path, dtype, rows, columns, planes):
    levels = numpy.iinfo(dtype).max + 1
    samples = numpy.random.default_rng(1).integers(0, levels, (int(planes), int(rows), int(columns)), dtype=dtype)
    variables = {f'{PLANE}{i + 1}': plane for i, plane in enumerate(samples)}

    def work():
        if os.path.exists(path):
            os.remove(path)
        start = time.perf_counter()
        savemat(path, variables)
        return time.perf_counter() - start
    return work


def loader(path):
    def work():
        start = time.perf_counter()
        planes = [numpy.ascontiguousarray(value[::-1]) for name, value in loadmat(path).items()
                  if name.startswith(PLANE)]
        seconds = time.perf_counter() - start
        del planes
        return seconds
    return work


work = {'save': saver, 'load': loader}[sys.argv[1]](*sys.argv[2:])
for _ in sys.stdin:
    print(work(), flush=True)
