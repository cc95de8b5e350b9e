#include <orn/ImagePlanes.h>

#include "CameraImages.h"

#include <QtTest>

using namespace testing;

class ImagePlanesTest : public QObject {
    Q_OBJECT
private slots:
    void everySampleIsInOnePlane_data();
    void everySampleIsInOnePlane();
    void colorsAreInTheirOrder_data();
    void colorsAreInTheirOrder();
    void whatHasNoPlanes_data();
    void whatHasNoPlanes();
};

void ImagePlanesTest::everySampleIsInOnePlane_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("planes");
    QTest::newRow("no grid") << 4 << 5 << 3 << 1;
    for (int grid = 0; grid < 4; ++grid)
        QTest::addRow("grid %d of odd size", grid) << grid << 7 << 5 << 4;
    QTest::newRow("whole cells") << 1 << 6 << 4 << 4;
    QTest::newRow("one sample") << 1 << 1 << 1 << 4;
    QTest::newRow("X-Trans") << 5 << 12 << 12 << 36;
    QTest::newRow("X-Trans with partial cells") << 5 << 13 << 17 << 36;
    QTest::newRow("X-Trans smaller than its cell") << 5 << 4 << 2 << 36;
}

void ImagePlanesTest::everySampleIsInOnePlane()
{
    QFETCH(int, grid);
    QFETCH(int, width);
    QFETCH(int, height);
    const auto image = cameraMosaic(static_cast<ep::ExBayerGrid>(grid), width, height);
    const QVector<orn::SxImagePlane> planes = orn::ImagePlanes(image.image());
    QTEST(planes.size(), "planes");
    QVector<int> visits(width * height);
    for (const orn::SxImagePlane& plane : planes)
        for (int y = 0; y < plane.height(image.image()); ++y)
            for (int x = 0; x < plane.width(image.image()); ++x) {
                const QPoint place = plane.inImage(x, y);
                QVERIFY(QRect(0, 0, width, height).contains(place));
                QVERIFY(plane.covers(place.x(), place.y()));
                ++visits[place.y() * width + place.x()];
            }
    QCOMPARE(visits, QVector<int>(width * height, 1));
}

void ImagePlanesTest::colorsAreInTheirOrder_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<QVector<QPoint>>("places");
    QTest::newRow("BGGR") << 0 << QVector<QPoint>{{1, 1}, {0, 1}, {0, 0}, {1, 0}};
    QTest::newRow("RGGB") << 1 << QVector<QPoint>{{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    QTest::newRow("GBRG") << 2 << QVector<QPoint>{{0, 1}, {1, 1}, {1, 0}, {0, 0}};
    QTest::newRow("GRBG") << 3 << QVector<QPoint>{{1, 0}, {0, 0}, {0, 1}, {1, 1}};
}

void ImagePlanesTest::colorsAreInTheirOrder()
{
    QFETCH(int, grid);
    QVector<QPoint> places;
    for (const orn::SxImagePlane& plane :
         orn::ImagePlanes(cameraMosaic(static_cast<ep::ExBayerGrid>(grid), 4, 4).image()))
        places << plane.inImage(0, 0);
    QTEST(places, "places");
}

void ImagePlanesTest::whatHasNoPlanes_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("cell");
    QTest::addColumn<int>("planes");
    QTest::newRow("a cell of 1,024 samples is taken") << 4 << 4 << 1 << 32 << 1024;
    QTest::newRow("a larger one is not") << 4 << 4 << 1 << 33 << 0;
    QTest::newRow("a cell whose size is past 32 bits") << 4 << 4 << 1 << 2000000000 << 0;
    QTest::newRow("a cell without size is none") << 4 << 4 << 1 << 0 << 1;
    QTest::newRow("several channels are no mosaic") << 4 << 4 << 3 << 6 << 3;
    QTest::newRow("no width") << 0 << 4 << 1 << 0 << 0;
    QTest::newRow("no sample type") << 4 << 0 << 1 << 0 << 0;
    QTest::newRow("no channels") << 4 << 4 << 0 << 0 << 0;
}

void ImagePlanesTest::whatHasNoPlanes()
{
    QFETCH(int, width);
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(int, cell);
    ep::SxImageInfo info = describe(static_cast<ep::ExImageDataType>(type), width, 4, channels);
    info.bayerGrid = ep::BayerGridCell;
    info.patternWidth = cell;
    info.patternHeight = cell;
    QTEST(orn::ImagePlanes(info).size(), "planes");
}

QTEST_GUILESS_MAIN(ImagePlanesTest)
#include "ImagePlanesTest.moc"
