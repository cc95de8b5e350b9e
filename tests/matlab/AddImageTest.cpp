#include "MatReference.h"

#include <orn/matlab/AddImage.h>
#include <orn/matlab/MatFile.h>

#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>

using orn::matlab::AddImage;
using testing::StoredVariable;

Q_DECLARE_METATYPE(ep::SxImageInfo)

namespace {

const QString base = QStringLiteral("ep_image");

ep::SxImageInfo mosaic(ep::ExBayerGrid grid, int width, int height, ep::ExImageLayout layout = ep::LayoutPacked)
{
    ep::SxImageInfo info = testing::describe(ep::DataTypeUInt16, width, height, 1, layout);
    info.bayerGrid = grid;
    return info;
}

ep::SxImageInfo cellMosaic(int patternWidth, int patternHeight, int width, int height)
{
    ep::SxImageInfo info = mosaic(ep::BayerGridCell, width, height);
    info.patternWidth = patternWidth;
    info.patternHeight = patternHeight;
    return info;
}

ep::SxImageInfo planar(ep::ExImageDataType type, int width, int height, int channels)
{
    return testing::describe(type, width, height, channels, ep::LayoutPlanar);
}

}  // namespace

class AddImageTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    ep::SxImageInfo m_written = {};

    QString path() const { return m_folder.filePath(QStringLiteral("image.mat")); }

    bool write(const ep::SxImageBuf& image, bool reverse = false, bool raw = false, const QString& name = base)
    {
        void* mat = orn::matlab::MatOpenWrite(path());
        std::memset(&m_written, 0x5a, sizeof(m_written));
        const bool isWritten = AddImage(mat, image, name, reverse, m_written, raw);
        orn::matlab::MatClose(mat);
        return isWritten;
    }

    bool isUntouched() const
    {
        ep::SxImageInfo untouched;
        std::memset(&untouched, 0x5a, sizeof(untouched));
        return testing::sameInfo(m_written, untouched) && QFileInfo(path()).size() == 128;
    }

private slots:
    void onePlane();
    void reversedRows();
    void names_data();
    void names();
    void geometryOfTheSplit_data();
    void geometryOfTheSplit();
    void layoutOfTheDescription_data();
    void layoutOfTheDescription();
    void otherFieldsAreTakenOver();
    void refused_data();
    void refused();
    void unknownLayoutOfAPlainPlaneIsTakenAsPlanarUnlessReversed();
    void nullHandleIsRefused();
    void tooLargePlaneIsRefusedBeforeAnythingIsWritten();
    void imageIsNeverChanged();
    void planesGoAfterWhatIsInTheFileAlready();
};

void AddImageTest::onePlane()
{
    ep::CxScopedBuffer image = testing::randomImage(planar(ep::DataTypeUInt16, 5, 3, 1));
    QVERIFY(write(image.image()));
    const auto variables = testing::readVariables(path());
    QCOMPARE(variables.size(), 1);
    const StoredVariable& plane = variables.first();
    QCOMPARE(plane.name, QStringLiteral("ep_image_channel_1"));
    QCOMPARE(plane.matClass, MAT_C_UINT16);
    QCOMPARE(plane.dimensions, (QVector<size_t>{3, 5}));
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 5; ++column) {
            quint16 element;
            std::memcpy(&element, plane.data.constData() + 2 * (column * 3 + row), sizeof(element));
            QCOMPARE(element, testing::sampleAt<quint16>(image.image(), column, row));
        }
    QCOMPARE(m_written.width, 3);
    QCOMPARE(m_written.height, 5);
    QCOMPARE(m_written.stride, 6);
    QCOMPARE(m_written.channels, 1);
}

void AddImageTest::reversedRows()
{
    ep::CxScopedBuffer image = testing::randomImage(planar(ep::DataTypeUInt16, 5, 3, 1));
    QVERIFY(write(image.image(), true));
    const StoredVariable plane = testing::readVariables(path()).first();
    for (int column = 0; column < 5; ++column) {
        quint16 first;
        std::memcpy(&first, plane.data.constData() + 2 * column * 3, sizeof(first));
        QCOMPARE(first, testing::sampleAt<quint16>(image.image(), column, 2));
    }
}

void AddImageTest::names_data()
{
    QTest::addColumn<ep::SxImageInfo>("info");
    QTest::addColumn<bool>("raw");
    QTest::addColumn<QStringList>("names");
    const auto row = [](const char* fact, const ep::SxImageInfo& info, bool raw, const char* names) {
        QStringList list = QString::fromLatin1(names).split(QLatin1Char(' '));
        for (QString& name : list)
            name = name.isEmpty() ? name : base + name;
        QTest::newRow(fact) << info << raw << list;
    };
    const char* const four = "_channel_1 _channel_2 _channel_3 _channel_4";
    row("three float planes are numbered", planar(ep::DataTypeFloat, 4, 3, 3), false,
        "_channel_1 _channel_2 _channel_3");
    row("planes count on past nine", planar(ep::DataTypeUInt8, 2, 2, 11), false,
        "_channel_1 _channel_2 _channel_3 _channel_4 _channel_5 _channel_6 _channel_7 _channel_8 _channel_9 "
        "_channel_10 _channel_11");
    row("a packed mosaic is split into four numbered planes", mosaic(ep::BayerGridRGGB, 6, 4), false, four);
    row("a raw BGGR mosaic is one plane", mosaic(ep::BayerGridBGGR, 6, 4), true, "_BGGR");
    row("a raw RGGB mosaic is one plane", mosaic(ep::BayerGridRGGB, 6, 4), true, "_RGGB");
    row("a raw GBRG mosaic is one plane", mosaic(ep::BayerGridGBRG, 6, 4), true, "_GBRG");
    row("a raw GRBG mosaic is one plane", mosaic(ep::BayerGridGRBG, 6, 4), true, "_GRBG");
    row("a planar mosaic is one plane, raw or not", mosaic(ep::BayerGridGBRG, 6, 4, ep::LayoutPlanar), false, "_GBRG");
    row("a raw plane without grid is numbered", mosaic(ep::BayerGridNone, 6, 4), true, "_channel_1");
    row("four raw planes are named by colour", planar(ep::DataTypeUInt16, 3, 2, 4), true,
        "_channel_R _channel_G1 _channel_B _channel_G2");
    row("four planes that are not raw are numbered", planar(ep::DataTypeUInt16, 3, 2, 4), false, four);
    row("three raw planes are numbered", planar(ep::DataTypeUInt16, 3, 2, 3), true, "_channel_1 _channel_2 _channel_3");
    row("a raw mosaic of any other cell has no name at all", cellMosaic(6, 6, 12, 12), true, "");
    row("an unknown grid has no name either", mosaic(ep::ExBayerGrid(77), 6, 4, ep::LayoutPlanar), false, "");
    row("a cell of one sample is one plane without a name", cellMosaic(1, 1, 3, 2), false, "");
    row("a packed colour photograph is split as though it were a mosaic", testing::describe(ep::DataTypeUInt8, 6, 4, 3),
        false, four);
}

void AddImageTest::names()
{
    QFETCH(ep::SxImageInfo, info);
    QFETCH(bool, raw);
    QFETCH(QStringList, names);
    ep::CxScopedBuffer image = testing::randomImage(info);
    QVERIFY(write(image.image(), false, raw));
    QCOMPARE(testing::variableNames(path()), names);
    QCOMPARE(m_written.channels, names.size());
    QVERIFY(write(image.image(), true, raw));
    QCOMPARE(testing::variableNames(path()), names);
}

void AddImageTest::geometryOfTheSplit_data()
{
    QTest::addColumn<ep::SxImageInfo>("info");
    QTest::addColumn<int>("planes");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::newRow("4 x 6 gives four planes of 2 x 3") << mosaic(ep::BayerGridRGGB, 6, 4) << 4 << 2 << 3;
    QTest::newRow("an odd row and column are dropped") << mosaic(ep::BayerGridGRBG, 7, 5) << 4 << 2 << 3;
    QTest::newRow("grid 5 of 6 x 6 gives 36 planes") << cellMosaic(6, 6, 13, 19) << 36 << 3 << 2;
    QTest::newRow("grid 5 of 3 x 2 gives six planes") << cellMosaic(3, 2, 7, 5) << 6 << 2 << 2;
    QTest::newRow("an unknown grid is split as 2 x 2") << mosaic(ep::ExBayerGrid(-3), 6, 4) << 4 << 2 << 3;
    QTest::newRow("several packed channels without grid are split as 2 x 2")
        << testing::describe(ep::DataTypeUInt16, 9, 7, 6) << 4 << 3 << 4;
}

void AddImageTest::geometryOfTheSplit()
{
    QFETCH(ep::SxImageInfo, info);
    QFETCH(int, planes);
    QFETCH(int, rows);
    QFETCH(int, columns);
    ep::CxScopedBuffer image = testing::randomImage(info);
    QVERIFY(write(image.image()));
    const auto variables = testing::readVariables(path());
    QCOMPARE(variables.size(), planes);
    for (const StoredVariable& variable : variables)
        QCOMPARE(variable.dimensions, (QVector<size_t>{size_t(rows), size_t(columns)}));
    QCOMPARE(m_written.width, rows);
    QCOMPARE(m_written.height, columns);
    QCOMPARE(m_written.channels, planes);
    QCOMPARE(int(m_written.layout), int(ep::LayoutPlanar));
}

void AddImageTest::layoutOfTheDescription_data()
{
    QTest::addColumn<ep::SxImageInfo>("info");
    QTest::addColumn<bool>("reverse");
    QTest::addColumn<bool>("raw");
    QTest::addColumn<int>("layout");
    const ep::SxImageInfo packed = mosaic(ep::BayerGridNone, 6, 4);
    const ep::SxImageInfo bayer = mosaic(ep::BayerGridRGGB, 6, 4);
    QTest::newRow("a packed plane is written as planar") << packed << false << false << 1;
    QTest::newRow("a packed plane stays packed when its rows are reversed") << packed << true << false << 0;
    QTest::newRow("a raw mosaic is written as planar") << bayer << false << true << 1;
    QTest::newRow("a raw mosaic stays packed when its rows are reversed") << bayer << true << true << 0;
    QTest::newRow("a split mosaic is planar") << bayer << false << false << 1;
    QTest::newRow("a split mosaic is planar when its rows are reversed") << bayer << true << false << 1;
    QTest::newRow("planes are planar") << planar(ep::DataTypeUInt8, 6, 4, 3) << true << false << 1;
}

void AddImageTest::layoutOfTheDescription()
{
    QFETCH(ep::SxImageInfo, info);
    QFETCH(bool, reverse);
    QFETCH(bool, raw);
    ep::CxScopedBuffer image = testing::randomImage(info);
    QVERIFY(write(image.image(), reverse, raw));
    QTEST(int(m_written.layout), "layout");
}

void AddImageTest::otherFieldsAreTakenOver()
{
    ep::SxImageInfo info = cellMosaic(3, 2, 7, 5);
    info.bitDepth = 13;
    info.formatCode = 42;
    info.reserved = 99;
    ep::CxScopedBuffer image = testing::randomImage(info);
    QVERIFY(write(image.image()));
    QCOMPARE(m_written.bitDepth, 13);
    QCOMPARE(m_written.formatCode, 42);
    QCOMPARE(m_written.reserved, 99);
    QCOMPARE(int(m_written.bayerGrid), 5);
    QCOMPARE(m_written.patternWidth, 3);
    QCOMPARE(m_written.patternHeight, 2);
    QCOMPARE(int(m_written.dataType), int(ep::DataTypeUInt16));
}

void AddImageTest::refused_data()
{
    using Spoil = void (*)(ep::SxImageBuf&);
    QTest::addColumn<ep::SxImageInfo>("info");
    QTest::addColumn<void*>("spoil");
    QTest::addColumn<bool>("raw");
    const auto row = [](const char* fact, const ep::SxImageInfo& info, Spoil spoil, bool raw = false) {
        QTest::newRow(fact) << info << reinterpret_cast<void*>(spoil) << raw;
    };
    const Spoil nothing = [](ep::SxImageBuf&) {};
    const ep::SxImageInfo plain = planar(ep::DataTypeUInt16, 6, 4, 1);
    row("sample type 9", planar(ep::DataTypeComplex, 6, 4, 1), nothing);
    row("sample type 0", plain, [](ep::SxImageBuf& image) { image.dataType = ep::DataTypeNone; });
    row("sample type 12", plain, [](ep::SxImageBuf& image) { image.dataType = ep::ExImageDataType(12); });
    row("sample type -1", plain, [](ep::SxImageBuf& image) { image.dataType = ep::ExImageDataType(-1); });
    row("width 0", plain, [](ep::SxImageBuf& image) { image.width = 0; });
    row("a negative width", plain, [](ep::SxImageBuf& image) { image.width = -6; });
    row("height 0", plain, [](ep::SxImageBuf& image) { image.height = 0; });
    row("a negative height", plain, [](ep::SxImageBuf& image) { image.height = -4; });
    row("no channels", plain, [](ep::SxImageBuf& image) { image.channels = 0; });
    row("no channels, packed", mosaic(ep::BayerGridNone, 6, 4), [](ep::SxImageBuf& image) { image.channels = 0; });
    row("negative channels", plain, [](ep::SxImageBuf& image) { image.channels = -2; });
    row("stride 0", plain, [](ep::SxImageBuf& image) { image.stride = 0; });
    row("a stride shorter than a row", plain, [](ep::SxImageBuf& image) { image.stride = 11; });
    row("a negative stride", plain, [](ep::SxImageBuf& image) { image.stride = -12; });
    row("layout 2 of several channels", planar(ep::DataTypeUInt8, 6, 4, 3),
        [](ep::SxImageBuf& image) { image.layout = ep::ExImageLayout(2); });
    row("layout 2 of a mosaic", mosaic(ep::BayerGridRGGB, 6, 4),
        [](ep::SxImageBuf& image) { image.layout = ep::ExImageLayout(2); });
    row("several raw packed channels: they are no planes", testing::describe(ep::DataTypeUInt8, 6, 4, 3), nothing,
        true);
    row("four raw packed channels", testing::describe(ep::DataTypeUInt8, 6, 4, 4), nothing, true);
    row("a cell without width", cellMosaic(0, 2, 6, 4), nothing);
    row("a cell without height", cellMosaic(2, 0, 6, 4), nothing);
    row("a cell of negative width", cellMosaic(-2, 2, 6, 4), nothing);
    row("a cell of two negative sides", cellMosaic(-2, -2, 6, 4), nothing);
    row("a cell larger than the image", cellMosaic(7, 2, 6, 4), nothing);
    row("a cell of more positions than can be counted",
        cellMosaic(std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), 6, 4), nothing);
    row("a mosaic of one row has no whole cell", mosaic(ep::BayerGridRGGB, 6, 1), nothing);
    row("a mosaic of one column has no whole cell", mosaic(ep::BayerGridRGGB, 1, 6), nothing);
}

void AddImageTest::refused()
{
    QFETCH(ep::SxImageInfo, info);
    QFETCH(void*, spoil);
    QFETCH(bool, raw);
    ep::CxScopedBuffer image = testing::randomImage(info);
    ep::SxImageBuf spoiled = image.image();
    reinterpret_cast<void (*)(ep::SxImageBuf&)>(spoil)(spoiled);
    for (const bool reverse : {false, true}) {
        QVERIFY(!write(spoiled, reverse, raw));
        QVERIFY(isUntouched());
    }
    ep::SxImageBuf empty = image.image();
    empty.data = nullptr;
    QVERIFY(!write(empty, false, raw));
}

void AddImageTest::unknownLayoutOfAPlainPlaneIsTakenAsPlanarUnlessReversed()
{
    ep::CxScopedBuffer image = testing::randomImage(planar(ep::DataTypeUInt16, 6, 4, 1));
    ep::SxImageBuf odd = image.image();
    odd.layout = ep::ExImageLayout(2);
    QVERIFY(write(odd));
    QCOMPARE(testing::variableNames(path()), QStringList{base + QStringLiteral("_channel_1")});
    QCOMPARE(int(m_written.layout), int(ep::LayoutPlanar));
    // Reversed rows come from a copy, which keeps the layout that nothing can transpose.
    QVERIFY(!write(odd, true));
    QVERIFY(isUntouched());
}

void AddImageTest::nullHandleIsRefused()
{
    ep::CxScopedBuffer image = testing::randomImage(planar(ep::DataTypeUInt16, 5, 3, 1));
    QVERIFY(!AddImage(nullptr, image.image(), base, false, m_written, false));
}

void AddImageTest::tooLargePlaneIsRefusedBeforeAnythingIsWritten()
{
    // Only described: refusing must not touch a sample.
    ep::CxScopedBuffer image = testing::randomImage(planar(ep::DataTypeDouble, 4, 4, 2));
    ep::SxImageBuf large = image.image();
    large.width = 20000;
    large.height = 20000;
    large.stride = 20000 * 8;
    QVERIFY(!write(large));
    QVERIFY(isUntouched());
    // 2^31 - 1 bytes of samples and the header around them.
    large.dataType = ep::DataTypeUInt8;
    large.width = std::numeric_limits<int>::max();
    large.height = 1;
    large.stride = large.width;
    QVERIFY(!write(large));
    QVERIFY(isUntouched());
    large.height = std::numeric_limits<int>::max();
    QVERIFY(!write(large, true));
    QVERIFY(isUntouched());
}

void AddImageTest::imageIsNeverChanged()
{
    for (const ep::ExImageLayout layout : testing::allLayouts)
        for (const int channels : {1, 4}) {
            ep::CxScopedBuffer image =
                testing::randomImage(testing::describe(ep::DataTypeUInt16, 6, 4, channels, layout, 3));
            const ep::SxImageBuf before = image.image();
            const QByteArray bytes(static_cast<const char*>(before.data), int(testing::storageBytes(before)));
            QVERIFY(write(image.image(), true));
            QCOMPARE(std::memcmp(&before, &image.image(), sizeof(before)), 0);
            QCOMPARE(QByteArray(static_cast<const char*>(before.data), bytes.size()), bytes);
        }
}

void AddImageTest::planesGoAfterWhatIsInTheFileAlready()
{
    ep::CxScopedBuffer image = testing::randomImage(planar(ep::DataTypeUInt8, 5, 3, 2));
    void* mat = orn::matlab::MatOpenWrite(path());
    QVERIFY(orn::matlab::AddVar(mat, QStringLiteral("text"), QStringLiteral("note")));
    QVERIFY(AddImage(mat, image.image(), QStringLiteral("a%1"), false, m_written, false));
    QVERIFY(AddImage(mat, image.image(), QString(), false, m_written, false));
    orn::matlab::MatClose(mat);
    QCOMPARE(testing::variableNames(path()).join(QLatin1Char(' ')),
             QStringLiteral("note a%1_channel_1 a%1_channel_2 _channel_1 _channel_2"));
}

QTEST_GUILESS_MAIN(AddImageTest)
#include "AddImageTest.moc"
