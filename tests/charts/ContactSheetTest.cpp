#include "ModuleTesting.h"
#include "TestImages.h"

#include <QtTest>

#include <array>

using namespace testing;

namespace {

using Pixel = std::array<quint8, 3>;

constexpr Pixel red{200, 10, 10};
constexpr Pixel green{10, 180, 10};
constexpr Pixel blue{10, 10, 220};
constexpr Pixel yellow{220, 210, 10};

/** A picture of four corners: red and green above, blue and yellow below. */
ep::CxScopedBuffer fourCorners(int width, int height)
{
    auto picture = randomImage(describe(ep::DataTypeUInt8, width, height, 3, ep::LayoutPacked, 5));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool right = x >= width / 2;
            const Pixel& color = y < height / 2 ? (right ? green : red) : (right ? yellow : blue);
            for (int c = 0; c < 3; ++c)
                setSample<quint8>(picture.image(), x, y, c, color[size_t(c)]);
        }
    return picture;
}

/** Bounds of all pixels of @p color in @p sheet. */
QRect boundsOf(const ep::SxImageBuf& sheet, const Pixel& color)
{
    QRect bounds;
    for (int y = 0; y < sheet.height; ++y)
        for (int x = 0; x < sheet.width; ++x)
            if (sampleAt<quint8>(sheet, x, y, 0) == color[0] && sampleAt<quint8>(sheet, x, y, 1) == color[1]
                && sampleAt<quint8>(sheet, x, y, 2) == color[2])
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

/** How many pixels of @p part are nearly black: letters. */
int inkIn(const ep::SxImageBuf& sheet, const QRect& part)
{
    int count = 0;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            count += sampleAt<quint8>(sheet, x, y, 0) < 90 && sampleAt<quint8>(sheet, x, y, 1) < 90;
    return count;
}

}  // namespace

class ContactSheetTest : public QObject {
    Q_OBJECT
private slots:
    void picturesStandUprightOverTheirNames_data();
    void picturesStandUprightOverTheirNames();
    void greyPicturesAreDrawnToo();
    void tilesFillRowByRow();
    void aPlaceholderSaysWhy();
    void tooManyTilesAreRefused();
};

void ContactSheetTest::picturesStandUprightOverTheirNames_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("a large picture") << 960 << 640;
    QTest::newRow("a tall picture") << 200 << 900;
    QTest::newRow("a tiny picture, enlarged") << 6 << 4;
    QTest::newRow("an extremely wide one") << 4000 << 2;
}

void ContactSheetTest::picturesStandUprightOverTheirNames()
{
    QFETCH(int, width);
    QFETCH(int, height);
    const auto charts = startCharts();
    QVERIFY(charts);
    const auto contact = charts->newContactSheet();
    contact->addPicture(fourCorners(width, height).image(), QStringLiteral("photo.dng"));
    ep::CxScopedBuffer sheet;
    QVERIFY(contact->draw(sheet));
    QCOMPARE(sheet->channels, 3);
    QCOMPARE(sheet->dataType, ep::DataTypeUInt8);
    if (width > 2000)
        return;  // smoothed to one row
    const QRect topLeft = boundsOf(sheet.image(), red);
    const QRect topRight = boundsOf(sheet.image(), green);
    const QRect bottomLeft = boundsOf(sheet.image(), blue);
    const QRect bottomRight = boundsOf(sheet.image(), yellow);
    QVERIFY(!topLeft.isEmpty() && !bottomRight.isEmpty());
    QVERIFY(topLeft.right() < topRight.left());
    QVERIFY(topLeft.bottom() < bottomLeft.top());
    QVERIFY(topRight.bottom() < bottomRight.top());
    QVERIFY(bottomLeft.right() < bottomRight.left());
    const QRect whole = topLeft | bottomRight;
    QVERIFY(std::abs(whole.width() * height - whole.height() * width) <= 4 * std::max(width, height));
    QVERIFY(whole.width() > 230 || whole.height() > 170);
    const QRect below(0, whole.bottom() + 2, sheet->width, sheet->height - whole.bottom() - 2);
    QVERIFY(inkIn(sheet.image(), below) > 50);
    QCOMPARE(inkIn(sheet.image(), {0, 0, sheet->width, whole.top()}), 0);
}

void ContactSheetTest::greyPicturesAreDrawnToo()
{
    const auto charts = startCharts();
    const auto contact = charts->newContactSheet();
    auto picture = randomImage(describe(ep::DataTypeUInt8, 300, 200, 1, ep::LayoutPacked, 3));
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 300; ++x)
            setSample<quint8>(picture.image(), x, y, 0, 123);
    contact->addPicture(picture.image(), QString());
    ep::CxScopedBuffer sheet;
    QVERIFY(contact->draw(sheet));
    QCOMPARE(boundsOf(sheet.image(), {123, 123, 123}).size(), QSize(240, 160));
}

void ContactSheetTest::tilesFillRowByRow()
{
    // The pictures are as large as a tile: they need no scaling, and must be copied all the same.
    const auto charts = startCharts();
    const auto contact = charts->newContactSheet();
    const Pixel colors[] = {red, green, blue};
    for (const Pixel& color : colors) {
        auto picture = fourCorners(240, 180);
        for (int y = 0; y < 180; ++y)
            for (int x = 0; x < 240; ++x)
                for (int c = 0; c < 3; ++c)
                    setSample<quint8>(picture.image(), x, y, c, color[size_t(c)]);
        contact->addPicture(picture.image(), QStringLiteral("x"));
    }
    ep::CxScopedBuffer sheet;
    QVERIFY(contact->draw(sheet));
    const QRect first = boundsOf(sheet.image(), red);
    const QRect second = boundsOf(sheet.image(), green);
    const QRect third = boundsOf(sheet.image(), blue);
    QCOMPARE(first.size(), QSize(240, 180));
    QVERIFY(second.left() > first.right() && second.top() == first.top());
    QVERIFY(third.left() == first.left() && third.top() > first.bottom());
}

void ContactSheetTest::aPlaceholderSaysWhy()
{
    const auto charts = startCharts();
    const auto inkOf = [&](const QString& reason) {
        const auto contact = charts->newContactSheet();
        contact->addPlaceholder(reason, QStringLiteral("a.dng"));
        ep::CxScopedBuffer sheet;
        int ink = 0;
        if (contact->draw(sheet))
            for (int y = 20; y < 180; ++y)
                for (int x = 20; x < 240; ++x)
                    ink += sampleAt<quint8>(sheet.image(), x, y, 1) < 120;
        return ink;
    };
    QCOMPARE(inkOf(QString()), 0);
    QVERIFY(inkOf(QStringLiteral("the file does not exist")) > 100);
}

void ContactSheetTest::tooManyTilesAreRefused()
{
    const auto charts = startCharts();
    const auto contact = charts->newContactSheet();
    for (int i = 0; i < 130 * 130; ++i)
        contact->addPlaceholder(QString(), QString());
    ep::CxScopedBuffer sheet;
    QVERIFY(!contact->draw(sheet));
    QVERIFY(!sheet->data);
}

QTEST_APPLESS_MAIN(ContactSheetTest)
#include "ContactSheetTest.moc"
