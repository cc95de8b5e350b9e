#include <orn/SubtractImages.h>

#include "SampleNumbers.h"

#include <QtTest>

#include <limits>

using namespace testing;

class SubtractImagesTest : public QObject {
    Q_OBJECT

private slots:
    void subtractsAnyTypesAndLayouts_data();
    void subtractsAnyTypesAndLayouts();
    void subtracts64BitIntegers_data();
    void subtracts64BitIntegers();
    void describesTheDifference();
    void refuses_data();
    void refuses();
};

namespace {

/** An image whose sample at x, y, c is a small number that every type holds. */
ep::CxScopedBuffer patterned(ep::ExImageDataType type, ep::ExImageLayout layout, int factor, int padding)
{
    auto image = randomImage(describe(type, 7, 5, 3, layout, padding));
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 3; ++c)
                setNumber(image.image(), x, y, c, (x + 7 * y + 35 * c) * factor % 101);
    return image;
}

}  // namespace

void SubtractImagesTest::subtractsAnyTypesAndLayouts_data()
{
    QTest::addColumn<int>("typeA");
    QTest::addColumn<int>("typeB");
    for (int a : allTypes)
        for (int b : allTypes)
            if (a != ep::DataTypeComplex && b != ep::DataTypeComplex)
                QTest::addRow("%s - %s", ep::sampleFacts(a).name, ep::sampleFacts(b).name) << a << b;
}

void SubtractImagesTest::subtractsAnyTypesAndLayouts()
{
    QFETCH(int, typeA);
    QFETCH(int, typeB);
    for (ep::ExImageLayout layoutA : allLayouts)
        for (ep::ExImageLayout layoutB : allLayouts) {
            const auto a = patterned(ep::ExImageDataType(typeA), layoutA, 3, 5);
            const auto b = patterned(ep::ExImageDataType(typeB), layoutB, 7, 0);
            ep::CxScopedBuffer difference;
            QCOMPARE(orn::SubtractImages(a.image(), b.image(), difference), unsigned(ep::StatusOk));
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 7; ++x)
                    for (int c = 0; c < 3; ++c) {
                        const int place = x + 7 * y + 35 * c;
                        QCOMPARE(sampleAt<double>(difference.image(), x, y, c),
                                 double(place * 3 % 101 - place * 7 % 101));
                    }
        }
}

void SubtractImagesTest::subtracts64BitIntegers_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<quint64>("a");
    QTest::addColumn<quint64>("b");
    QTest::addColumn<double>("difference");
    const int u64 = ep::DataTypeUInt64;
    const int i64 = ep::DataTypeInt64;
    const quint64 most = std::numeric_limits<quint64>::max();
    const quint64 mostSigned = most / 2;
    const quint64 leastSigned = mostSigned + 1;
    QTest::newRow("neighbours that are the same double") << u64 << most << most - 1 << 1.0;
    QTest::newRow("the other way round") << u64 << most - 1 << most << -1.0;
    QTest::newRow("the largest difference") << u64 << most << quint64(0) << 18446744073709551616.0;
    QTest::newRow("the least difference") << u64 << quint64(0) << most << -18446744073709551616.0;
    QTest::newRow("a tie goes to the even one") << u64 << (quint64(1) << 53) + 1 << quint64(0) << 9007199254740992.0;
    QTest::newRow("a tie below zero too") << u64 << quint64(0) << (quint64(1) << 53) + 1 << -9007199254740992.0;
    QTest::newRow("signed neighbours") << i64 << leastSigned << leastSigned + 1 << -1.0;
    QTest::newRow("the largest difference of signed ones")
        << i64 << mostSigned << leastSigned << 18446744073709551616.0;
    QTest::newRow("the least difference of signed ones") << i64 << leastSigned << mostSigned << -18446744073709551616.0;
}

void SubtractImagesTest::subtracts64BitIntegers()
{
    QFETCH(int, type);
    QFETCH(quint64, a);
    QFETCH(quint64, b);
    QFETCH(double, difference);
    auto from = randomImage(describe(ep::ExImageDataType(type), 1, 1));
    auto what = randomImage(describe(ep::ExImageDataType(type), 1, 1));
    setSample(from.image(), 0, 0, 0, a);
    setSample(what.image(), 0, 0, 0, b);
    ep::CxScopedBuffer made;
    QCOMPARE(orn::SubtractImages(from.image(), what.image(), made), unsigned(ep::StatusOk));
    QCOMPARE(sampleAt<double>(made.image(), 0, 0), difference);
}

void SubtractImagesTest::describesTheDifference()
{
    auto a = randomImage(describe(ep::DataTypeUInt16, 8, 6));
    auto b = randomImage(describe(ep::DataTypeUInt8, 8, 6));
    a->bitDepth = 12;
    a->bayerGrid = ep::ExBayerGrid(5);
    a->patternWidth = 4;
    a->patternHeight = 2;
    a->formatCode = 2;
    ep::CxScopedBuffer difference = randomImage(describe(ep::DataTypeUInt8, 100, 100));
    QCOMPARE(orn::SubtractImages(a.image(), b.image(), difference), unsigned(ep::StatusOk));
    QCOMPARE(int(difference->dataType), int(ep::DataTypeDouble));
    QCOMPARE(int(difference->layout), int(ep::LayoutPlanar));
    QCOMPARE(difference->bitDepth, 64);
    QCOMPARE(difference->stride, 64);
    QCOMPARE(difference->formatCode, 2);
    QCOMPARE(int(difference->bayerGrid), 5);
    QCOMPARE(difference->patternWidth, 4);
    QCOMPARE(difference->patternHeight, 2);
}

void SubtractImagesTest::refuses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("layout");
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<unsigned>("status");

    const int u8 = ep::DataTypeUInt8;
    const unsigned mismatch = ep::StatusGeometryMismatch;
    QTest::newRow("no data") << u8 << 4 << 4 << 1 << 0 << false << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("another width") << u8 << 3 << 4 << 1 << 0 << true << mismatch;
    QTest::newRow("another height") << u8 << 4 << 3 << 1 << 0 << true << mismatch;
    QTest::newRow("other channels") << u8 << 4 << 4 << 2 << 0 << true << mismatch;
    QTest::newRow("no rows") << u8 << 4 << 0 << 1 << 0 << true << unsigned(ep::StatusInvalidArgument);
    QTest::newRow("layout 2") << u8 << 4 << 4 << 1 << 2 << true << unsigned(ep::StatusUnsupportedLayout);
    QTest::newRow("an unknown type") << 55 << 4 << 4 << 1 << 0 << true << unsigned(ep::StatusUnsupportedType);
    QTest::newRow("samples that are no numbers")
        << int(ep::DataTypeComplex) << 4 << 4 << 1 << 0 << true << unsigned(ep::StatusUnsupportedType);
}

void SubtractImagesTest::refuses()
{
    QFETCH(int, type);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, layout);
    QFETCH(bool, hasData);
    QFETCH(unsigned, status);
    const auto good = randomImage(describe(ep::DataTypeUInt8, 4, 4));
    const auto storage = randomImage(describe(ep::DataTypeComplex, 4, 4, 2));
    ep::SxImageBuf bad = storage.image();
    static_cast<ep::SxImageInfo&>(bad) = describe(ep::ExImageDataType(type), width, height, channels);
    bad.stride = storage->stride;
    bad.layout = ep::ExImageLayout(layout);
    if (!hasData)
        bad.data = nullptr;
    ep::CxScopedBuffer difference;
    QCOMPARE(orn::SubtractImages(good.image(), bad, difference), status);
    QCOMPARE(orn::SubtractImages(bad, good.image(), difference), status);
    QVERIFY(!difference->data);
}

QTEST_GUILESS_MAIN(SubtractImagesTest)
#include "SubtractImagesTest.moc"
