#include "ConvertTesting.h"

#include <orn/orn_core.h>

using namespace testing;

/** What `orn convert` does not do to samples unless it is told to. */
class ConvertLossTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void aMosaicEndsWithAWholeCell_data();
    void aMosaicEndsWithAWholeCell();
    void aMosaicOfNoWholeCellIsRefused();
    void aPhotographIsNoCapture();
    void saysWhatAFormatDoesNotKeep();
    void writesEntropyImages_data();
    void writesEntropyImages();
    void anEntropyImageIsOfDoubles();
    void anEntropyImageGivesThreePlanesBack_data();
    void anEntropyImageGivesThreePlanesBack();

private:
    static QStringList entropy(const char* more = nullptr);
    std::unique_ptr<ImageFolder> m_files;
};

QStringList ConvertLossTest::entropy(const char* more)
{
    QStringList options{QStringLiteral("--entropy"), QStringLiteral("PDG")};
    return more ? options << QLatin1String(more) : options;
}

void ConvertLossTest::initTestCase()
{
    orn::Init();
}

void ConvertLossTest::init()
{
    m_files = std::make_unique<ImageFolder>();
}

void ConvertLossTest::aMosaicEndsWithAWholeCell_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QString>("lost");
    QTest::newRow("an odd width") << int(ep::BayerGridRGGB) << 21 << 12 << "the last column:";
    QTest::newRow("an odd height") << int(ep::BayerGridGBRG) << 20 << 13 << "the last row:";
    QTest::newRow("both") << int(ep::BayerGridBGGR) << 21 << 13 << "the last column and the last row:";
    QTest::newRow("a cell of six") << int(ep::BayerGridCell) << 23 << 20 << "the last 5 columns and the last 2 rows:";
}

void ConvertLossTest::aMosaicEndsWithAWholeCell()
{
    QFETCH(int, grid);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(QString, lost);
    const auto mosaic = cameraMosaic(static_cast<ep::ExBayerGrid>(grid), width, height);
    QVERIFY(m_files->save(QStringLiteral("in.tif"), mosaic));

    const ProgramRun refused = m_files->convert("in.tif", "out.mat");
    QVERIFY2(refused.code == 5 && refused.out.isEmpty(), refused.all());
    QVERIFY2(saysOf(refused, m_files->path("out.mat"), "--lossy"), refused.all());
    QVERIFY(!m_files->has("out.mat"));

    const ProgramRun lossy = m_files->convert("in.tif", "out.mat", {QStringLiteral("--lossy")});
    QVERIFY2(lossy.code == 0, lossy.all());
    QVERIFY2(saysOf(lossy, m_files->path("out.mat"), qPrintable(lost)), lossy.all());
    const int cell = mosaic->patternWidth;
    ep::SxImageBuf expected = mosaic.image();
    expected.width = width / cell * cell;
    expected.height = height / cell * cell;
    QVERIFY(lossy.out.contains(QStringLiteral(": %1 x %2, ").arg(expected.width).arg(expected.height)));
    QVERIFY(ep::SameSamples(m_files->load(QStringLiteral("out.mat")).image.image(), expected));

    const ProgramRun plain = m_files->convert("in.tif", "out.mat", {QStringLiteral("--cfa"), QStringLiteral("none")});
    QVERIFY2(plain.code == 0, plain.all());
    QVERIFY(ep::SameSamples(m_files->load(QStringLiteral("out.mat")).image.image(), mosaic.image()));
}

void ConvertLossTest::aMosaicOfNoWholeCellIsRefused()
{
    QVERIFY(m_files->save(QStringLiteral("in.tif"), cameraMosaic(ep::BayerGridRGGB, 9, 1)));
    const ProgramRun run = m_files->convert("in.tif", "out.mat", {QStringLiteral("--lossy")});
    QVERIFY2(run.code == 5, run.all());
    QVERIFY(!m_files->has("out.mat"));
}

void ConvertLossTest::aPhotographIsNoCapture()
{
    QVERIFY(m_files->save(QStringLiteral("photo.tif"), photograph(ep::DataTypeUInt8, 8, 6)));
    const ProgramRun run = m_files->convert("photo.tif", "out.dng");
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(saysOf(run, m_files->path("out.dng"), ""), run.all());
    QCOMPARE(m_files->names(), QStringList{QStringLiteral("photo.tif")});
}

void ConvertLossTest::saysWhatAFormatDoesNotKeep()
{
    QVERIFY(m_files->save(QStringLiteral("in.tif"), cameraMosaic(ep::BayerGridGBRG, 64, 48)));
    const ProgramRun bare = m_files->convert("in.tif", "out.jp2");
    QVERIFY2(bare.code == 0, bare.all());
    QVERIFY2(saysOf(bare, m_files->path("out.jp2"), "grid GBRG"), bare.all());
    QVERIFY2(saysOf(bare, m_files->path("out.jp2"), "metadata"), bare.all());
    const ProgramRun whole = m_files->convert("in.tif", "out.pgm");
    QVERIFY2(whole.code == 0 && whole.err.isEmpty(), whole.all());
}

void ConvertLossTest::writesEntropyImages_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("layout");
    QTest::newRow("one plane") << 1 << int(ep::LayoutPacked);
    QTest::newRow("two packed channels") << 2 << int(ep::LayoutPacked);
    QTest::newRow("three packed channels") << 3 << int(ep::LayoutPacked);
    QTest::newRow("three planes") << 3 << int(ep::LayoutPlanar);
}

void ConvertLossTest::writesEntropyImages()
{
    QFETCH(int, channels);
    QFETCH(int, layout);
    const auto image =
        randomImage(describe(ep::DataTypeDouble, 7, 5, channels, static_cast<ep::ExImageLayout>(layout)));
    QVERIFY(m_files->save(QStringLiteral("in.tif"), image));
    const ProgramRun run = m_files->convert("in.tif", "out.mat", entropy());
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    ep::CxScopedBuffer written;
    QVERIFY(orn::matlab::LoadEntropyImageFromMat(QStringLiteral("PDG"), m_files->path("out.mat"), written.image()));
    QVERIFY(ep::SameSamples(written.image(), image.image()));
    QCOMPARE(m_files->names(), QStringList({QStringLiteral("in.tif"), QStringLiteral("out.mat")}));
}

void ConvertLossTest::anEntropyImageIsOfDoubles()
{
    QVERIFY(m_files->save(QStringLiteral("in.tif"), randomImage(describe(ep::DataTypeFloat, 7, 5))));
    for (const char* option : {"--json", "--lossy"}) {
        const ProgramRun run = m_files->convert("in.tif", "out.mat", entropy(option));
        QVERIFY2(run.code == 5, run.all());
        QVERIFY2(saysOf(run, m_files->path("out.mat"), "64 bit float"), run.all());
        QVERIFY(!m_files->has("out.mat"));
    }
}

void ConvertLossTest::anEntropyImageGivesThreePlanesBack_data()
{
    QTest::addColumn<bool>("isMosaic");
    QTest::newRow("four channels") << false;
    QTest::newRow("a mosaic of a 2 x 2 cell") << true;
}

void ConvertLossTest::anEntropyImageGivesThreePlanesBack()
{
    QFETCH(bool, isMosaic);
    auto image = isMosaic ? randomImage(describe(ep::DataTypeDouble, 8, 6))
                          : randomImage(describe(ep::DataTypeDouble, 4, 3, 4, ep::LayoutPlanar));
    if (isMosaic) {
        image->bayerGrid = ep::BayerGridRGGB;
        image->patternWidth = image->patternHeight = 2;
    }
    QVERIFY(m_files->save(QStringLiteral("in.mat"), image));
    const ProgramRun refused = m_files->convert("in.mat", "out.mat", entropy());
    QVERIFY2(refused.code == 5, refused.all());
    QVERIFY2(saysOf(refused, m_files->path("out.mat"), "only the first 3"), refused.all());
    QVERIFY(!m_files->has("out.mat"));

    const ProgramRun lossy = m_files->convert("in.mat", "out.mat", entropy("--lossy"));
    QVERIFY2(lossy.code == 0, lossy.all());
    QVERIFY2(saysOf(lossy, m_files->path("out.mat"), "only the first 3"), lossy.all());
    ep::CxScopedBuffer written;
    QVERIFY(orn::matlab::LoadEntropyImageFromMat(QStringLiteral("PDG"), m_files->path("out.mat"), written.image()));
    QCOMPARE(written->channels, 3);
    // The planes of an RGGB cell: R, G1, B.
    const QVector<QPoint> corners{{0, 0}, {1, 0}, {1, 1}};
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x)
                QVERIFY(isMosaic ? sameSample(written.image(), x, y, plane, image.image(), 2 * x + corners[plane].x(),
                                              2 * y + corners[plane].y(), 0)
                                 : sameSample(written.image(), x, y, plane, image.image(), x, y, plane));
}

QTEST_GUILESS_MAIN(ConvertLossTest)
#include "ConvertLossTest.moc"
