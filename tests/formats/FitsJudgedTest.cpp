// Astropy reads what is written here and writes what is read here.
#include "FitsFiles.h"
#include "PythonScript.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QtTest>

#include <cmath>

using namespace testing;

namespace {

constexpr int width = 37;
constexpr int height = 23;

/**
 * Reads every NAME.fits of a folder, compares it with the samples of NAME.raw (native bytes, planes of rows, the top
 * row first; the type and the sizes stand in the name) and writes its own file beside it. Then writes files in forms
 * that only other programs use, whose samples follow a rule that the test knows.
 */
const char script[] = R"PYTHON(
import glob, os, sys, warnings
import numpy as np
from astropy.io import fits
warnings.simplefilter('error')
folder = sys.argv[1]
count = 0
for path in sorted(glob.glob(folder + '/*.raw')):
    base = path[:-4]
    kind, channels, h, w = os.path.basename(base).split('_')
    kind = {'float': 'float32', 'double': 'float64'}.get(kind, kind)
    truth = np.fromfile(path, kind).reshape(int(channels), int(h), int(w))[:, ::-1]
    with fits.open(base + '.fits', memmap=False) as hdus:
        hdus.verify('exception')
        assert len(hdus) == 1 and hdus[0].header['ROWORDER'] == 'BOTTOM-UP'
        data = hdus[0].data
        assert data.dtype.newbyteorder('=') == np.dtype(kind), (path, data.dtype)
        got = data.reshape(truth.shape)
        assert np.array_equal(got, truth), path
        assert data.ndim == (2 if channels == '1' else 3)
    fits.PrimaryHDU(truth[0] if channels == '1' else truth).writeto(base + '.theirs')
    count += 1

h, w = 23, 37
rule = (np.arange(h)[:, None] * 100 + np.arange(w)[None, :]).astype('int16')   # row r of the file, column c
def write(name, *hdus):
    fits.HDUList(list(hdus)).writeto(folder + '/' + name + '.other', output_verify='exception')
write('extension', fits.PrimaryHDU(), fits.BinTableHDU.from_columns([fits.Column('a', 'J', array=[1, 2])]), fits.ImageHDU(rule))
write('topdown', fits.PrimaryHDU(rule, fits.Header([('ROWORDER', 'TOP-DOWN')])))
write('degenerate', fits.PrimaryHDU(rule[None, None, None]))
for kind in 'RICE_1', 'GZIP_1', 'GZIP_2':
    write(kind, fits.PrimaryHDU(), fits.CompImageHDU(rule, compression_type=kind))
    write(kind + '-tiles', fits.PrimaryHDU(), fits.CompImageHDU(rule, compression_type=kind, tile_size=(16, 8)))
write('ushort', fits.PrimaryHDU(), fits.CompImageHDU(rule.astype('uint16'), compression_type='RICE_1'))
write('cube', fits.PrimaryHDU(), fits.CompImageHDU(np.stack([rule, rule + 1, rule + 2]), compression_type='GZIP_1'))
write('float', fits.PrimaryHDU(), fits.CompImageHDU(rule.astype('float32'), compression_type='GZIP_2', quantize_level=0))
write('double', fits.PrimaryHDU(), fits.CompImageHDU(rule.astype('float64'), compression_type='GZIP_1', quantize_level=0))
scaled = fits.PrimaryHDU(rule.astype('float64'))
scaled.scale('int32', bscale=0.5, bzero=10)
write('scaled', scaled)
print(count)
)PYTHON";

QByteArray planeBytes(const ep::SxImageBuf& image)
{
    QByteArray bytes;
    const int size = ep::sampleFacts(image.dataType).bytes;
    for (int c = 0; c < image.channels; ++c)
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                bytes.append(reinterpret_cast<const char*>(address(image, x, y, c)), size);
    return bytes;
}

}  // namespace

class FitsJudgedTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theirsAreReadAlike();
    void otherForms_data();
    void otherForms();

private:
    QTemporaryDir m_folder;
    QStringList m_names;
};

void FitsJudgedTest::initTestCase()
{
    for (const ep::ExImageDataType type : allTypes) {
        if (type == ep::DataTypeComplex)
            continue;
        for (const int channels : {1, 3, 4}) {
            const ep::CxScopedBuffer image = plainNumbers(describe(type, width, height, channels));
            const QString name = QStringLiteral("%1_%2_%3_%4")
                                     .arg(QLatin1String(ep::sampleFacts(type).name))
                                     .arg(channels)
                                     .arg(height)
                                     .arg(width);
            auto* common = new ep::CxCommonImageMetadata;
            common->cameraModel = QStringLiteral("it's a camera");
            common->exposureTime = 1.0 / 3;
            common->attributes.insert(QStringLiteral("GAIN"), QStringLiteral("120"));
            QVERIFY(saveFits(m_folder.filePath(name + QStringLiteral(".fits")),
                             *imageDataOf(copyOf(image.image()), common)));
            QVERIFY(writeFile(m_folder.filePath(name + QStringLiteral(".raw")), planeBytes(image.image())));
            m_names << name;
        }
    }
    const ScriptRun run = runPython(script, {m_folder.path()});
    QVERIFY2(run.isDone, run.output);
    QCOMPARE(run.output.trimmed().toInt(), m_names.size());
}

void FitsJudgedTest::theirsAreReadAlike()
{
    for (const QString& name : qAsConst(m_names)) {
        const FitsLoaded ours = loadFitsFile(m_folder.filePath(name + QStringLiteral(".fits")));
        const FitsLoaded theirs = loadFitsFile(m_folder.filePath(name + QStringLiteral(".theirs")));
        QVERIFY2(ours, qPrintable(ours.error.reason));
        QVERIFY2(theirs, qPrintable(name + theirs.error.reason));
        QCOMPARE(theirs.image().dataType, ours.image().dataType);
        QVERIFY2(ep::SameSamples(theirs.image(), ours.image()), qPrintable(name));
        QCOMPARE(planeBytes(theirs.image()), readFile(m_folder.filePath(name + QStringLiteral(".raw"))));
    }
}

void FitsJudgedTest::otherForms_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("isTopDown");
    QTest::addColumn<int>("channels");
    const int signedType = ep::DataTypeInt16;
    for (const char* name :
         {"extension", "degenerate", "RICE_1", "GZIP_1", "GZIP_2", "RICE_1-tiles", "GZIP_1-tiles", "GZIP_2-tiles"})
        QTest::newRow(name) << signedType << false << 1;
    QTest::newRow("topdown") << signedType << true << 1;
    QTest::newRow("ushort") << int(ep::DataTypeUInt16) << false << 1;
    QTest::newRow("cube") << signedType << false << 3;
    QTest::newRow("float") << int(ep::DataTypeFloat) << false << 1;
    QTest::newRow("double") << int(ep::DataTypeDouble) << false << 1;
    QTest::newRow("scaled") << int(ep::DataTypeDouble) << false << 1;
}

void FitsJudgedTest::otherForms()
{
    QFETCH(int, type);
    QFETCH(bool, isTopDown);
    QFETCH(int, channels);
    const FitsLoaded loaded =
        loadFitsFile(m_folder.filePath(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(".other")));
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    const ep::SxImageBuf& image = loaded.image();
    QCOMPARE(int(image.dataType), type);
    QCOMPARE(image.channels, channels);
    QCOMPARE(QSize(image.width, image.height), QSize(width, height));
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int expected = (isTopDown ? y : height - 1 - y) * 100 + x + c;
                const double number = type == ep::DataTypeFloat    ? double(sampleAt<float>(image, x, y, c))
                                      : type == ep::DataTypeDouble ? sampleAt<double>(image, x, y, c)
                                                                   : double(sampleAt<qint16>(image, x, y, c));
                QCOMPARE(number, double(expected));
            }
    const bool isScaled = QTest::currentDataTag() == QByteArray("scaled");
    QCOMPARE(loaded.attribute("BSCALE"), isScaled ? QStringLiteral("0.5") : QString());
}

QTEST_GUILESS_MAIN(FitsJudgedTest)
#include "FitsJudgedTest.moc"
