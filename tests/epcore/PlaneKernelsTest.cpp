#include "TestImages.h"

#include <ep/internal/CopyPlane.h>
#include <ep/internal/TransposePlane.h>

#include <QByteArray>
#include <QtTest>

using ep::internal::ConstPlaneView;
using ep::internal::PlaneView;

namespace {

// Memory of its own for a view with steps of any size, odd and negative ones too.
struct Samples {
    QByteArray bytes;
    PlaneView view;

    Samples(qint32 width, qint32 height, std::ptrdiff_t pixelStep, std::ptrdiff_t rowBytes, bool lastRowFirst,
            quint32 seed)
        : bytes(int(height * rowBytes + 16), Qt::Uninitialized)
    {
        std::mt19937 random(seed);
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        view = {reinterpret_cast<unsigned char*>(bytes.data()), rowBytes, pixelStep, width, height};
        if (lastRowFirst)
            view = view.reversedRows();
    }
};

}  // namespace

/** The kernels that other rooms use on views directly: steps that no image record has. */
class PlaneKernelsTest : public QObject {
    Q_OBJECT

private slots:
    void takesAnySteps_data();
    void takesAnySteps();
    void viewsAColorPlaneOfAMosaic();
    void doesNothingForAnUnknownSize();
};

void PlaneKernelsTest::takesAnySteps_data()
{
    QTest::addColumn<int>("sampleBytes");
    QTest::addColumn<int>("sourceGap");
    QTest::addColumn<int>("destinationGap");
    QTest::addColumn<bool>("sourceReversed");
    QTest::addColumn<bool>("destinationReversed");
    for (const int bytes : {1, 2, 4, 8, 16})
        for (const int sourceGap : {0, 1, 5})
            for (const int destinationGap : {0, 3})
                for (const bool sourceReversed : {false, true})
                    for (const bool destinationReversed : {false, true})
                        QTest::addRow("%d bytes, gaps %d and %d%s%s", bytes, sourceGap, destinationGap,
                                      sourceReversed ? ", source upside down" : "",
                                      destinationReversed ? ", destination upside down" : "")
                            << bytes << sourceGap << destinationGap << sourceReversed << destinationReversed;
}

void PlaneKernelsTest::takesAnySteps()
{
    QFETCH(int, sampleBytes);
    QFETCH(int, sourceGap);
    QFETCH(int, destinationGap);
    QFETCH(bool, sourceReversed);
    QFETCH(bool, destinationReversed);
    const std::ptrdiff_t fromStep = sampleBytes + sourceGap;
    const std::ptrdiff_t toStep = sampleBytes + destinationGap;
    for (const int width : {1, 2, 15, 16, 17, 33, 64, 67, 131})
        for (const int height : {1, 3, 16, 65}) {
            const Samples source(width, height, fromStep, width * fromStep + 3, sourceReversed, 1);
            const Samples copied(width, height, toStep, width * toStep + 1, destinationReversed, 2);
            const Samples turned(height, width, toStep, height * toStep + 5, destinationReversed, 3);
            Samples expectedCopy(width, height, toStep, width * toStep + 1, destinationReversed, 2);
            Samples expectedTurn(height, width, toStep, height * toStep + 5, destinationReversed, 3);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    const unsigned char* sample = source.view.sample(x, y);
                    std::memcpy(expectedCopy.view.sample(x, y), sample, size_t(sampleBytes));
                    std::memcpy(expectedTurn.view.sample(y, x), sample, size_t(sampleBytes));
                }
            ep::internal::copyPlane(sampleBytes, source.view, copied.view);
            ep::internal::transposePlane(sampleBytes, source.view, turned.view);
            QCOMPARE(copied.bytes, expectedCopy.bytes);
            QCOMPARE(turned.bytes, expectedTurn.bytes);
        }
}

void PlaneKernelsTest::viewsAColorPlaneOfAMosaic()
{
    const ep::CxScopedBuffer mosaic = testing::randomImage(testing::describe(ep::DataTypeUInt16, 13, 8));
    const ConstPlaneView plane = ep::internal::planeView(mosaic.image(), 0).cellPosition(2, 1, 3, 2);
    QCOMPARE(plane.width, 4);  // the partial cell is left out
    QCOMPARE(plane.height, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) {
            const auto* expected = testing::address(mosaic.image(), 3 * x + 2, 2 * y + 1, 0);
            QCOMPARE(plane.sample(x, y), static_cast<const unsigned char*>(expected));
        }
}

void PlaneKernelsTest::doesNothingForAnUnknownSize()
{
    const Samples source(4, 4, 3, 12, false, 1);
    const Samples destination(4, 4, 3, 12, false, 2);
    const QByteArray before(destination.bytes.constData(), destination.bytes.size());
    ep::internal::copyPlane(3, source.view, destination.view);
    ep::internal::transposePlane(0, source.view, destination.view);
    QCOMPARE(destination.bytes, before);
}

QTEST_GUILESS_MAIN(PlaneKernelsTest)
#include "PlaneKernelsTest.moc"
