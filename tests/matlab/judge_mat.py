"""Judges MAT files with SciPy.

judge_mat.py FOLDER: every line of FOLDER/expected.txt names a file, a variable, its class, rows and columns, and where
its elements stand, column by column, in FOLDER/expected.bin. Each file must hold the variables that are named for it,
and no other. Prints what differs; exit status 1 when anything does.
"""
import os
import sys

import numpy
from scipy.io import loadmat


def expectations(folder):
    """file -> {variable: (class, rows, columns, offset)}"""
    files = {}
    with open(os.path.join(folder, 'expected.txt'), encoding='ascii') as lines:
        for line in lines:
            file, variable, kind, rows, columns, offset = line.split()
            files.setdefault(file, {})[variable] = (kind, int(rows), int(columns), int(offset))
    return files


def difference(value, kind, rows, columns, expected):
    if value.dtype != numpy.dtype(kind.replace('single', 'float32').replace('double', 'float64')):
        return 'class ' + str(value.dtype)
    if value.shape != (rows, columns):
        return 'shape ' + str(value.shape)
    return '' if value.tobytes('F') == expected[:value.nbytes] else 'elements'


def main(folder):
    with open(os.path.join(folder, 'expected.bin'), 'rb') as file:
        data = file.read()
    wrong = 0
    files = expectations(folder)
    for file, variables in files.items():
        found = {k: v for k, v in loadmat(os.path.join(folder, file)).items()
                 if k not in ('__header__', '__version__', '__globals__')}
        if set(found) != set(variables):
            print(file, 'holds', sorted(found))
            wrong += 1
            continue
        for name, (kind, rows, columns, offset) in variables.items():
            what = difference(found[name], kind, rows, columns, data[offset:])
            if what:
                print(file, name, what)
                wrong += 1
    print('judged', len(files))
    return 1 if wrong else 0


sys.exit(main(sys.argv[1]))
