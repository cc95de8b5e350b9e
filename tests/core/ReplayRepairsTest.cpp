#include <orn/ReplayRepairs.h>

#include "CameraImages.h"

#include <QtTest>

using namespace testing;

Q_DECLARE_METATYPE(orn::SxRepairedSample)

class ReplayRepairsTest : public QObject {
    Q_OBJECT
private slots:
    void repeatsARepair_data();
    void repeatsARepair();
    void refusesWhatDoesNotFit_data();
    void refusesWhatDoesNotFit();
    void refusesOtherSamples();
};

void ReplayRepairsTest::repeatsARepair_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("layout");
    QTest::addColumn<int>("grid");
    for (int type : {1, 2, 3, 4})
        for (int layout : {0, 1})
            QTest::addRow("%s, layout %d", ep::sampleFacts(type).name, layout) << type << 3 << layout << 4;
    for (int grid : {0, 1, 2, 3, 5})
        QTest::addRow("grid %d", grid) << 4 << 1 << 0 << grid;
}

void ReplayRepairsTest::repeatsARepair()
{
    QFETCH(int, type);
    QFETCH(int, channels);
    QFETCH(int, layout);
    QFETCH(int, grid);
    ep::SxImageInfo info =
        describe(static_cast<ep::ExImageDataType>(type), 61, 43, channels, static_cast<ep::ExImageLayout>(layout), 3);
    info.bayerGrid = static_cast<ep::ExBayerGrid>(grid);
    info.patternWidth = 6;
    info.patternHeight = 6;
    const auto broken = randomImage(info, 8);
    auto repaired = copyOf(broken.image());
    QVector<orn::SxRepairedSample> samples;
    int plane = 0;
    orn::SxInvalidLevels levels;
    levels.low = type == 1 ? -100 : type == 3 ? -30000 : 20;
    levels.high = type < 3 ? 110 : 30000;
    QVERIFY(!ep::failed(orn::RepairPlanes(repaired.image(), ep::emptyImage(), {{levels}, {{5, 5}}}, samples, plane)));
    QVERIFY(samples.size() > 50);
    auto replayed = copyOf(broken.image());
    int wrong = 0;
    QCOMPARE(orn::ReplayRepairs(replayed.image(), samples, wrong), static_cast<unsigned int>(ep::StatusOk));
    QCOMPARE(wrong, -1);
    QVERIFY(sameStorage(replayed.image(), repaired.image()));
    QVERIFY(ep::failed(orn::ReplayRepairs(replayed.image(), samples, wrong)));
    QCOMPARE(wrong, 0);
    QVERIFY(sameStorage(replayed.image(), repaired.image()));
}

void ReplayRepairsTest::refusesWhatDoesNotFit_data()
{
    QTest::addColumn<orn::SxRepairedSample>("record");
    constexpr int most = 2147483647;
    QTest::newRow("a column past the image") << orn::SxRepairedSample{8, 0, 0, 7, 1};
    QTest::newRow("a row past the image") << orn::SxRepairedSample{0, 6, 0, 7, 1};
    QTest::newRow("a negative column") << orn::SxRepairedSample{-2, 0, 0, 7, 1};
    QTest::newRow("a negative row") << orn::SxRepairedSample{0, -most - 1, 0, 7, 1};
    QTest::newRow("the largest place") << orn::SxRepairedSample{most, most, 0, 7, 1};
    QTest::newRow("a plane too many") << orn::SxRepairedSample{0, 0, 4, 7, 1};
    QTest::newRow("a negative plane") << orn::SxRepairedSample{0, 0, -1, 7, 1};
    QTest::newRow("a place of another plane") << orn::SxRepairedSample{1, 0, 0, 7, 1};
    QTest::newRow("another old value") << orn::SxRepairedSample{0, 0, 0, 8, 1};
    QTest::newRow("an old value that is equal in 16 bits alone") << orn::SxRepairedSample{0, 0, 0, 65536 + 7, 1};
    QTest::newRow("a new value past the type") << orn::SxRepairedSample{0, 0, 0, 7, 65536};
    QTest::newRow("a negative new value") << orn::SxRepairedSample{0, 0, 0, 7, -1};
    QTest::newRow("a sample that was replaced before") << orn::SxRepairedSample{2, 0, 0, 7, 1};
}

void ReplayRepairsTest::refusesWhatDoesNotFit()
{
    QFETCH(orn::SxRepairedSample, record);
    auto image = cameraMosaic(ep::BayerGridRGGB, 8, 6);
    QVERIFY(!ep::failed(ep::SetChannel(image.image(), 0, 7)));
    const auto before = copyOf(image.image());
    int wrong = 0;
    QCOMPARE(orn::ReplayRepairs(image.image(), {{2, 0, 0, 7, 9}, {4, 2, 0, 7, 65535}, record, {2, 2, 0, 7, 9}}, wrong),
             static_cast<unsigned int>(ep::StatusGeometryMismatch));
    QCOMPARE(wrong, 2);
    QVERIFY(sameStorage(image.image(), before.image()));
}

void ReplayRepairsTest::refusesOtherSamples()
{
    int wrong = 0;
    for (ep::ExImageDataType type : {ep::DataTypeUInt32, ep::DataTypeFloat, ep::DataTypeDouble, ep::DataTypeComplex}) {
        auto image = randomImage(describe(type, 4, 4));
        QCOMPARE(orn::ReplayRepairs(image.image(), {}, wrong), static_cast<unsigned int>(ep::StatusUnsupportedType));
    }
    ep::SxImageBuf empty = ep::emptyImage();
    QVERIFY(ep::failed(orn::ReplayRepairs(empty, {}, wrong)));
}

QTEST_GUILESS_MAIN(ReplayRepairsTest)
#include "ReplayRepairsTest.moc"
