#include "ConvertTesting.h"

#include <orn/orn_core.h>

#include <cmath>

using namespace testing;

/** Images that go through other formats and come back the same. */
class ConvertRoundTripTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void aCaptureComesBack_data();
    void aCaptureComesBack();
    void aPhotographBecomesPlanesAndComesBack_data();
    void aPhotographBecomesPlanesAndComesBack();
};

void ConvertRoundTripTest::initTestCase()
{
    orn::Init();
}

void ConvertRoundTripTest::aCaptureComesBack_data()
{
    QTest::addColumn<QString>("through");
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("bits");
    const char* grids[] = {"BGGR", "RGGB", "GBRG", "GRBG", "", "X-Trans"};
    for (const char* through : {"mat", "tif"})
        for (int grid : {0, 1, 2, 3, 5})
            for (int bits : {12, 14, 16})
                QTest::addRow("%s of %d bits through %s", grids[grid], bits, through)
                    << QString::fromLatin1(through) << grid << bits;
}

void ConvertRoundTripTest::aCaptureComesBack()
{
    QFETCH(QString, through);
    QFETCH(int, grid);
    QFETCH(int, bits);
    const ImageFolder files;
    const auto mosaic = cameraMosaic(static_cast<ep::ExBayerGrid>(grid), 48, 36, bits, quint32(grid + bits));
    ep::CxMetadata metadata = cameraMetadata(mosaic.image());
    if (grid != ep::BayerGridCell)
        const_cast<ep::CxCommonImageMetadata*>(commonItem(metadata))->blackLevels = {512, 513, 514, 515};
    QVERIFY(files.save(QStringLiteral("a.dng"), mosaic, metadata));

    const QByteArray between = "b." + through.toLatin1();
    const ProgramRun there = files.convert("a.dng", between);
    QVERIFY2(there.code == 0 && there.err.isEmpty(), there.all());
    const ProgramRun back = files.convert(between, "c.dng");
    QVERIFY2(back.code == 0 && back.err.isEmpty(), back.all());

    const Loaded first = files.load(QStringLiteral("a.dng"));
    const Loaded middle = files.load(QString::fromLatin1(between));
    const Loaded last = files.load(QStringLiteral("c.dng"));
    for (const Loaded* loaded : {&first, &middle, &last}) {
        QVERIFY(ep::SameSamples(loaded->image.image(), mosaic.image()));
        QCOMPARE(int(loaded->image->bayerGrid), grid);
        QCOMPARE(loaded->image->patternWidth, mosaic->patternWidth);
        QCOMPARE(loaded->image->patternHeight, mosaic->patternHeight);
        QCOMPARE(loaded->image->bitDepth, bits);
        const auto* common = commonItem(loaded->metadata);
        const auto* expected = commonItem(metadata);
        QVERIFY(common);
        QCOMPARE(common->bayerGrid, grid);
        QCOMPARE(common->colorBitDepth, bits);
        QCOMPARE(common->patternColors, expected->patternColors);
        QCOMPARE(common->whiteLevel, expected->whiteLevel);
        QCOMPARE(common->cameraMake, expected->cameraMake);
        QCOMPARE(common->cameraModel, expected->cameraModel);
        QVERIFY(std::abs(common->exposureTime - expected->exposureTime) < 1e-9);
        for (int plane = 0; plane < expected->blackLevels.size(); ++plane)
            QCOMPARE(common->blackLevels.value(common->blackLevels.size() == 1 ? 0 : plane, -1),
                     expected->blackLevels[plane]);
    }
}

void ConvertRoundTripTest::aPhotographBecomesPlanesAndComesBack_data()
{
    QTest::addColumn<int>("type");
    for (ep::ExImageDataType type : {ep::DataTypeUInt8, ep::DataTypeUInt16, ep::DataTypeInt32, ep::DataTypeFloat})
        QTest::newRow(ep::sampleFacts(type).name) << int(type);
}

void ConvertRoundTripTest::aPhotographBecomesPlanesAndComesBack()
{
    QFETCH(int, type);
    const ImageFolder files;
    const auto photo = photograph(static_cast<ep::ExImageDataType>(type), 17, 11);
    QVERIFY(files.save(QStringLiteral("a.tif"), photo));
    const ProgramRun there = files.convert("a.tif", "b.mat");
    QVERIFY2(there.code == 0 && there.err.isEmpty(), there.all());
    QVector<orn::matlab::MatVariable> variables;
    QVERIFY(orn::matlab::ListMatVariables(files.path("b.mat"), variables, nullptr));
    QCOMPARE(variables.size(), 4);
    QCOMPARE(variables[2].name, QStringLiteral("ep_image_channel_3"));
    QCOMPARE(variables[2].dimensions, QVector<quint64>({11, 17}));
    const ProgramRun back = files.convert("b.mat", "c.tif");
    QVERIFY2(back.code == 0 && back.err.isEmpty(), back.all());
    QVERIFY(ep::SameSamples(files.load(QStringLiteral("c.tif")).image.image(), photo.image()));
}

QTEST_GUILESS_MAIN(ConvertRoundTripTest)
#include "ConvertRoundTripTest.moc"
