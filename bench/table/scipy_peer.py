"""SciPy's turns: for each line on standard input the work is done once, and its seconds are printed.

scipy_peer.py save FILE ROWS COLUMNS    a matrix of 16-bit samples, in C's order as images lie, into a MAT file
scipy_peer.py load FILE                 the first matrix of a MAT file, upright and in C's order
"""
import os
import sys
import time

import numpy
from scipy.io import loadmat, savemat


def saver(path, rows, columns):
    image = numpy.random.default_rng(1).integers(0, 65536, (int(rows), int(columns)), dtype='uint16')

    def work():
        if os.path.exists(path):
            os.remove(path)
        start = time.perf_counter()
        savemat(path, {'ep_image_channel_1': image})
        return time.perf_counter() - start
    return work


def loader(path):
    def work():
        start = time.perf_counter()
        image = numpy.ascontiguousarray(loadmat(path)['ep_image_channel_1'][::-1])
        seconds = time.perf_counter() - start
        del image
        return seconds
    return work


work = {'save': saver, 'load': loader}[sys.argv[1]](*sys.argv[2:])
for _ in sys.stdin:
    print(work(), flush=True)
