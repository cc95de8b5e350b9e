// Compressed tiles that would make their decoder fail, or worse, are refused before it sees them.
#include "FitsFiles.h"
#include "PythonScript.h"
#include "TestImages.h"

#include <QtTest>

using namespace testing;

namespace {

/** Files by another program, in every kind of compression. */
const char script[] = R"PYTHON(
import sys
import numpy as np
from astropy.io import fits
folder = sys.argv[1]
image = (np.arange(40)[:, None] * 100 + np.arange(50)[None, :]).astype('int16')
def write(name, data, **kind):
    fits.HDUList([fits.PrimaryHDU(), fits.CompImageHDU(data, **kind)]).writeto(folder + f'/{name}.fits')
for kind in 'RICE_1', 'GZIP_1', 'PLIO_1':
    write(kind, image, compression_type=kind)
write('HCOMPRESS_1', image, compression_type='HCOMPRESS_1', tile_size=(25, 20))
write('exact', image.astype('float32'), compression_type='GZIP_1', quantize_level=0)
write('dithered', image.astype('float32'), compression_type='RICE_1', quantize_level=4, quantize_method=1, dither_seed=7)
)PYTHON";

}  // namespace

class FitsTilesTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void soundFilesAreRead();
    void hostileTiles_data();
    void hostileTiles();
    void contradictingCompressionsAreRefused();
    void otherSpellingsAreRefused_data();
    void otherSpellingsAreRefused();
    void codesWithoutAnEnd_data();
    void codesWithoutAnEnd();
    void tilesOfAnotherSize_data();
    void tilesOfAnotherSize();
    void unsafeCompressionsAreRefused();

private:
    QByteArray file(const char* name) const
    {
        return readFile(m_folder.filePath(QString::fromLatin1(name) + QStringLiteral(".fits")));
    }
    QTemporaryDir m_folder;
};

void FitsTilesTest::initTestCase()
{
    const ScriptRun run = runPython(script, {m_folder.path()});
    QVERIFY2(run.isDone, run.output);
}

void FitsTilesTest::soundFilesAreRead()
{
    for (const char* name : {"RICE_1", "GZIP_1", "exact", "dithered"})
        QVERIFY2(loadFits(file(name)), name);
}

// cfitsio divides by the length of a tile and looks up a table by the seed of noise before anything could be asked of
// it.
void FitsTilesTest::hostileTiles_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("value");
    for (const char* value : {"0", "-1", "2147483648", "1000000000000", "abc", "0.5"}) {
        QTest::addRow("ZTILE1 is %s", value) << QByteArray("ZTILE1") << QByteArray(value);
        QTest::addRow("ZTILE2 is %s", value) << QByteArray("ZTILE2") << QByteArray(value);
    }
    QTest::newRow("more rows of tiles than rows") << QByteArray("ZNAXIS2") << QByteArray("41");
    QTest::newRow("a size that the bytes cannot hold") << QByteArray("ZNAXIS1") << QByteArray("100000000");
    QTest::newRow("no type") << QByteArray("ZBITPIX") << QByteArray("0");
    QTest::newRow("no axes") << QByteArray("ZNAXIS") << QByteArray("0");
    for (const char* value : {"0", "-1", "65", "abc"})
        QTest::addRow("blocks of %s samples", value) << QByteArray("ZVAL1") << QByteArray(value);
    for (const char* value : {"0", "-1", "9"})
        QTest::addRow("samples of %s bytes", value) << QByteArray("ZVAL2") << QByteArray(value);
    for (const char* value : {"0", "-1", "10001", "4294967296"})
        QTest::addRow("noise from seed %s", value) << QByteArray("ZDITHER0") << QByteArray(value);
}

void FitsTilesTest::hostileTiles()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, value);
    const QByteArray sound = file("dithered");
    QVERIFY(loadFits(sound));
    const QByteArray content = changedFitsCard(sound, name, value);
    QVERIFY(!content.isEmpty());
    const FitsLoaded loaded = loadFits(content);
    QVERIFY(!loaded);
    QVERIFY(loaded.error && !loaded.error.reason.isEmpty());
}

// Of two equal keywords this reader takes the first one, and cfitsio need not.
void FitsTilesTest::contradictingCompressionsAreRefused()
{
    const QByteArray sound = file("dithered");
    for (const char* name : {"ZTILE1", "ZTILE2", "ZVAL1", "ZCMPTYPE", "ZDITHER0"}) {
        const QByteArray again = replacedFitsCard(sound, "EXTNAME", sound.mid(fitsCardAt(sound, name), 80));
        const FitsLoaded loaded = loadFits(again);
        QVERIFY2(!loaded, name);
        QVERIFY2(loaded.error.reason.contains(QStringLiteral("compression")), qPrintable(loaded.error.reason));
    }
    // What says nothing of the compression may stand there twice.
    QVERIFY(loadFits(replacedFitsCard(replacedFitsCard(sound, "EXTNAME", "ZENITH  = 1"), "ZQUANTIZ", "ZENITH  = 2")));
}

// cfitsio finds a keyword in any of these forms, and stops at a line that begins like the end.
void FitsTilesTest::otherSpellingsAreRefused_data()
{
    QTest::addColumn<QByteArray>("old");
    QTest::addColumn<QByteArray>("card");
    QTest::newRow("small letters") << QByteArray("ZTILE1") << QByteArray("ztile1  = 0");
    QTest::newRow("the long form") << QByteArray("ZTILE1") << QByteArray("HIERARCH ZTILE1 = 0");
    QTest::newRow("a blank before it") << QByteArray("ZTILE1") << QByteArray(" ZTILE1 = 0");
    QTest::newRow("no blank before the sign") << QByteArray("ZTILE1") << QByteArray("ZTILE1= 0");
    QTest::newRow("a header that ends twice") << QByteArray("ZTILE1") << QByteArray("END     = 0");
    QTest::newRow("an end with a remark") << QByteArray("ZTILE1") << QByteArray("END     here");
    QTest::newRow("no axis of a table in small letters") << QByteArray("NAXIS") << QByteArray("naxis   = 0");
    QTest::newRow("bytes after the table as a text") << QByteArray("PCOUNT") << QByteArray("PCOUNT  = '100'");
}

void FitsTilesTest::otherSpellingsAreRefused()
{
    QFETCH(QByteArray, old);
    QFETCH(QByteArray, card);
    const QByteArray sound = file("RICE_1");
    const int table = sound.indexOf("XTENSION");
    const QByteArray content = sound.left(table) + replacedFitsCard(sound.mid(table), old, card);
    QVERIFY(content.size() == sound.size());
    const FitsLoaded loaded = loadFits(content);
    QVERIFY(!loaded);
    QVERIFY(!loaded.error.reason.isEmpty());
}

// cfitsio looks for the next set bit wherever it may be.
void FitsTilesTest::codesWithoutAnEnd_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("tableBytes");
    QTest::addColumn<QByteArray>("code");
    // The first number, and the sign of a block of small ones, of which none ever comes to its set bit.
    QTest::newRow("numbers of 2 bytes") << QByteArray("RICE_1") << 40 * 8 << QByteArray("\0\0\x20", 3);
    QTest::newRow("numbers of 4 bytes") << QByteArray("dithered") << 40 * 32 << QByteArray("\0\0\0\0\x10", 5);
}

void FitsTilesTest::codesWithoutAnEnd()
{
    QFETCH(QByteArray, name);
    QFETCH(int, tableBytes);
    QFETCH(QByteArray, code);
    QByteArray content = file(name.constData());
    const int end = content.indexOf(QByteArray("END").leftJustified(80), content.indexOf("XTENSION"));
    const int heap = (end / 2880 + 1) * 2880 + tableBytes;
    QVERIFY(end > 0 && heap < content.size());
    content = (content.left(heap) + code).leftJustified(content.size(), '\0');
    const FitsLoaded loaded = loadFits(content);
    QVERIFY(!loaded);
    QCOMPARE(loaded.error.reason, QStringLiteral("compressed tile 1 of 40 is damaged"));
}

void FitsTilesTest::tilesOfAnotherSize_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("old");
    QTest::addColumn<QByteArray>("card");
    QTest::newRow("floats that shall be wider")
        << QByteArray("exact") << QByteArray("ZBITPIX") << QByteArray("ZBITPIX = -64");
    QTest::newRow("integers of 2 bytes that shall be floats")
        << QByteArray("GZIP_1") << QByteArray("ZBITPIX") << QByteArray("ZBITPIX = -32");
    QTest::newRow("coded integers that shall be floats")
        << QByteArray("RICE_1") << QByteArray("ZBITPIX") << QByteArray("ZBITPIX = -32");
    QTest::newRow("integers that shall be exact floats")
        << QByteArray("GZIP_1") << QByteArray("EXTNAME") << QByteArray("ZQUANTIZ= 'NONE'");
    QTest::newRow("more samples than the tiles hold")
        << QByteArray("GZIP_1") << QByteArray("ZNAXIS1") << QByteArray("ZNAXIS1 = 51");
}

void FitsTilesTest::tilesOfAnotherSize()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, old);
    QFETCH(QByteArray, card);
    const QByteArray content = replacedFitsCard(file(name.constData()), old, card);
    QVERIFY(!content.isEmpty());
    const FitsLoaded loaded = loadFits(content);
    QVERIFY(!loaded);
    QVERIFY(!loaded.error.reason.isEmpty());
}

void FitsTilesTest::unsafeCompressionsAreRefused()
{
    for (const char* name : {"HCOMPRESS_1", "PLIO_1"}) {
        const FitsLoaded loaded = loadFits(file(name));
        QVERIFY(!loaded);
        QCOMPARE(loaded.error.kind, ep::ExFileError::Unsupported);
        QVERIFY2(loaded.error.reason.contains(QLatin1String(name)), qPrintable(loaded.error.reason));
    }
}

QTEST_GUILESS_MAIN(FitsTilesTest)
#include "FitsTilesTest.moc"
