"""Images of orn in NumPy.

Reads and writes the MAT files of the program orn:

    from orn import orn_read, orn_write

    image, meta = orn_read("photo.mat")  # orn convert photo.tif photo.mat
    orn_write("mirrored.mat", image[:, ::-1], meta)

Images are always upright. The order of the rows and of the colour planes
in a file and the encodings of its texts are dealt with here. Needs NumPy
and SciPy.
"""

from ._errors import OrnError
from ._read import orn_read
from ._write import orn_write

__all__ = ["OrnError", "orn_read", "orn_write"]
