// TIFF files that other programs write are read as the numbers that those programs were given.

#include "Files.h"
#include "FormatPlugin.h"
#include "PythonScript.h"
#include "TestImages.h"

#include <QtTest>

using namespace testing;

namespace {

/**
 * Fills a folder: NAME.tif, and in NAME.raw the samples as this machine's numbers, pixel by pixel. A line of "list"
 * tells name, sample type, bits, width, height, channels and layout.
 */
const char writeFolder[] = R"PYTHON(
import itertools, sys
import numpy as np, OpenImageIO as oiio, tifffile

folder, random, lines = sys.argv[1], np.random.default_rng(1), []

def expect(name, a, bits, planar):
    a.tofile(f'{folder}/{name}.raw')
    lines.append(f'{name}\t{a.dtype.str[1:]}\t{bits}\t{a.shape[1]}\t{a.shape[0]}\t{a.shape[2]}\t{int(planar)}\n')

def samples(kind, channels):
    if kind.kind == 'f':
        return ((random.random((19, 37, channels)) - 0.5) * 1e4).astype(kind)
    return random.integers(0, 256, (19, 37, channels * kind.itemsize), 'u1').view(kind)

# A program that knows TIFF by itself.
kinds = [np.dtype(k) for k in 'u1 i1 u2 i2 u4 i4 u8 i8 f2 f4 f8'.split()]
codings = [{}, {'compression': 'zlib'}, {'compression': 'lzma'}, {'compression': 'zlib', 'predictor': True}]
for kind, order, big, coding, tile, (channels, planar) in itertools.product(
        kinds, '<>', (False, True), codings, (None, (16, 32)), ((1, False), (3, False), (3, True), (5, True))):
    if 'predictor' in coding and (kind.kind == 'f' or kind.itemsize == 8):
        continue  # it does not write these
    a = samples(kind, channels)
    name = f'{kind.name} {"big" if big else "classic"} {"MM" if order == ">" else "II"} {channels}' \
           f'{" planes" if planar else ""} {" ".join(map(str, coding.values()))}{" tiles" if tile else ""}'
    tifffile.imwrite(f'{folder}/{name}.tif', a.transpose(2, 0, 1) if planar else a[:, :, 0] if channels == 1 else a,
                     byteorder=order, bigtiff=big, tile=tile, rowsperstrip=None if tile else 8, metadata=None,
                     photometric='rgb' if channels == 3 else 'minisblack',
                     planarconfig='separate' if planar else 'contig' if channels > 1 else None, **coding)
    expect(name, a.astype('f4') if kind.name == 'float16' else a, kind.itemsize * 8, planar)

# A program that packs samples of 10, 12 and 14 bits; it is given 16 bits and keeps the highest.
for bits, coding, channels, tile in itertools.product(
        (10, 12, 14), ('none', 'zip', 'lzw', 'packbits'), (1, 3), (0, 16)):
    a = random.integers(0, 1 << bits, (19, 37, channels), 'u2')
    spec = oiio.ImageSpec(37, 19, channels, 'uint16')
    spec.attribute('oiio:BitsPerSample', bits)
    spec.attribute('compression', coding)
    spec.tile_width = spec.tile_height = tile
    name = f'{bits} bits {coding} {channels}{" tiles" if tile else ""}'
    out = oiio.ImageOutput.create(f'{folder}/{name}.tif')
    assert out.open(f'{folder}/{name}.tif', spec) and out.write_image(a << (16 - bits)), out.geterror()
    out.close()
    expect(name, a, bits, False)

open(f'{folder}/list', 'w').writelines(lines)
)PYTHON";

const char writeExif[] = R"PYTHON(
import sys
import numpy as np, OpenImageIO as oiio
spec = oiio.ImageSpec(3, 2, 1, 'uint8')
for name, value in {
        'Make': 'Maker', 'Model': 'Model 7', 'Orientation': 6, 'ExposureTime': 1 / 60, 'FNumber': 2.8,
        'Exif:FocalLength': 35.0, 'Exif:DateTimeOriginal': '2024:02:29 12:00:01', 'DateTime': '2025:01:01 00:00:00',
        'Exif:LensModel': 'Lens', 'Software': 'theirs', 'Artist': 'somebody', 'ImageDescription': 'a picture'}.items():
    spec.attribute(name, value)
out = oiio.ImageOutput.create(sys.argv[1])
assert out.open(sys.argv[1], spec) and out.write_image(np.arange(6, dtype='u1').reshape(2, 3, 1)), out.geterror()
out.close()
)PYTHON";

/** One line of the list. */
struct Expected {
    explicit Expected(const QStringList& words)
        : name(words[0]), type(words[1]), bits(words[2].toInt()), width(words[3].toInt()), height(words[4].toInt()),
          channels(words[5].toInt()), isPlanar(words[6] == QLatin1String("1"))
    {
    }

    ep::ExImageDataType dataType() const
    {
        const QStringList names{QStringLiteral("i1"), QStringLiteral("u1"), QStringLiteral("i2"), QStringLiteral("u2"),
                                QStringLiteral("i4"), QStringLiteral("u4"), QStringLiteral("f4"), QStringLiteral("f8"),
                                QStringLiteral("i8"), QStringLiteral("u8")};
        const ep::ExImageDataType types[] = {
            ep::DataTypeInt8,   ep::DataTypeUInt8, ep::DataTypeInt16,  ep::DataTypeUInt16, ep::DataTypeInt32,
            ep::DataTypeUInt32, ep::DataTypeFloat, ep::DataTypeDouble, ep::DataTypeInt64,  ep::DataTypeUInt64};
        return types[names.indexOf(type)];
    }

    QString name;
    QString type;
    int bits;
    int width;
    int height;
    int channels;
    bool isPlanar;
};

/** The samples pixel by pixel, as the judge writes them. */
QByteArray samplesOf(const ep::SxImageBuf& image)
{
    QByteArray samples;
    const int bytes = ep::sampleFacts(image.dataType).bytes;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c)
                samples.append(reinterpret_cast<const char*>(address(image, x, y, c)), bytes);
    return samples;
}

}  // namespace

class TiffStrangersTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;

private slots:
    void initTestCase()
    {
        loadFormatPlugin(QStringLiteral("tiff"));
        const ScriptRun run = runPython(writeFolder, {m_folder.path()});
        QVERIFY2(run.isDone, run.output.constData());
    }

    void theirFilesAreRead_data()
    {
        QTest::addColumn<QString>("line");
        const QByteArray list = readFile(m_folder.filePath(QStringLiteral("list")));
        for (const QByteArray& line : list.split('\n'))
            if (!line.isEmpty())
                QTest::newRow(line.split('\t').first().constData()) << QString::fromUtf8(line);
        QVERIFY(list.count('\n') > 1000);
    }

    void theirFilesAreRead()
    {
        QFETCH(QString, line);
        const Expected expected(line.split(QLatin1Char('\t')));
        const LoadedFrame loaded =
            loadFrame("ep::tiff::CxTiffImageLoader", m_folder.filePath(expected.name + QStringLiteral(".tif")));
        QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
        const ep::SxImageBuf& image = loaded.image();
        QCOMPARE(image.width, expected.width);
        QCOMPARE(image.height, expected.height);
        QCOMPARE(image.channels, expected.channels);
        QCOMPARE(int(image.dataType), int(expected.dataType()));
        QCOMPARE(int(image.layout), int(expected.isPlanar ? ep::LayoutPlanar : ep::LayoutPacked));
        QCOMPARE(loaded.common()->colorBitDepth, expected.bits);
        QCOMPARE(image.bitDepth,
                 expected.type[0] == QLatin1Char('f') ? ep::sampleFacts(image.dataType).bits : expected.bits);
        QVERIFY(samplesOf(image) == readFile(m_folder.filePath(expected.name + QStringLiteral(".raw"))));
    }

    void theirExifIsRead()
    {
        const QString path = m_folder.filePath(QStringLiteral("exif.tif"));
        const ScriptRun run = runPython(writeExif, {path});
        QVERIFY2(run.isDone, run.output.constData());
        const LoadedFrame loaded = loadFrame("ep::tiff::CxTiffImageLoader", path);
        QVERIFY(loaded.data);
        QCOMPARE(loaded.image().width, 3);  // the orientation turns nothing
        QCOMPARE(samplesOf(loaded.image()), QByteArray("\0\1\2\3\4\5", 6));
        const ep::CxCommonImageMetadata& common = *loaded.common();
        QCOMPARE(common.orientation, 6);
        QCOMPARE(common.cameraMake, QStringLiteral("Maker"));
        QCOMPARE(common.cameraModel, QStringLiteral("Model 7"));
        QCOMPARE(common.exposureTime, 1 / 60.0);
        QCOMPARE(common.aperture, 2.8);
        QCOMPARE(common.focalLength, 35.0);
        QCOMPARE(common.captureTime, QDateTime(QDate(2024, 2, 29), QTime(12, 0, 1)));
        QCOMPARE(common.attributes.value(QStringLiteral("LensModel")), QStringLiteral("Lens"));
        QCOMPARE(common.attributes.value(QStringLiteral("Software")), QStringLiteral("theirs"));
        QCOMPARE(common.attributes.value(QStringLiteral("Artist")), QStringLiteral("somebody"));
        QCOMPARE(common.attributes.value(QStringLiteral("ImageDescription")), QStringLiteral("a picture"));
    }
};

QTEST_GUILESS_MAIN(TiffStrangersTest)
#include "TiffStrangersTest.moc"
