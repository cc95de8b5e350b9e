// Damaged, cut and foreign files end in an error with its reason.
#include "FitsFiles.h"
#include "PythonScript.h"
#include "StandardErrorCapture.h"
#include "TestImages.h"

#include <QtTest>

#include <random>
#include <unistd.h>

using namespace testing;

namespace {

/** Files by another program, plain and in every kind of compression that is read. */
const char script[] = R"PYTHON(
import sys
import numpy as np
from astropy.io import fits
folder = sys.argv[1]
image = (np.arange(40)[:, None] * 100 + np.arange(50)[None, :]).astype('int16')
fits.PrimaryHDU(image).writeto(folder + '/plain.fits')
fits.HDUList([fits.PrimaryHDU(), fits.ImageHDU(np.stack([image, image]))]).writeto(folder + '/extension.fits')
for kind in 'RICE_1', 'GZIP_1', 'GZIP_2':
    fits.HDUList([fits.PrimaryHDU(), fits.CompImageHDU(image, compression_type=kind)]).writeto(folder + f'/{kind}.fits')
fits.HDUList([fits.PrimaryHDU(), fits.CompImageHDU(image.astype('float32'), compression_type='RICE_1', quantize_level=4)]).writeto(folder + '/float.fits')
dithered = fits.CompImageHDU(image.astype('float32'), compression_type='RICE_1', quantize_level=4, quantize_method=1, dither_seed=7)
fits.HDUList([fits.PrimaryHDU(), dithered]).writeto(folder + '/dithered.fits')
)PYTHON";

/** Three groups of four samples and two parameters, which are no image. */
QByteArray groups()
{
    return fitsFile(8, {0, 4}, {"GROUPS = T", "PCOUNT = 2", "GCOUNT = 3"}, QByteArray(18, '\7'));
}

/** A compressed image of so many @p columns and @p rows, without its tiles. */
QByteArray tiledFile(const QByteArray& columns, const QByteArray& rows)
{
    const QByteArrayList table{"XTENSION = 'BINTABLE'",
                               "BITPIX = 8",
                               "NAXIS = 2",
                               "NAXIS1 = 8",
                               "NAXIS2 = 1",
                               "PCOUNT = 0",
                               "GCOUNT = 1",
                               "TFIELDS = 1",
                               "TTYPE1 = 'COMPRESSED_DATA'",
                               "TFORM1 = '1PB(0)'"};
    const QByteArrayList image{"ZIMAGE = T", "ZCMPTYPE = 'RICE_1'",  "ZBITPIX = 8",
                               "ZNAXIS = 2", "ZNAXIS1 = " + columns, "ZNAXIS2 = " + rows};
    return fitsFile(8, {}, {}, "") + fitsHeader(table + image) + filledUp(QByteArray(8, '\0'), '\0');
}

}  // namespace

class FitsDamageTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cut_data();
    void cut();
    void damaged_data();
    void damaged();
    void mutated_data();
    void mutated();
    void memoryLimit();
    void hugeSizesTakeNoMemory();
    void bytesAfterTheImageArePassedOver();
    void anImageBehindGroupsIsRead();
    void notAFile_data();
    void notAFile();
    void changedSinceOpening();

private:
    QByteArray file(const char* name) const
    {
        return readFile(m_folder.filePath(QString::fromLatin1(name) + QStringLiteral(".fits")));
    }
    QTemporaryDir m_folder;
};

void FitsDamageTest::initTestCase()
{
    const ScriptRun run = runPython(script, {m_folder.path()});
    QVERIFY2(run.isDone, run.output);
}

void FitsDamageTest::cut_data()
{
    QTest::addColumn<QByteArray>("content");
    for (const char* name : {"plain", "extension", "RICE_1", "GZIP_1", "GZIP_2", "float", "dithered"})
        QTest::newRow(name) << file(name);
}

void FitsDamageTest::cut()
{
    QFETCH(QByteArray, content);
    QVERIFY(loadFits(content));
    for (int size = 0; size < content.size(); size += size < 100 ? 1 : 97) {
        const FitsLoaded loaded = loadFits(content.left(size));
        QVERIFY2(!loaded, qPrintable(QString::number(size)));
        QVERIFY(loaded.error && !loaded.error.reason.isEmpty());
    }
    QVERIFY(!loadFits(content.left(content.size() - 1)));
}

void FitsDamageTest::damaged_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("told");
    const QByteArray data(12, '\1');
    const QByteArray sound = fitsFile(8, {4, 3}, {}, data);
    QTest::newRow("empty") << QByteArray() << "the file is empty";
    QTest::newRow("another format") << QByteArray("GIF89a") << "does not begin like a FITS file";
    QTest::newRow("compressed as a whole") << QByteArray("\x1f\x8b\x08") << "does not begin like a FITS file";
    QTest::newRow("a header that does not end") << QByteArray("SIMPLE  =") + QByteArray(2871, ' ') << "inside a header";
    QTest::newRow("samples are missing") << sound.left(2880 + 2000) << "880 bytes short";
    QTest::newRow("no axes") << fitsFile(8, {}, {}, "") << "it holds no image";
    QTest::newRow("an axis of no length") << fitsFile(8, {4, 0}, {}, "") << "it holds no image";
    QTest::newRow("one axis") << fitsFile(8, {12}, {}, data) << "it has 1 axis";
    QTest::newRow("four axes") << fitsFile(8, {2, 3, 1, 2}, {}, data) << "it has 4 axes";
    QTest::newRow("a negative axis") << fitsFile(8, {4, -3}, {}, data) << "length of axis 2";
    QTest::newRow("an axis that is no number") << changedFitsCard(sound, "NAXIS2", "three") << "length of axis 2";
    QTest::newRow("an axis past 64 bits")
        << changedFitsCard(sound, "NAXIS2", "99999999999999999999") << "length of axis 2";
    QTest::newRow("a thousand axes") << changedFitsCard(sound, "NAXIS", "1000") << "number of axes";
    QTest::newRow("no such type") << fitsFile(24, {4, 1}, {}, data) << "type of the samples";
    QTest::newRow("a scale of 0") << fitsFile(8, {4, 3}, {"BSCALE = 0.0"}, data) << "scale of the samples";
    QTest::newRow("a scale that is no number")
        << fitsFile(8, {4, 3}, {"BSCALE = 'one'"}, data) << "scale of the samples";
    QTest::newRow("a shift past all bounds") << fitsFile(8, {4, 3}, {"BZERO = 1E999"}, data) << "scale of the samples";
    QTest::newRow("groups instead of an image") << groups() << "it holds no image";
    QTest::newRow("tiles of an image without rows") << tiledFile("4", "0") << "no samples";
    QTest::newRow("tiles of an image past 32 bits") << tiledFile("3000000000", "1") << "3000000000 x 1 x 1";
    QTest::newRow("tiles of a negative image") << tiledFile("4", "-1") << "length of axis 2";
}

void FitsDamageTest::damaged()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, told);
    const FitsLoaded loaded = loadFits(content);
    QVERIFY(!loaded);
    QVERIFY(loaded.error);
    QVERIFY2(loaded.error.reason.contains(told), qPrintable(loaded.error.reason));
}

void FitsDamageTest::mutated_data()
{
    cut_data();
}

void FitsDamageTest::mutated()
{
    QFETCH(QByteArray, content);
    std::mt19937 random(5);
    int loadedCount = 0;
    int refusedCount = 0;
    // The data of a compressed image are a small part of its file.
    const int dataBegin = content.indexOf(QByteArray("END").leftJustified(80)) < 0 ? 0 : content.size() - 5760;
    for (int i = 0; i < 400; ++i) {
        QByteArray changed = content;
        for (quint32 changes = random() % 4 + 1; changes > 0; --changes) {
            const int from = i % 2 == 0 ? 0 : dataBegin;
            const int at = from + static_cast<int>(random() % static_cast<quint32>(content.size() - from));
            const bool isDigit = content[at] >= '0' && content[at] <= '9';
            changed[at] = isDigit ? static_cast<char>('0' + random() % 10) : static_cast<char>(random());
        }
        StandardErrorCapture printed;
        const FitsLoaded loaded = loadFits(changed, 1 << 24);
        const QByteArray text = printed.text();
        QVERIFY2(text.isEmpty(), text);
        QCOMPARE(bool(loaded), !loaded.error);
        QCOMPARE(loaded.error.reason.isEmpty(), bool(loaded));
        ++(loaded ? loadedCount : refusedCount);
        if (loaded)
            QVERIFY(loaded.image().data && loaded.image().bitDepth >= 1 && loaded.image().bitDepth <= 64);
    }
    QVERIFY(loadedCount > 0 && refusedCount > 0);
}

void FitsDamageTest::memoryLimit()
{
    const QByteArray content = fitsFile(16, {10, 10}, {}, QByteArray(200, '\1'));
    QVERIFY(loadFits(content, 200));
    const FitsLoaded refused = loadFits(content, 199);
    QCOMPARE(refused.error.kind, ep::ExFileError::TooLarge);
    QVERIFY2(refused.error.reason.contains(QStringLiteral("200 bytes")), qPrintable(refused.error.reason));
    // Samples that are computed take more than those in the file.
    const QByteArray scaled = fitsFile(16, {10, 10}, {"BSCALE = 2.0"}, QByteArray(200, '\1'));
    QCOMPARE(loadFits(scaled, 799).error.kind, ep::ExFileError::TooLarge);
    QVERIFY(loadFits(scaled, 800));
}

void FitsDamageTest::hugeSizesTakeNoMemory()
{
    const qint64 unlimited = std::numeric_limits<qint64>::max();
    const int most = std::numeric_limits<qint32>::max();
    const FitsLoaded image = loadFits(fitsFile(64, {most, most, most}, {}, "abc"), unlimited);
    QVERIFY(!image && image.error);
    const QByteArray huge =
        changedFitsCard(changedFitsCard(file("RICE_1"), "ZNAXIS1", "2147483647"), "ZTILE1", "2147483647");
    const FitsLoaded tiles = loadFits(huge, unlimited);
    QVERIFY(!tiles && tiles.error);
}

void FitsDamageTest::bytesAfterTheImageArePassedOver()
{
    QVERIFY(loadFits(file("plain") + "more"));
    QVERIFY(!loadFits(fitsFile(8, {}, {}, "") + "more"));
}

void FitsDamageTest::anImageBehindGroupsIsRead()
{
    const QByteArray image = fitsHeader({"XTENSION = 'IMAGE   '", "BITPIX = 8", "NAXIS = 2", "NAXIS1 = 2", "NAXIS2 = 2",
                                         "PCOUNT = 0", "GCOUNT = 1"})
                             + filledUp(QByteArray("\1\2\3\4"), '\0');
    const FitsLoaded loaded = loadFits(groups() + image);
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    // The first row of the file is the lowest one.
    QCOMPARE(int(sampleAt<quint8>(loaded.image(), 0, 0)), 3);
    QCOMPARE(int(sampleAt<quint8>(loaded.image(), 1, 1)), 2);
}

void FitsDamageTest::notAFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("told");
    QTest::newRow("missing") << "/nowhere/image.fits"
                             << "does not exist";
    QTest::newRow("missing, although a packed one is there") << "PLAIN"
                                                             << "does not exist";
    QTest::newRow("a folder") << "/"
                              << "not a regular file";
    QTest::newRow("a device") << "/dev/zero"
                              << "not a regular file";
    QTest::newRow("no name") << QString() << "does not exist";
    QTest::newRow("an address") << "http://localhost/a.fits"
                                << "does not exist";
}

void FitsDamageTest::notAFile()
{
    QFETCH(QString, path);
    QFETCH(QString, told);
    const QTemporaryDir folder;
    if (path == QLatin1String("PLAIN")) {
        path = folder.filePath(QStringLiteral("plain.fits"));
        QVERIFY(writeFile(path + QStringLiteral(".gz"), "x") && writeFile(path + QStringLiteral(".Z"), "x"));
    }
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY(!loaded);
    QCOMPARE(loaded.error.kind, ep::ExFileError::Unreadable);
    QVERIFY2(loaded.error.reason.contains(told), qPrintable(loaded.error.reason));
}

void FitsDamageTest::changedSinceOpening()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    QVERIFY(writeFile(path, file("plain")));
    const FitsLoaded loaded = loadFitsFile(path);
    QVERIFY(loaded);
    QVERIFY(QFile::resize(path, 3000));
    QVERIFY(!std::unique_ptr<ep::CxImageData>(loaded.frame.loader->imageData(0)));
    QCOMPARE(loaded.frame.loader->lastError().kind, ep::ExFileError::Unreadable);
}

QTEST_GUILESS_MAIN(FitsDamageTest)
#include "FitsDamageTest.moc"
