// Planes and mosaics that are read piece by piece, wherever pieces end and however the planes lie in the file.

#include <orn/matlab/LoadImageFromMat.h>

#include <orn/Init.h>

#include "MatBytes.h"
#include "MatReference.h"
#include "OwnMat.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

using testing::MatVariableBytes;
using testing::MatWriter;
using testing::numbers;
using testing::OwnMetadata;

namespace {

// Samples of 12 bits, so that the depth is not that of the type.
ep::CxScopedBuffer twelveBits(const ep::SxImageInfo& info)
{
    ep::CxScopedBuffer image = testing::randomImage(info);
    auto* const bytes = static_cast<unsigned char*>(image->data);
    for (size_t i = 1; i < testing::storageBytes(image.image()); i += 2)
        bytes[i] &= 0x0f;
    return image;
}

/** How the planes of an image stand in a file; any of it may be wrong on purpose. */
struct PlaneFile {
    QByteArray bytes = testing::matHeader();

    // Class 11: unsigned 16-bit numbers.
    static QByteArray variable(const QByteArray& name, const ep::SxImageBuf& planes, int plane, bool isReversed)
    {
        return MatVariableBytes{name, 11, 0, numbers<qint32>({planes.height, planes.width}),
                                testing::matElement(testing::MatUInt16, testing::columnsOf(planes, plane, isReversed))}
            .bytes();
    }
    void addMetadata(const OwnMetadata& metadata)
    {
        bytes += testing::matText("ep_image_metadata", metadata.xml().toUtf8()).bytes();
    }
};

}  // namespace

class MatPiecesTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::CxScopedBuffer m_image;

    QString path() const { return m_folder.filePath(QStringLiteral("pieces.mat")); }
    bool load()
    {
        bool isEntropy = true;
        return orn::matlab::LoadImageFromMat(path(), m_image.image(), isEntropy, nullptr) && !isEntropy;
    }
    bool load(const QByteArray& file) { return testing::writeBytes(path(), file) && load(); }

private slots:
    void initTestCase() { orn::Init(); }
    void init() { m_image.reset(); }
    void bordersOfPieces_data();
    void bordersOfPieces();
    void bordersOfBands_data();
    void bordersOfBands();
    void placesInTheFile_data();
    void placesInTheFile();
    void unlikePlanesOfAMosaic_data();
    void unlikePlanesOfAMosaic();
    void otherByteOrder_data();
    void otherByteOrder();
    void failureHalfWay_data();
    void failureHalfWay();
};

// A piece of a plane of 2,048 rows of 16 bits is 256 columns wide.
void MatPiecesTest::bordersOfPieces_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<bool>("isReversed");
    for (const int columns : {1, 255, 256, 257, 513})
        for (const bool isReversed : {false, true})
            QTest::addRow("%d columns%s", columns, isReversed ? ", reversed" : "") << columns << isReversed;
}

void MatPiecesTest::bordersOfPieces()
{
    QFETCH(int, columns);
    QFETCH(bool, isReversed);
    const ep::CxScopedBuffer image =
        twelveBits(testing::describe(ep::DataTypeUInt16, columns, 2048, 2, ep::LayoutPlanar));
    {
        MatWriter file(path());
        QVERIFY(file.add(image.image(), isReversed) && file.addMetadata(OwnMetadata{2, isReversed}.xml()));
    }
    QVERIFY(load());
    QVERIFY(ep::SameSamples(m_image.image(), image.image()));
    QCOMPARE(m_image->bitDepth, 12);
}

// The planes of a mosaic are read in bands of 256 of their columns when they have 512 rows of 16 bits.
void MatPiecesTest::bordersOfBands_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("grid");
    QTest::addColumn<bool>("isReversed");
    for (const int columns : {1, 255, 256, 257, 513})
        for (int grid = 0; grid <= 3; ++grid)
            for (const bool isReversed : {false, true})
                QTest::addRow("%d columns, grid %d%s", columns, grid, isReversed ? ", reversed" : "")
                    << columns << grid << isReversed;
}

void MatPiecesTest::bordersOfBands()
{
    QFETCH(int, columns);
    QFETCH(int, grid);
    QFETCH(bool, isReversed);
    ep::CxScopedBuffer mosaic = twelveBits(testing::describe(ep::DataTypeUInt16, 2 * columns, 1024));
    mosaic->bayerGrid = ep::ExBayerGrid(grid);
    {
        MatWriter file(path());
        QVERIFY(file.add(mosaic.image(), isReversed));
        QVERIFY(file.addMetadata(OwnMetadata{4, isReversed, grid}.xml()));
    }
    QVERIFY(load());
    QVERIFY(ep::SameSamples(m_image.image(), mosaic.image()));
    QCOMPARE(m_image->channels, 1);
    QCOMPARE(int(m_image->bayerGrid), grid);
    QCOMPARE(m_image->bitDepth, 12);
}

void MatPiecesTest::placesInTheFile_data()
{
    QTest::addColumn<QVector<int>>("order");
    QTest::addColumn<bool>("hasForeign");
    QTest::addColumn<bool>("isCompressed");
    for (const bool isCompressed : {false, true}) {
        const char* const how = isCompressed ? ", compressed" : "";
        QTest::addRow("in their order%s", how) << QVector<int>{0, 1, 2, 3} << false << isCompressed;
        QTest::addRow("the last one first%s", how) << QVector<int>{3, 2, 1, 0} << false << isCompressed;
        QTest::addRow("in any order%s", how) << QVector<int>{2, 0, 3, 1} << false << isCompressed;
        QTest::addRow("between variables that are no images%s", how)
            << QVector<int>{0, 1, 2, 3} << true << isCompressed;
        QTest::addRow("in any order, between others%s", how) << QVector<int>{1, 3, 0, 2} << true << isCompressed;
    }
}

void MatPiecesTest::placesInTheFile()
{
    QFETCH(QVector<int>, order);
    QFETCH(bool, hasForeign);
    QFETCH(bool, isCompressed);
    const ep::CxScopedBuffer planes = twelveBits(testing::describe(ep::DataTypeUInt16, 300, 70, 4, ep::LayoutPlanar));
    const ep::CxScopedBuffer other = twelveBits(testing::describe(ep::DataTypeUInt16, 30, 7, 1, ep::LayoutPlanar));
    for (const int grid : {int(ep::BayerGridNone), int(ep::BayerGridGBRG)})
        for (const bool isReversed : {false, true}) {
            PlaneFile file;
            const auto add = [&](const QByteArray& element) {
                file.bytes += isCompressed ? testing::matCompressed(element) : element;
            };
            for (const int plane : order) {
                if (hasForeign) {
                    const QByteArray number = QByteArray::number(plane);
                    add(testing::matText("text_" + number, "between").bytes());
                    add(MatVariableBytes{"cell_" + number, 1, 0, numbers<qint32>({1, 1}), MatVariableBytes().bytes()}
                            .bytes());
                    // Another image of the same file.
                    add(PlaneFile::variable("other_channel_" + number, other.image(), 0, false));
                }
                add(PlaneFile::variable("ep_image_channel_" + QByteArray::number(plane + 1), planes.image(), plane,
                                        isReversed));
            }
            file.addMetadata({4, isReversed, grid});
            m_image.reset();
            QVERIFY(load(file.bytes));
            QCOMPARE(m_image->bitDepth, 12);
            if (grid == ep::BayerGridNone) {
                QVERIFY(ep::SameSamples(m_image.image(), planes.image()));
                continue;
            }
            QCOMPARE(m_image->width, 600);
            const ep::CxScopedBuffer split = testing::splitMosaic(m_image.image());
            QVERIFY(ep::SameSamples(split.image(), planes.image()));
        }
}

// What can not be read piece by piece, for one plane at least, is read as ever.
void MatPiecesTest::unlikePlanesOfAMosaic_data()
{
    QTest::addColumn<QByteArray>("third");
    QTest::addColumn<int>("held");
    const ep::CxScopedBuffer planes = twelveBits(testing::describe(ep::DataTypeUInt16, 5, 3, 4, ep::LayoutPlanar));
    const QByteArray samples = testing::columnsOf(planes.image(), 2, true);
    const auto third = [](int rows, int columns, const QByteArray& data) {
        return MatVariableBytes{"ep_image_channel_3", 11, 0, numbers<qint32>({rows, columns}),
                                testing::matElement(testing::MatUInt16, data)}
            .bytes();
    };
    QTest::newRow("a shorter one ends in zeros") << third(3, 4, samples.left(24)) << 12;
    QTest::newRow("an empty one is zero") << third(0, 5, QByteArray()) << 0;
    QTest::newRow("a longer one is cut") << third(3, 6, samples + QByteArray(6, '\x0f')) << 15;
    QTest::newRow("a compressed one") << testing::matCompressed(third(3, 5, samples)) << 15;
    QTest::newRow("one that lies as a row") << third(1, 15, samples) << 15;
}

void MatPiecesTest::unlikePlanesOfAMosaic()
{
    QFETCH(QByteArray, third);
    QFETCH(int, held);
    const ep::CxScopedBuffer planes = twelveBits(testing::describe(ep::DataTypeUInt16, 5, 3, 4, ep::LayoutPlanar));
    PlaneFile file;
    for (const int plane : {0, 1, 2, 3})
        file.bytes += plane == 2 ? third
                                 : PlaneFile::variable("ep_image_channel_" + QByteArray::number(plane + 1),
                                                       planes.image(), plane, true);
    file.addMetadata({4, true, ep::BayerGridRGGB});
    QVERIFY(load(file.bytes));
    const ep::CxScopedBuffer split = testing::splitMosaic(m_image.image());
    QCOMPARE(split->channels, 4);
    for (int plane = 0; plane < 4; ++plane)
        for (int x = 0; x < 5; ++x)
            for (int y = 0; y < 3; ++y) {
                const bool isHeld = plane != 2 || x * 3 + (2 - y) < held;
                const auto expected = isHeld ? testing::sampleAt<quint16>(planes.image(), x, y, plane) : quint16(0);
                QCOMPARE(testing::sampleAt<quint16>(split.image(), x, y, plane), expected);
            }
}

void MatPiecesTest::otherByteOrder_data()
{
    QTest::addColumn<int>("columns");
    for (const int columns : {1, 256, 257})
        QTest::addRow("%d columns", columns) << columns;
}

// A foreign file of a machine with the other byte order; read in pieces, too.
void MatPiecesTest::otherByteOrder()
{
    QFETCH(int, columns);
    const ep::CxScopedBuffer plane = twelveBits(testing::describe(ep::DataTypeUInt16, columns, 2048));
    const auto tag = [](quint32 type, quint32 bytes) { return testing::swapped(numbers<quint32>({type, bytes}), 4); };
    const QByteArray samples = testing::swapped(testing::columnsOf(plane.image(), 0, false), 2);
    const QByteArray content = tag(testing::MatUInt32, 8) + testing::swapped(numbers<quint32>({11, 0}), 4)
                               + tag(testing::MatInt32, 8) + testing::swapped(numbers<qint32>({2048, columns}), 4)
                               + tag(testing::MatInt8, 1) + QByteArray("A").leftJustified(8, '\0')
                               + tag(testing::MatUInt16, quint32(samples.size())) + samples;
    const QByteArray header =
        QByteArray("MATLAB 5.0 MAT-file").leftJustified(124, ' ') + testing::swapped(testing::matHeader().right(4), 2);
    QVERIFY(load(header + tag(testing::MatMatrix, quint32(content.size())) + content));
    QVERIFY(ep::SameSamples(m_image.image(), plane.image()));
    QCOMPARE(m_image->bitDepth, 12);
}

void MatPiecesTest::failureHalfWay_data()
{
    QTest::addColumn<QByteArray>("last");
    const auto last = [](quint32 matClass, quint32 flags, const QByteArray& data) {
        return MatVariableBytes{"ep_image_channel_4", matClass, flags, numbers<qint32>({3, 5}), data}.bytes();
    };
    const QByteArray fifteen = testing::matElement(testing::MatUInt16, QByteArray(30, '\1'));
    QTest::newRow("the last plane is missing") << QByteArray();
    QTest::newRow("the last plane is complex") << last(11, 0x0800, fifteen + fifteen);
    QTest::newRow("the last plane is of another class")
        << last(9, 0, testing::matElement(testing::MatUInt8, QByteArray(15, '\1')));
}

void MatPiecesTest::failureHalfWay()
{
    QFETCH(QByteArray, last);
    const ep::CxScopedBuffer planes = twelveBits(testing::describe(ep::DataTypeUInt16, 5, 3, 4, ep::LayoutPlanar));
    for (const int grid : {int(ep::BayerGridNone), int(ep::BayerGridRGGB)}) {
        PlaneFile file;
        for (const int plane : {0, 1, 2})
            file.bytes +=
                PlaneFile::variable("ep_image_channel_" + QByteArray::number(plane + 1), planes.image(), plane, false);
        file.bytes += last;
        file.addMetadata({4, false, grid});
        m_image = testing::copyOf(planes.image());
        QVERIFY(!load(file.bytes));
        QVERIFY2(!m_image->data, "the caller's image is released");
    }
}

QTEST_GUILESS_MAIN(MatPiecesTest)
#include "MatPiecesTest.moc"
