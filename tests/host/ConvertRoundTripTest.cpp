#include "ConvertTesting.h"

#include <orn/orn_core.h>

#include <libraw/libraw.h>

#include <cmath>

using namespace testing;

namespace {

/** A RAW file as any program sees it that stands on LibRaw. */
class StrangerFile {
public:
    explicit StrangerFile(const QString& path)
        : m_isRead(m_raw.open_file(QFile::encodeName(path).constData()) == LIBRAW_SUCCESS
                   && m_raw.unpack() == LIBRAW_SUCCESS && m_raw.imgdata.rawdata.raw_image)
    {
    }

    bool isRead() const { return m_isRead; }
    int width() const { return m_raw.imgdata.sizes.width; }
    int height() const { return m_raw.imgdata.sizes.height; }
    quint16 sample(int x, int y) const
    {
        const libraw_image_sizes_t& sizes = m_raw.imgdata.sizes;
        const size_t pitch = sizes.raw_pitch / sizeof(ushort);
        return m_raw.imgdata.rawdata.raw_image[size_t(y + sizes.top_margin) * pitch + size_t(x + sizes.left_margin)];
    }
    QChar color(int x, int y) { return QLatin1Char(m_raw.imgdata.idata.cdesc[m_raw.COLOR(y, x)]); }
    double black(int x, int y)
    {
        const libraw_colordata_t& color = m_raw.imgdata.color;
        const unsigned* cblack = color.cblack;
        const unsigned rows = cblack[4];
        const unsigned columns = cblack[5];
        const unsigned ofPlace =
            rows * columns > 0 ? cblack[6 + unsigned(y) % rows * columns + unsigned(x) % columns] : 0;
        return color.black + cblack[m_raw.COLOR(y, x)] + ofPlace;
    }
    double white() const { return m_raw.imgdata.color.maximum; }
    QString make() const { return QString::fromLatin1(m_raw.imgdata.idata.make); }
    QString model() const { return QString::fromLatin1(m_raw.imgdata.idata.model); }
    const libraw_imgother_t& capture() const { return m_raw.imgdata.other; }

private:
    LibRaw m_raw;
    bool m_isRead;
};

/** Index of the black level R, G1, B, G2 for a place of a mosaic. */
int planeAt(const QString& cell, int x, int y)
{
    const QString row = cell.mid(y % 2 * 2, 2);
    const QChar color = row[x % 2];
    if (color == QLatin1Char('G'))
        return row.contains(QLatin1Char('R')) ? 1 : 3;
    return color == QLatin1Char('R') ? 0 : 2;
}

}  // namespace

/** Images that go through other formats and come back the same. */
class ConvertRoundTripTest : public QObject {
    Q_OBJECT
public:
    static void compareWithStranger(const QString& path, const ep::SxImageBuf& mosaic,
                                    const ep::CxCommonImageMetadata& expected);
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

void ConvertRoundTripTest::compareWithStranger(const QString& path, const ep::SxImageBuf& mosaic,
                                               const ep::CxCommonImageMetadata& expected)
{
    StrangerFile file(path);
    QVERIFY(file.isRead());
    QCOMPARE(QSize(file.width(), file.height()), QSize(mosaic.width, mosaic.height));
    const int cell = mosaic.patternWidth;
    for (int y = 0; y < mosaic.height; ++y) {
        for (int x = 0; x < mosaic.width; ++x) {
            QCOMPARE(file.sample(x, y), sampleAt<quint16>(mosaic, x, y));
            QCOMPARE(file.color(x, y), expected.patternColors[y % cell * cell + x % cell]);
            const int levels = expected.blackLevels.size();
            QCOMPARE(file.black(x, y), expected.blackLevels[levels == 1 ? 0 : planeAt(expected.patternColors, x, y)]);
        }
    }
    QCOMPARE(file.white(), expected.whiteLevel);
    QCOMPARE(file.make(), expected.cameraMake);
    QCOMPARE(file.model(), expected.cameraModel);
    QVERIFY(std::abs(double(file.capture().shutter) - expected.exposureTime) < 1e-6);
    QVERIFY(std::abs(double(file.capture().aperture) - expected.aperture) < 1e-5);
    QCOMPARE(double(file.capture().iso_speed), expected.iso);
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
        QCOMPARE(common->iso, expected->iso);
        QVERIFY(std::abs(common->aperture - expected->aperture) < 1e-9);
    }
    compareWithStranger(files.path("c.dng"), mosaic.image(), *commonItem(metadata));
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
