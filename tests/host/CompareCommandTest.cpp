#include "ConvertTesting.h"

#include <QJsonArray>

#include <cmath>

using namespace testing;

/** `orn compare` from outside. */
class CompareCommandTest : public QObject {
    Q_OBJECT
private slots:
    void aConvertedCaptureIsTheSame();
    void saysWhereAndHowMuch();
    void toleranceAllowsSmallErrors();
    void descriptionsCount_data();
    void descriptionsCount();
    void otherSizesAreDifferent();
    void unreadableFilesAreNamed();
    void theColoursOfAnXTransCellAreAddedUp();
    void realNumbersArePeakedByTheirSpan();
};

void CompareCommandTest::aConvertedCaptureIsTheSame()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridGBRG, 24, 16)));
    QCOMPARE(runOrn({QStringLiteral("convert"), folder.path("a.tif"), folder.path("b.mat")}).code, 0);
    const ProgramRun run = runOrn({QStringLiteral("compare"), folder.path("a.tif"), folder.path("b.mat")});
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(run.out.contains(QStringLiteral("the same")), run.all());
    QVERIFY(run.err.isEmpty());
}

void CompareCommandTest::saysWhereAndHowMuch()
{
    const ImageFolder folder;
    auto image = cameraMosaic(ep::BayerGridRGGB, 24, 16);
    setSample<quint16>(image.image(), 5, 3, 0, 100);
    setSample<quint16>(image.image(), 6, 9, 0, 200);
    QVERIFY(folder.save(QStringLiteral("a.tif"), image));
    setSample<quint16>(image.image(), 5, 3, 0, 104);
    setSample<quint16>(image.image(), 6, 9, 0, 197);
    QVERIFY(folder.save(QStringLiteral("b.tif"), image));
    const QStringList arguments{QStringLiteral("compare"), folder.path("a.tif"), folder.path("b.tif")};

    const ProgramRun asText = runOrn(arguments);
    QVERIFY2(asText.code == 1, asText.all());
    for (const char* said : {"different", "5,3", "100", "104"})
        QVERIFY2(asText.out.contains(QLatin1String(said)), asText.all());

    const ProgramRun run = runOrn(arguments + QStringList{QStringLiteral("--json")});
    QCOMPARE(run.code, 1);
    QCOMPARE(run.json()[QStringLiteral("same")].toBool(true), false);
    QCOMPARE(run.json()[QStringLiteral("peak")].toDouble(), 16383.0);
    const QJsonObject channel = run.json()[QStringLiteral("channels")].toArray()[0].toObject();
    QCOMPARE(channel[QStringLiteral("different")].toInt(), 2);
    QCOMPARE(channel[QStringLiteral("maximumError")].toDouble(), 4.0);
    const double rms = std::sqrt(25.0 / (24 * 16));
    QVERIFY(std::fabs(channel[QStringLiteral("rmsError")].toDouble() - rms) < 1e-12);
    QVERIFY(std::fabs(channel[QStringLiteral("psnr")].toDouble() - 20 * std::log10(16383 / rms)) < 1e-9);
    const QJsonObject first = channel[QStringLiteral("first")].toObject();
    QCOMPARE(first[QStringLiteral("x")].toInt(), 5);
    QCOMPARE(first[QStringLiteral("y")].toInt(), 3);
    QCOMPARE(first[QStringLiteral("a")].toInt(), 100);
    QCOMPARE(first[QStringLiteral("b")].toInt(), 104);
}

void CompareCommandTest::toleranceAllowsSmallErrors()
{
    const ImageFolder folder;
    auto image = cameraMosaic(ep::BayerGridRGGB, 24, 16);
    setSample<quint16>(image.image(), 0, 0, 0, 100);
    QVERIFY(folder.save(QStringLiteral("a.tif"), image));
    setSample<quint16>(image.image(), 0, 0, 0, 103);
    QVERIFY(folder.save(QStringLiteral("b.tif"), image));
    const auto compare = [&](const char* tolerance) {
        return runOrn({QStringLiteral("compare"), QStringLiteral("--tolerance"), QLatin1String(tolerance),
                       folder.path("a.tif"), folder.path("b.tif")})
            .code;
    };
    QCOMPARE(compare("2"), 1);
    QCOMPARE(compare("2.99"), 1);
    QCOMPARE(compare("3"), 0);
    QCOMPARE(compare("-1"), 2);
    QCOMPARE(compare("much"), 2);
}

void CompareCommandTest::descriptionsCount_data()
{
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("depth");
    QTest::addColumn<QString>("said");
    QTest::newRow("another grid") << int(ep::BayerGridBGGR) << 14 << "grid: RGGB, BGGR";
    QTest::newRow("no grid") << int(ep::BayerGridNone) << 14 << "grid: RGGB, none";
    QTest::newRow("another depth") << int(ep::BayerGridRGGB) << 16 << "depth: 14, 16";
}

void CompareCommandTest::descriptionsCount()
{
    QFETCH(int, grid);
    QFETCH(int, depth);
    QFETCH(QString, said);
    const ImageFolder folder;
    auto image = cameraMosaic(ep::BayerGridRGGB, 24, 16);
    QVERIFY(folder.save(QStringLiteral("a.tif"), image));
    image->bayerGrid = ep::ExBayerGrid(grid);
    image->bitDepth = depth;
    QVERIFY(folder.save(QStringLiteral("b.tif"), image));
    const QStringList arguments{QStringLiteral("compare"), folder.path("a.tif"), folder.path("b.tif")};
    const ProgramRun run = runOrn(arguments);
    QVERIFY2(run.code == 1, run.all());
    QVERIFY2(run.out.contains(said), run.all());
    QVERIFY2(run.out.contains(QStringLiteral("the same samples")), run.all());
    QCOMPARE(runOrn(arguments + QStringList{QStringLiteral("--samples-only")}).code, 0);
}

void CompareCommandTest::otherSizesAreDifferent()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    QVERIFY(folder.save(QStringLiteral("b.tif"), cameraMosaic(ep::BayerGridRGGB, 16, 24)));
    const QStringList arguments{QStringLiteral("compare"), folder.path("a.tif"), folder.path("b.tif")};
    for (const QStringList& more : {QStringList(), QStringList{QStringLiteral("--samples-only")}}) {
        const ProgramRun run = runOrn(arguments + more);
        QVERIFY2(run.code == 1, run.all());
        QVERIFY2(run.out.contains(QStringLiteral("size: 24 x 16, 16 x 24")), run.all());
    }
}

void CompareCommandTest::unreadableFilesAreNamed()
{
    const ImageFolder folder;
    QVERIFY(folder.save(QStringLiteral("a.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 16)));
    const ProgramRun run = runOrn({QStringLiteral("compare"), folder.path("a.tif"), folder.path("none.tif")});
    QVERIFY2(run.code == 3, run.all());
    QVERIFY2(run.err.contains(QStringLiteral("none.tif")), run.all());
    QVERIFY(run.out.isEmpty());
}

void CompareCommandTest::theColoursOfAnXTransCellAreAddedUp()
{
    const ImageFolder folder;
    constexpr int side = 24;
    const auto a = cameraMosaic(ep::BayerGridCell, side, side);
    auto b = copyOf(a.image());
    // In several places of the cell; the first green one lies to the right of a later one, and above it.
    for (const QPoint& place : {QPoint(13, 2), QPoint(1, 3), QPoint(7, 19), QPoint(2, 6), QPoint(22, 22)})
        setSample<quint16>(b.image(), place.x(), place.y(), 0,
                           quint16(sampleAt<quint16>(a.image(), place.x(), place.y()) ^ (3 * place.x() + 1)));
    QVERIFY(folder.save(QStringLiteral("a.dng"), a) && folder.save(QStringLiteral("b.dng"), b));
    const ProgramRun run =
        runOrn({QStringLiteral("compare"), QStringLiteral("--json"), folder.path("a.dng"), folder.path("b.dng")});
    QVERIFY2(run.code == 1, run.all());
    const QJsonArray colors = run.json()[QStringLiteral("colors")].toArray();
    QCOMPARE(colors.size(), 3);
    for (const QJsonValue& color : colors) {
        const QString name = color[QStringLiteral("name")].toString();
        int samples = 0;
        int different = 0;
        double most = 0;
        double squares = 0;
        QPoint first(-1, -1);
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                if (QString(xTransColors().at(6 * (y % 6) + x % 6)) != name)
                    continue;
                const double error =
                    std::fabs(double(sampleAt<quint16>(a.image(), x, y)) - sampleAt<quint16>(b.image(), x, y));
                if (error > 0 && different++ == 0)
                    first = QPoint(x, y);
                ++samples;
                most = std::max(most, error);
                squares += error * error;
            }
        QCOMPARE(color[QStringLiteral("samples")].toInt(), samples);
        QCOMPARE(color[QStringLiteral("different")].toInt(), different);
        QCOMPARE(color[QStringLiteral("maximumError")].toDouble(), most);
        QVERIFY(std::fabs(color[QStringLiteral("rmsError")].toDouble() - std::sqrt(squares / samples)) < 1e-9);
        const QJsonObject place = color[QStringLiteral("first")].toObject();
        QCOMPARE(QPoint(place[QStringLiteral("x")].toInt(-1), place[QStringLiteral("y")].toInt(-1)), first);
    }
}

void CompareCommandTest::realNumbersArePeakedByTheirSpan()
{
    const ImageFolder folder;
    auto image = randomImage(describe(ep::DataTypeFloat, 5, 4, 2, ep::LayoutPlanar));
    for (int channel = 0; channel < 2; ++channel)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 5; ++x)
                setSample(image.image(), x, y, channel, channel == 0 ? 0.25F * float(x) : -0.5F * float(y));
    QVERIFY(folder.save(QStringLiteral("a.tif"), image));
    setSample(image.image(), 2, 3, 1, 100.0F);
    QVERIFY(folder.save(QStringLiteral("b.tif"), image));
    const ProgramRun run =
        runOrn({QStringLiteral("compare"), QStringLiteral("--json"), folder.path("a.tif"), folder.path("b.tif")});
    QVERIFY2(run.code == 1, run.all());
    QCOMPARE(run.json()[QStringLiteral("peak")].toDouble(), 1.0 + 1.5);
    const QJsonObject second = run.json()[QStringLiteral("channels")].toArray()[1].toObject();
    QCOMPARE(second[QStringLiteral("maximumError")].toDouble(), 101.5);
}

QTEST_GUILESS_MAIN(CompareCommandTest)
#include "CompareCommandTest.moc"
