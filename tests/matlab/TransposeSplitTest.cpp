// Mosaics that are larger than the blocks in which AddImage() takes them apart.

#include "MatReference.h"

#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class TransposeSplitTest : public QObject {
    Q_OBJECT

private slots:
    void bordersOfBlocks_data();
    void bordersOfBlocks();
};

// A block is 512 bytes wide and 128 rows high.
void TransposeSplitTest::bordersOfBlocks_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    const auto addRows = [](ep::ExImageDataType type, int blockColumns) {
        for (const int columns : {1, blockColumns - 1, blockColumns, blockColumns + 1, 2 * blockColumns + 1})
            for (const int rows : {1, 127, 128, 129, 257})
                QTest::addRow("%s, planes of %d x %d", ep::sampleFacts(type).name, columns, rows)
                    << int(type) << columns << rows;
    };
    addRows(ep::DataTypeUInt8, 512);
    addRows(ep::DataTypeUInt16, 256);
    addRows(ep::DataTypeFloat, 128);
    addRows(ep::DataTypeDouble, 64);
}

void TransposeSplitTest::bordersOfBlocks()
{
    QFETCH(int, type);
    QFETCH(int, columns);
    QFETCH(int, rows);
    struct Cell {
        int grid, width, height;
    };
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.mat"));
    for (const Cell& cell : {Cell{ep::BayerGridGRBG, 2, 2}, Cell{ep::BayerGridCell, 3, 1}})
        for (const bool isReversed : {false, true}) {
            // A column and a row too many, which the split leaves out, and rows that are not tight.
            ep::SxImageInfo info =
                testing::describe(ep::ExImageDataType(type), columns * cell.width + 1,
                                  rows * cell.height + (cell.height > 1 ? 1 : 0), 1, ep::LayoutPacked, 3);
            info.bayerGrid = ep::ExBayerGrid(cell.grid);
            info.patternWidth = cell.width;
            info.patternHeight = cell.height;
            const ep::CxScopedBuffer image = testing::randomImage(info);
            const auto expected = testing::expectedMat(image.image(), QStringLiteral("N"), isReversed, false);
            ep::SxImageInfo written{};
            QFile::remove(path);
            void* mat = orn::matlab::MatOpenWrite(path);
            QVERIFY(orn::matlab::AddImage(mat, image.image(), QStringLiteral("N"), isReversed, written, false));
            QVERIFY(orn::matlab::MatClose(mat));
            QVERIFY(testing::sameInfo(written, expected.info));
            QVERIFY(testing::readVariables(path) == expected.variables);
        }
}

QTEST_GUILESS_MAIN(TransposeSplitTest)
#include "TransposeSplitTest.moc"
