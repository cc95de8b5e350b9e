// A colour-filter grid stands in a FITS header, and counts in the rows that the header means.
#include "FitsFiles.h"
#include "TestImages.h"

#include <QtTest>

using namespace testing;

class FitsMosaicTest : public QObject {
    Q_OBJECT
private slots:
    void patternsBecomeGrids_data();
    void patternsBecomeGrids();
    void largeCells();
    void gridsSurvive_data();
    void gridsSurvive();
};

void FitsMosaicTest::patternsBecomeGrids_data()
{
    QTest::addColumn<QByteArrayList>("lines");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("grid");
    const QByteArrayList plain{"BAYERPAT = 'RGGB    '"};
    const QByteArrayList down{"ROWORDER = 'TOP-DOWN'"};
    const QByteArrayList up{"ROWORDER = 'BOTTOM-UP'"};
    QTest::newRow("the pattern begins at the top of a file from the top") << plain + down << 4 << 1;
    QTest::newRow("so it does in one of an odd height") << plain + down << 3 << 1;
    QTest::newRow("the pattern begins at the top of a file from the bottom") << plain + up << 4 << 1;
    QTest::newRow("without a row order it begins with the file, which is the bottom") << plain << 4 << 2;
    QTest::newRow("without a row order the top of an odd height begins alike") << plain << 3 << 1;
    QTest::newRow("odd column offset") << plain + down + QByteArrayList{"XBAYROFF = 1"} << 4 << 3;
    QTest::newRow("odd row offset") << plain + down + QByteArrayList{"YBAYROFF = 1"} << 4 << 2;
    QTest::newRow("both odd") << plain + up + QByteArrayList{"XBAYROFF = 1", "YBAYROFF = -1"} << 4 << 0;
    QTest::newRow("even offsets") << plain + up + QByteArrayList{"XBAYROFF = 2", "YBAYROFF = 4.0"} << 4 << 1;
    QTest::newRow("GRBG") << down + QByteArrayList{"BAYERPAT = 'GRBG'"} << 4 << 3;
    QTest::newRow("small letters") << down + QByteArrayList{"BAYERPAT = 'bggr'"} << 4 << 0;
    QTest::newRow("the older name") << down + QByteArrayList{"COLORTYP = 'GBRG'"} << 4 << 2;
    QTest::newRow("a pattern that is none") << down + QByteArrayList{"BAYERPAT = 'CMYG'"} << 4 << 4;
    QTest::newRow("a logical value") << down + QByteArrayList{"BAYERPAT = T"} << 4 << 4;
}

void FitsMosaicTest::patternsBecomeGrids()
{
    QFETCH(QByteArrayList, lines);
    QFETCH(int, height);
    QFETCH(int, grid);
    const FitsLoaded loaded = loadFitsWith(lines, height);
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QCOMPARE(int(loaded.image().bayerGrid), grid);
    QCOMPARE(loaded.common().bayerGrid, grid);
    QCOMPARE(loaded.image().patternWidth, grid == ep::BayerGridNone ? 0 : 2);
}

void FitsMosaicTest::largeCells()
{
    const QByteArray letters = "GGRGGBGGBGGRBRGRBGGGBGGRGGRGGBRBGBRG";
    const FitsLoaded loaded = loadFits(fitsFile(
        8, {7, 7}, {"BAYERPAT = '" + letters + "'", "ROWORDER = 'TOP-DOWN'", "YBAYROFF = 1"}, QByteArray(49, '\1')));
    QVERIFY2(loaded, qPrintable(loaded.error.reason));
    QCOMPARE(int(loaded.image().bayerGrid), int(ep::BayerGridCell));
    QCOMPARE(QSize(loaded.image().patternWidth, loaded.image().patternHeight), QSize(6, 6));
    QCOMPARE(loaded.common().patternColors.toLatin1(), letters.mid(6) + letters.left(6));
}

void FitsMosaicTest::gridsSurvive_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<QSize>("cell");
    QTest::addColumn<QByteArray>("told");
    const char* const letters[] = {"BGGR", "RGGB", "GBRG", "GRBG"};
    for (int grid = 0; grid <= 3; ++grid)
        QTest::newRow(letters[grid]) << grid << QSize(2, 2) << QByteArray(letters[grid]);
    QTest::newRow("a cell of 3 x 4") << 5 << QSize(3, 4) << QByteArray();
    QTest::newRow("no grid") << 4 << QSize(0, 0) << QByteArray();
}

void FitsMosaicTest::gridsSurvive()
{
    QFETCH(int, grid);
    QFETCH(QSize, cell);
    QFETCH(QByteArray, told);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.fits"));
    for (const int height : {6, 7}) {
        ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 6, height));
        image->bayerGrid = static_cast<ep::ExBayerGrid>(grid);
        image->patternWidth = cell.width();
        image->patternHeight = cell.height();
        QVERIFY(saveFits(path, *imageDataOf(std::move(image))));
        const QByteArrayList lines = fitsLinesOf(readFile(path));
        QCOMPARE(lines.contains("BAYERPAT= '" + told.leftJustified(8) + "'"), !told.isEmpty());
        const FitsLoaded loaded = loadFitsFile(path);
        QVERIFY2(loaded, qPrintable(loaded.error.reason));
        QCOMPARE(int(loaded.image().bayerGrid), grid);
        QCOMPARE(QSize(loaded.image().patternWidth, loaded.image().patternHeight), cell);
        QCOMPARE(loaded.common().bayerGrid, grid);
    }
}

QTEST_GUILESS_MAIN(FitsMosaicTest)
#include "FitsMosaicTest.moc"
