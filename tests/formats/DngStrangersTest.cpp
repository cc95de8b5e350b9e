// DNG files judged by others: LibRaw's own interface and programs, OpenImageIO, and a decoder of deflated tiles in
// NumPy.

#include "DngFiles.h"
#include "PythonScript.h"

#include <QDir>
#include <QtTest>

#include <libraw/libraw.h>

using namespace testing;

namespace {

/** Compares the samples of each file NAME.dng with the plain 16-bit numbers of NAME.samples. */
const char* const openImageIo = R"(
import sys
import numpy
import OpenImageIO

for name in sys.argv[1:]:
    untouched = OpenImageIO.ImageSpec()
    untouched.attribute("raw:Demosaic", "none")
    file = OpenImageIO.ImageInput.open(name + ".dng", untouched)
    assert file, OpenImageIO.geterror()
    spec = file.spec()
    samples = file.read_image("uint16")
    expected = numpy.fromfile(name + ".samples", "<u2")
    assert spec.nchannels == 1 and samples.size == expected.size, (name, spec.width, spec.height)
    assert (samples.ravel() == expected).all(), name
    assert spec.getattribute("Make") == "Make" and spec.getattribute("Model") == "Model 7", name
    assert abs(spec.getattribute("ExposureTime") - 0.004) < 1e-6, name
    print("same")
)";

/** As above for deflated files, from the bytes of the file alone: tiles of floats after the floating-point predictor.
 */
const char* const deflated = R"(
import struct
import sys
import zlib
import numpy

def tags(data):
    start = struct.unpack_from("<I", data, 4)[0]
    found = {}
    for i in range(struct.unpack_from("<H", data, start)[0]):
        tag, kind, count = struct.unpack_from("<HHI", data, start + 2 + 12 * i)
        size = {1: 1, 3: 2, 4: 4}.get(kind)
        if not size:
            continue
        place = start + 10 + 12 * i
        if size * count > 4:
            place = struct.unpack_from("<I", data, place)[0]
        found[tag] = struct.unpack_from("<%d%s" % (count, {1: "B", 2: "H", 4: "I"}[size]), data, place)
    return found

for name in sys.argv[1:]:
    data = open(name + ".dng", "rb").read()
    tag = tags(data)
    width, height, tile_width, tile_height = tag[256][0], tag[257][0], tag[322][0], tag[323][0]
    assert (tag[258], tag[259], tag[262], tag[277], tag[317], tag[339]) == ((32,), (8,), (32803,), (1,), (3,), (3,)), tag
    assert tile_width >= width and tile_width % 16 == 0 and tile_height % 16 == 0
    rows = []
    for offset, size in zip(tag[324], tag[325]):
        coded = numpy.frombuffer(zlib.decompress(data[offset:offset + size]), numpy.uint8)
        summed = numpy.cumsum(coded.reshape(tile_height, 4 * tile_width), axis=1, dtype=numpy.uint8)
        planes = summed.reshape(tile_height, 4, tile_width)  # most significant bytes first
        rows.append(numpy.ascontiguousarray(planes.transpose(0, 2, 1)).view(">f4").reshape(tile_height, tile_width))
    samples = numpy.vstack(rows)[:height, :width].ravel()
    assert (samples == numpy.fromfile(name + ".samples", "<u2")).all(), name
    print("same")
)";

ep::ExBayerGrid gridOf(const QString& name)
{
    for (const ep::ExBayerGrid grid : dngGrids)
        if (name == QLatin1String(gridName(grid)))
            return grid;
    return ep::BayerGridNone;
}

/** The samples row by row as they stand in memory. */
QByteArray samplesOf(const ep::SxImageBuf& image)
{
    return QByteArray(static_cast<const char*>(image.data), static_cast<int>(storageBytes(image)));
}

// LibRaw develops no X-Trans picture of less than 512 x 512.
constexpr int developedWidth = 600;
constexpr int developedHeight = 540;

/** Brightness of red, green and blue light; brighter in the upper left quarter, so that turns and mirrors show. */
std::unique_ptr<ep::CxImageData> colouredCapture(ep::ExBayerGrid grid)
{
    ep::CxScopedBuffer mosaic = cameraMosaic(grid, developedWidth, developedHeight);
    ep::CxMetadata metadata = cameraMetadata(mosaic.image());
    const QString colors = commonItem(metadata)->patternColors;
    for (int y = 0; y < mosaic->height; ++y)
        for (int x = 0; x < mosaic->width; ++x) {
            const int cell = y % mosaic->patternHeight * mosaic->patternWidth + x % mosaic->patternWidth;
            const quint16 light = colors[cell] == QLatin1Char('R')   ? 6000
                                  : colors[cell] == QLatin1Char('G') ? 3000
                                                                     : 1000;
            const bool isBright = x < mosaic->width / 2 && y < mosaic->height / 2;
            setSample<quint16>(mosaic.image(), x, y, 0, quint16(512 + (isBright ? light * 2 : light)));
        }
    return captureOf(std::move(mosaic), metadata);
}

/** One pixel of a binary PPM of 8 bits. */
QVector<int> pixelOf(const QByteArray& ppm, int width, int height, int x, int y)
{
    const int place = ppm.size() - 3 * width * height + 3 * (y * width + x);
    return {uchar(ppm.at(place)), uchar(ppm.at(place + 1)), uchar(ppm.at(place + 2))};
}

bool runsWell(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

}  // namespace

class DngStrangersTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    static void gridRows()
    {
        QTest::addColumn<QString>("grid");
        for (const ep::ExBayerGrid grid : dngGrids)
            QTest::newRow(gridName(grid)) << QString::fromLatin1(gridName(grid));
    }

    /** Saves captures of every grid, several sizes and depths next to their samples; gives the names. */
    QStringList saveAll(const QString& compression)
    {
        QStringList names;
        for (const ep::ExBayerGrid grid : dngGrids)
            for (const QSize& size : {QSize(22, 22), QSize(61, 47), QSize(301, 403)})
                for (const int bits : {10, 16}) {
                    const QString name = m_folder.filePath(
                        QStringLiteral("%1-%2-%3-%4").arg(compression).arg(int(grid)).arg(size.width()).arg(bits));
                    const auto data = capture(grid, size.width(), size.height(), bits);
                    if (saveDng(name + QStringLiteral(".dng"), *data, compression)
                        || !writeFile(name + QStringLiteral(".samples"), samplesOf(data->image())))
                        return {};
                    names << name;
                }
        return names;
    }

private slots:
    void initTestCase() { loadDngPlugins(); }

    void openImageIoReadsThemAll()
    {
        const QStringList names = saveAll(QStringLiteral("none"));
        QVERIFY(!names.isEmpty());
        const ScriptRun run = runPython(openImageIo, names);
        QVERIFY2(run.isDone, run.output);
        QCOMPARE(run.output.count("same"), names.size());
    }

    void deflatedTilesHoldTheSamples()
    {
        const QStringList names = saveAll(QStringLiteral("deflate"));
        QVERIFY(!names.isEmpty());
        const ScriptRun run = runPython(deflated, names);
        QVERIFY2(run.isDone, run.output);
        QCOMPARE(run.output.count("same"), names.size());
    }

    void libRawSeesTheCapture_data() { gridRows(); }
    void libRawSeesTheCapture()
    {
        QFETCH(QString, grid);
        for (const QSize& size : {QSize(22, 22), QSize(61, 47), QSize(301, 403)}) {
            const auto data = capture(gridOf(grid), size.width(), size.height(), 12);
            const QString path = m_folder.filePath(QStringLiteral("libraw.dng"));
            QVERIFY(!saveDng(path, *data));
            compareWithLibRaw(path, *data);
        }
    }

    void unprocessedRawUnpacksTheSamples_data() { gridRows(); }
    void unprocessedRawUnpacksTheSamples()
    {
        QFETCH(QString, grid);
        const auto data = capture(gridOf(grid), 61, 47);
        const QString path = m_folder.filePath(QStringLiteral("unpacked.dng"));
        QVERIFY(!saveDng(path, *data));
        QVERIFY(runsWell(QStringLiteral("unprocessed_raw"), {path}));
        const QByteArray pgm = readFile(path + QStringLiteral(".pgm"));
        QVERIFY2(pgm.startsWith("P5\n61 47\n65535\n"), pgm.left(20));
        QByteArray swapped = samplesOf(data->image());
        for (int i = 0; i < swapped.size(); i += 2)
            qSwap(swapped.data()[i], swapped.data()[i + 1]);
        QVERIFY(pgm.endsWith(swapped));
        QVERIFY(QFile::remove(path + QStringLiteral(".pgm")));
    }

    void developedPictureHasItsColours_data() { gridRows(); }
    void developedPictureHasItsColours()
    {
        QFETCH(QString, grid);
        const QString path = m_folder.filePath(QStringLiteral("developed.dng"));
        QVERIFY(!saveDng(path, *colouredCapture(gridOf(grid))));
        // Linear, in the camera's own colours, with the camera's white balance and white level and not brightened.
        QVERIFY(runsWell(QStringLiteral("dcraw_emu"),
                         {QStringLiteral("-w"), QStringLiteral("-o"), QStringLiteral("0"), QStringLiteral("-W"),
                          QStringLiteral("-g"), QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("-c"),
                          QStringLiteral("0"), path}));
        const QByteArray ppm = readFile(path + QStringLiteral(".ppm"));
        QVERIFY2(ppm.startsWith("P6\n600 540\n255\n"), ppm.left(20));
        for (const int x : {150, 450})
            for (const int y : {135, 405}) {
                const int factor = x == 150 && y == 135 ? 2 : 1;
                const QVector<int> pixel = pixelOf(ppm, developedWidth, developedHeight, x, y);
                for (int c = 0; c < 3; ++c) {
                    const double light = QVector<double>{6000, 3000, 1000}[c] * factor;
                    const double expected = 255 * light / (16383 - 512);
                    QVERIFY2(qAbs(pixel[c] - expected) <= 2,
                             qPrintable(QStringLiteral("%1, %2: colour %3 is %4").arg(x).arg(y).arg(c).arg(pixel[c])));
                }
            }

        QVERIFY(QFile::remove(path + QStringLiteral(".ppm")));
    }

private:
    static void compareWithLibRaw(const QString& path, const ep::CxImageData& data)
    {
        LibRaw raw;
        QCOMPARE(raw.open_file(QFile::encodeName(path).constData()), int(LIBRAW_SUCCESS));
        QCOMPARE(raw.unpack(), int(LIBRAW_SUCCESS));
        QCOMPARE(raw.error_count(), 0);
        const ep::SxImageBuf& image = data.image();
        const ep::CxCommonImageMetadata& common = *commonItem(data.metadata());
        const libraw_data_t& seen = raw.imgdata;
        QCOMPARE(int(seen.sizes.raw_width), image.width);
        QCOMPARE(int(seen.sizes.raw_height), image.height);
        QCOMPARE(int(seen.sizes.width), image.width);
        QCOMPARE(int(seen.sizes.height), image.height);
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                QCOMPARE(seen.rawdata.raw_image[y * int(seen.sizes.raw_pitch / 2) + x], sampleAt<quint16>(image, x, y));
                const QChar color =
                    common.patternColors[y % image.patternHeight * image.patternWidth + x % image.patternWidth];
                QCOMPARE(QLatin1Char(seen.idata.cdesc[raw.COLOR(y, x)]), color);
            }
        QCOMPARE(double(seen.color.black), common.blackLevels[0]);
        QCOMPARE(double(seen.color.maximum), common.whiteLevel);
        QCOMPARE(QString::fromLatin1(seen.idata.make), common.cameraMake);
        QCOMPARE(QString::fromLatin1(seen.idata.model), common.cameraModel);
        QVERIFY(qAbs(double(seen.other.shutter) - common.exposureTime) < 1e-8);
        QCOMPARE(double(seen.other.iso_speed), common.iso);
    }
};

QTEST_GUILESS_MAIN(DngStrangersTest)
#include "DngStrangersTest.moc"
