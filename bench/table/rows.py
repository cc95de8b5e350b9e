"""The rows of the table: what is measured by which program, what it is set against, and what is asked of it."""
from typing import NamedTuple, Optional


class Cost(NamedTuple):
    """How many times as much as the peer."""
    most: Optional[float] = None

    def value(self, ours, peer):
        return ours / peer

    def asked(self):
        return f'≤ {self.most:.3g}' if self.most else '–'

    def is_met(self, value):
        return value <= self.most

    def shown(self, value):
        return f'{value:.2f}'


class Gain(NamedTuple):
    """How many times as fast as the peer."""
    least: Optional[float] = None

    def value(self, ours, peer):
        return peer / ours

    def asked(self):
        if not self.least:
            return '–'
        return 'faster' if self.least == 1 else f'≥ {self.least:.3g} × as fast'

    def is_met(self, value):
        return value >= self.least

    def shown(self, value):
        return f'{value:.2f} × as fast'


class Amount(NamedTuple):
    """The figure itself, in a unit of which it has so many."""
    most: float
    unit: str
    factor: float

    def value(self, ours, peer):
        return ours * self.factor

    def asked(self):
        return f'≤ {self.most:.3g} {self.unit}'.rstrip()

    def is_met(self, value):
        return value <= self.most

    def shown(self, value):
        return f'{value:.1f} {self.unit}'.rstrip()


class Row(NamedTuple):
    operation: str
    program: str
    row: str   # as the program calls it; several rows of the table may show different peers of one
    peer: str  # a contestant of that row
    against: str
    target: object
    unit: str = 'ms'
    ours: str = 'ours'

    @property
    def key(self):
        """By which its result is kept."""
        return f'{self.row}/{self.ours}/{self.peer}'


def by_size(operation, row, against, targets, peer='memcpy', program='TransposeTable'):
    return [Row(f'{operation}, samples of {size} byte{"s" * (size > 1)}', program, f'{row}-{size}', peer, against,
                Cost(most)) for size, most in zip((1, 2, 4, 8), targets)]


def repair_rows():
    rows = []
    for permille, gain in ((0, 10), (1, 3), (10, 2), (100, 3)):
        what = f'Repair, {permille / 10:g} % invalid'
        rows.append(Row(what, 'RepairTable', f'repair-{permille}', 'literal', 'the search done literally', Gain(gain)))
        rows.append(Row(what, 'RepairTable', f'repair-{permille}', 'opencv', 'OpenCV, medianBlur 3 × 3',
                        Gain(1 if permille <= 1 else None)))
    return rows


def memory_rows():
    rows = []
    for k in (1, 3, 4):
        planes = f'{k} plane{"s" * (k > 1)}'
        rows.append(Row(f'Peak memory of AddImage, {planes}', 'MatTable', f'memory-write-{k}', 'image',
                        'the image itself, counted in', Cost(1.1 * (1 + 2 / k)), 'MB'))
    for k in (1, 3, 4):
        planes = f'{k} plane{"s" * (k > 1)}'
        rows.append(Row(f'Peak memory of LoadImageFromMat, {planes}', 'MatTable', f'memory-read-{k}', 'image',
                        'the image itself, counted in', Cost(1.15), 'MB'))
    rows.append(Row('Peak memory of LoadImageFromMat, mosaic in 4 planes', 'MatTable', 'memory-read-mosaic', 'image',
                    'the image itself, counted in', Cost(1.15), 'MB'))
    return rows


COPY = 'memcpy of the same bytes'

ROWS = (
    by_size('Transpose', 'transpose', COPY, (2.2, 1.4, 1.3, 1.2))
    + by_size('Transpose, strides of a power of two', 'transpose-power', COPY, (2, 2, 2, 2))
    + by_size('Transpose, odd sizes', 'transpose-odd', COPY, (2.2, 2.2, 2.2, 2.2))
    + by_size('Transpose with the rows reversed', 'transpose-reversed', 'plain Transpose', (1.2, 1.2, 1.2, 1.2),
              'plain')
    + [
        Row('Bayer split, u16', 'PlanesTable', 'bayer-split-2', 'memcpy', COPY, Cost(0.8)),
        Row('Bayer merge, u16', 'PlanesTable', 'bayer-merge-2', 'memcpy', COPY, Cost(0.8)),
        Row('Packed RGB to planes, u8', 'PlanesTable', 'rgb-to-planes-1', 'memcpy', COPY, Cost(1.2)),
        Row('Packed RGB to planes, u16', 'PlanesTable', 'rgb-to-planes-2', 'memcpy', COPY, Cost(1.2)),
        Row('Planes to packed RGB, u8', 'PlanesTable', 'planes-to-rgb-1', 'memcpy', COPY, Cost(1.2)),
        Row('Planes to packed RGB, u16', 'PlanesTable', 'planes-to-rgb-2', 'memcpy', COPY, Cost(1.2)),
        Row('Masked histogram, u16, full mask', 'HistogramTable', 'histogram-full-2', 'opencv', 'OpenCV, calcHist',
            Gain(2.5)),
        Row('Masked histogram, u8, full mask', 'HistogramTable', 'histogram-full-1', 'opencv', 'OpenCV, calcHist',
            Gain(1.4)),
        Row('Masked histogram, u16, random mask', 'HistogramTable', 'histogram-random-2', 'full', 'the full mask',
            Cost(1.5)),
        Row('Masked histogram, u16, random mask', 'HistogramTable', 'histogram-random-2', 'opencv',
            'OpenCV, calcHist', Gain()),
        Row('Masked histogram, u8, random mask', 'HistogramTable', 'histogram-random-1', 'full', 'the full mask',
            Cost(1.5)),
        Row('Masked histogram, u8, random mask', 'HistogramTable', 'histogram-random-1', 'opencv',
            'OpenCV, calcHist', Gain()),
        Row('Depth detection, u8', 'DepthTable', 'depth-1', 'read', 'one reading of the image', Cost(1.2)),
        Row('Depth detection, u16', 'DepthTable', 'depth-2', 'read', 'one reading of the image', Cost(1.2)),
    ] + repair_rows() + [
        Row('AddImage, u16, rows reversed', 'MatTable', 'mat-write-2', 'write', 'write() of the same bytes',
            Cost(3.5)),
        Row('AddImage, u16, rows reversed', 'MatTable', 'mat-write-2', 'scipy', 'SciPy, savemat of an array in C order',
            Gain(2.5)),
        Row('AddImage, u8 in 3 planes, rows reversed', 'MatTable', 'mat-write-1x3', 'write',
            'write() of the same bytes', Cost(2.4)),
        Row('LoadImageFromMat, u16, rows reversed', 'MatTable', 'mat-read-2', 'read', 'read() into fresh huge pages',
            Cost(1.8)),
        Row('LoadImageFromMat, u16, rows reversed', 'MatTable', 'mat-read-2', 'small-pages',
            'read() into fresh small pages', Cost()),
        Row('LoadImageFromMat, u16, rows reversed', 'MatTable', 'mat-read-2', 'scipy',
            'SciPy, loadmat and a copy in C order', Gain(7)),
        Row('LoadImageFromMat, u16, rows reversed', 'MatTable', 'mat-read-2', 'octave',
            'Octave, load, columns as they are', Gain()),
    ] + memory_rows() + [
        Row('Opening a file with 10,000 variables', 'VariablesTable', 'variables-10000', 'headers',
            'one pass over its headers', Cost(1.5)),
        Row('Reading an image of 10,000 planes', 'VariablesTable', 'planes-linear', 'thousand',
            '1,000 planes, ten times', Cost(1.2)),
        Row('Start of a program linked to orn_core', 'ProgramsTable', 'start', 'qt', 'a Qt Core program',
            Amount(12, 'ms', 1e3)),
        Row('Shared objects of that program', 'ProgramsTable', 'shared-objects', 'qt', 'a Qt Core program',
            Amount(60, '', 1), ''),
        Row('GetColorBitDepthFromDir, uncompressed TIFFs', 'DepthTable', 'folder-depth', 'libtiff', 'libtiff alone',
            Cost(1.2)),
        Row('orn convert --jobs 2, 200 mosaics', 'ProgramsTable', 'jobs', 'one', 'one job', Gain(1.8)),
        Row('The same by two programs of one job each', 'ProgramsTable', 'jobs', 'one', 'one job', Gain(),
            ours='programs'),
    ])


class Growth(NamedTuple):
    operation: str
    program: str
    row: str


# What is measured at several sizes, alone.
MEGAPIXELS = (1, 3, 10, 30, 100)
GROWTH = (
    Growth('memcpy, u16', 'PlanesTable', 'memcpy-2'),
    Growth('Transpose, u8', 'TransposeTable', 'transpose-1'),
    Growth('Transpose, u16', 'TransposeTable', 'transpose-2'),
    Growth('Transpose, u16, rows reversed', 'TransposeTable', 'transpose-reversed-2'),
    Growth('Bayer split, u16', 'PlanesTable', 'bayer-split-2'),
    Growth('Bayer merge, u16', 'PlanesTable', 'bayer-merge-2'),
    Growth('Packed RGB to planes, u8', 'PlanesTable', 'rgb-to-planes-1'),
    Growth('Masked histogram, u16, full mask', 'HistogramTable', 'histogram-full-2'),
    Growth('Depth detection, u16', 'DepthTable', 'depth-2'),
    Growth('Repair, u16, 0 % invalid', 'RepairTable', 'repair-0'),
    Growth('Repair, u16, 1 % invalid', 'RepairTable', 'repair-10'),
    Growth('AddImage, u16, rows reversed', 'MatTable', 'mat-write-2'),
    Growth('LoadImageFromMat, u16, rows reversed', 'MatTable', 'mat-read-2'),
)

# Numbers of variables in a file, and of planes of an image.
VARIABLES = (1, 10, 100, 1000, 10000)
