#include <ep/Transpose.h>

#include "ImageKinds.h"
#include "UnsoundImages.h"

namespace {

void check(const testing::ImageKind& kind, int width, int height, int padding)
{
    const ep::CxScopedBuffer source = testing::randomImage(kind.describe(width, height, padding), 1);
    ep::CxScopedBuffer turned = testing::randomImage(kind.describe(height, width, (padding * 3) % 7), 2);
    ep::CxScopedBuffer expected = testing::copyOf(turned.image());
    for (int c = 0; c < kind.channels; ++c)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                testing::copySample(source.image(), x, y, c, expected.image(), y, x, c);
    QCOMPARE(ep::Transpose(source.image(), turned.image()), 0u);
    QVERIFY2(testing::sameStorage(turned.image(), expected.image()), testing::shapeName(width, height, padding));
}

}  // namespace

class TransposeTest : public QObject {
    Q_OBJECT

private slots:
    void exchangesRowsAndColumns_data() { testing::addImageKinds(); }
    void exchangesRowsAndColumns();
    void turnsWholeTilesAndWhatIsLeft_data() { testing::addImageKinds(); }
    void turnsWholeTilesAndWhatIsLeft();
    void turnsTwiceIntoItself();
    void refusesWhatDoesNotFit_data();
    void refusesWhatDoesNotFit();
    void refusesASource_data() { testing::addUnsoundImages(); }
    void refusesASource();
    void refusesADestination_data() { testing::addUnsoundImages(); }
    void refusesADestination();
};

void TransposeTest::exchangesRowsAndColumns()
{
    const testing::ImageKind kind = testing::currentImageKind();
    testing::forEachShape(kind.type, [&](int width, int height, int padding) { check(kind, width, height, padding); });
}

void TransposeTest::turnsWholeTilesAndWhatIsLeft()
{
    const testing::ImageKind kind = testing::currentImageKind();
    for (const int width : {16, 63, 64, 65, 129})
        for (const int height : {15, 32, 64, 130})
            for (const int padding : {0, 1, 16})
                check(kind, width, height, padding);
}

void TransposeTest::turnsTwiceIntoItself()
{
    const ep::CxScopedBuffer source = testing::randomImage(testing::describe(ep::DataTypeUInt16, 301, 203, 3));
    ep::CxScopedBuffer turned = testing::randomImage(testing::describe(ep::DataTypeUInt16, 203, 301, 3), 2);
    ep::CxScopedBuffer back = testing::randomImage(testing::describe(ep::DataTypeUInt16, 301, 203, 3), 3);
    QCOMPARE(ep::Transpose(source.image(), turned.image()), 0u);
    QCOMPARE(ep::Transpose(turned.image(), back.image()), 0u);
    QVERIFY(testing::sameStorage(source.image(), back.image()));
}

void TransposeTest::refusesWhatDoesNotFit_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("layout");
    QTest::newRow("width and height not exchanged") << 5 << 4 << 2 << 4 << 0;
    QTest::newRow("another width") << 3 << 5 << 2 << 4 << 0;
    QTest::newRow("another height") << 4 << 6 << 2 << 4 << 0;
    QTest::newRow("another number of channels") << 4 << 5 << 1 << 4 << 0;
    QTest::newRow("another sample type of the same size") << 4 << 5 << 2 << 3 << 0;
    QTest::newRow("another layout") << 4 << 5 << 2 << 4 << 1;
}

void TransposeTest::refusesWhatDoesNotFit()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, channels);
    QFETCH(int, type);
    QFETCH(int, layout);
    const ep::CxScopedBuffer source = testing::randomImage(testing::describe(ep::DataTypeUInt16, 5, 4, 2));
    ep::CxScopedBuffer turned = testing::randomImage(
        testing::describe(ep::ExImageDataType(type), width, height, channels, ep::ExImageLayout(layout)));
    const ep::CxScopedBuffer before = testing::copyOf(turned.image());
    QCOMPARE(ep::Transpose(source.image(), turned.image()), quint32(ep::StatusGeometryMismatch));
    QVERIFY(testing::sameStorage(turned.image(), before.image()));
}

void TransposeTest::refusesASource()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    ep::CxScopedBuffer turned = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4), 2);
    ep::SxImageBuf source = sound.image();
    unsound.spoil(source);
    QCOMPARE(ep::Transpose(source, turned.image()), unsound.status);
}

void TransposeTest::refusesADestination()
{
    const testing::UnsoundImage& unsound = testing::currentUnsoundImage();
    const ep::CxScopedBuffer source = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4));
    const ep::CxScopedBuffer sound = testing::randomImage(testing::describe(ep::DataTypeUInt16, 4, 4), 2);
    ep::SxImageBuf turned = sound.image();
    unsound.spoil(turned);
    QCOMPARE(ep::Transpose(source.image(), turned), unsound.status);
}

QTEST_GUILESS_MAIN(TransposeTest)
#include "TransposeTest.moc"
