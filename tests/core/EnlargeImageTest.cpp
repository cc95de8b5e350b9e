#include <orn/EnlargeImage.h>

#include "TestImages.h"

#include <QtTest>

#include <limits>

using namespace testing;

class EnlargeImageTest : public QObject {
    Q_OBJECT

private slots:
    void everyPixelBecomesASquare_data();
    void everyPixelBecomesASquare();
    void refuses();
};

void EnlargeImageTest::everyPixelBecomesASquare_data()
{
    QTest::addColumn<int>("type");
    for (ep::ExImageDataType type : allTypes)
        QTest::newRow(ep::sampleFacts(type).name) << int(type);
}

void EnlargeImageTest::everyPixelBecomesASquare()
{
    QFETCH(int, type);
    for (ep::ExImageLayout layout : allLayouts) {
        for (int factor : {1, 2, 5}) {
            const auto image = randomImage(describe(ep::ExImageDataType(type), 7, 3, 2, layout, 8));
            ep::CxScopedBuffer large;
            QCOMPARE(orn::EnlargeImage(image.image(), factor, large), unsigned(ep::StatusOk));
            QCOMPARE(QSize(large->width, large->height), QSize(7 * factor, 3 * factor));
            QCOMPARE(large->layout, layout);
            for (int y = 0; y < large->height; ++y)
                for (int x = 0; x < large->width; ++x)
                    for (int c = 0; c < 2; ++c)
                        QVERIFY(sameSample(large.image(), x, y, c, image.image(), x / factor, y / factor, c));
        }
    }
}

void EnlargeImageTest::refuses()
{
    const auto image = randomImage(describe(ep::DataTypeUInt8, 7, 3));
    ep::CxScopedBuffer large;
    QVERIFY(ep::failed(orn::EnlargeImage(image.image(), 0, large)));
    QVERIFY(ep::failed(orn::EnlargeImage(image.image(), -2, large)));
    QVERIFY(ep::failed(orn::EnlargeImage(image.image(), std::numeric_limits<int>::max(), large)));
    QVERIFY(ep::failed(orn::EnlargeImage(ep::SxImageBuf(), 2, large)));
    QVERIFY(!large->data);
}

QTEST_GUILESS_MAIN(EnlargeImageTest)
#include "EnlargeImageTest.moc"
