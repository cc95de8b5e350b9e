"""Adds what SciPy, Astropy, tifffile, Pillow and OpenImageIO write to the corpora in the current folder."""
import numpy as np
import OpenImageIO
import scipy.io
import scipy.sparse
import tifffile
from astropy.io import fits
from PIL import Image

words = (np.arange(12)[:, None] * 100 + np.arange(15)[None, :]).astype('uint16')
plain = {'a': words.astype('double'), 'text': 'some text', 'row': np.arange(5.0), 'c': np.array([[1 + 2j, 3]])}
rich = dict(plain, words=words, flag=np.array([[True, False]]), cube=np.zeros((2, 3, 4)), empty=np.zeros((0, 3)),
            sparse=scipy.sparse.csc_matrix(np.eye(3)), cells=np.array([words, 'é', 1.0], dtype=object),
            record={'x': 1.5, 'y': {'z': 'deep'}})
scipy.io.savemat('Mat/scipy-4.mat', plain, format='4')
scipy.io.savemat('Mat/scipy-5.mat', rich)
scipy.io.savemat('Mat/scipy-7.mat', rich, do_compression=True)
scipy.io.savemat('Mat/scipy-words.mat', {'words': words}, do_compression=True)

for kind in 'RICE_1', 'GZIP_1', 'GZIP_2':
    fits.HDUList([fits.PrimaryHDU(), fits.CompImageHDU(words.astype('int16'), compression_type=kind)]).writeto(
        f'Fits/{kind}.fits')
for method in 0, 1:
    fits.HDUList([fits.PrimaryHDU(), fits.CompImageHDU(words.astype('float32'), compression_type='RICE_1',
                                                       quantize_level=4, quantize_method=method - 1 or -1,
                                                       dither_seed=7)]).writeto(f'Fits/float{method}.fits')
fits.HDUList([fits.PrimaryHDU(), fits.ImageHDU(np.stack([words, words]).astype('int32'))]).writeto('Fits/cube.fits')

tifffile.imwrite('Tiff/tifffile-pages.tif', np.stack([words, words]), metadata=None)
tifffile.imwrite('Tiff/tifffile-colour.tif', np.dstack([words] * 3), photometric='rgb', planarconfig='contig')
Image.fromarray((words % 256).astype('uint8')).convert('P').save('Tiff/pillow-palette.tif', compression='tiff_lzw')

picture = Image.fromarray(np.dstack([(words % 256).astype('uint8')] * 3))
picture.convert('P').save('Oiio/palette.png')
picture.convert('L').save('Oiio/progressive.jpg', progressive=True)
picture.convert('P').save('Oiio/run.bmp')
picture.save('Oiio/frames.gif', save_all=True, append_images=[picture.rotate(90, expand=True)])
picture.save('Oiio/run.tga', compression='tga_rle')
picture.save('Oiio/lossless.webp', lossless=True)
picture.save('Oiio/frames.webp', save_all=True, append_images=[picture.rotate(180)])
picture.quantize(16).save('Oiio/few.gif')
picture.save('Oiio/codestream.j2k')


def write(name, attributes, tile=0):
    """A file that is stored as @p attributes say, by OpenImageIO."""
    kind = 'float' if name.endswith('.exr') else 'uint16'
    spec = OpenImageIO.ImageSpec(15, 12, 3, kind)
    spec.tile_width = spec.tile_height = tile
    for attribute, value in attributes.items():
        spec.attribute(attribute, value)
    output = OpenImageIO.ImageOutput.create('Oiio/' + name)
    samples = np.dstack([words * 40] * 3).astype(kind.replace('float', 'float32'))
    if not (output.open('Oiio/' + name, spec) and output.write_image(samples)):
        raise SystemExit(f'{name}: {output.geterror()}')
    output.close()


write('words.rla', {})
write('packed10.dpx', {'oiio:BitsPerSample': 10, 'dpx:Packing': 'Packed'})
write('filled10.dpx', {'oiio:BitsPerSample': 10, 'dpx:Packing': 'Filled, method A'})
write('packed12.dpx', {'oiio:BitsPerSample': 12})
write('plain.exr', {'compression': 'none'})
write('tiles.exr', {'compression': 'none'}, tile=8)
write('zips.exr', {'compression': 'zips'})
