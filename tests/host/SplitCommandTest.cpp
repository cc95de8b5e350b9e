#include "ConvertTesting.h"

#include <orn/orn_core.h>

#include <cmath>

using namespace testing;

/** `orn split`. */
class SplitCommandTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void splits_data();
    void splits();
    void saysWhichHalfIsWritten();
    void notesWhatAHalfDoesNotKeep();
    void refuses_data();
    void refuses();

private:
    ProgramRun split(const QString& in, const QString& plus, const QString& minus, const QString& options) const
    {
        return runOrn(QStringList{QStringLiteral("split"), m_files.path(in), m_files.path(plus), m_files.path(minus)}
                      + options.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }
    ImageFolder m_files;
};

namespace {

/** Doubles of both signs, with zeros and numbers that are none. */
ep::CxScopedBuffer signedImage(int channels)
{
    auto image = randomImage(describe(ep::DataTypeDouble, 13, 8, channels));
    std::mt19937 random(3);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 13; ++x)
            for (int c = 0; c < channels; ++c)
                setSample(image.image(), x, y, c,
                          x == 4             ? 0.0
                          : y == 7 && x == 2 ? std::nan("")
                                             : random() / 7.0 - 3e8);
    return image;
}

}  // namespace

void SplitCommandTest::initTestCase()
{
    orn::Init();
    auto mosaic = signedImage(1);
    mosaic->bayerGrid = ep::BayerGridGBRG;
    mosaic->patternWidth = mosaic->patternHeight = 2;
    QVERIFY(m_files.save(QStringLiteral("mosaic.tif"), mosaic));
    QVERIFY(m_files.save(QStringLiteral("grey.mat"), signedImage(1)));
    QVERIFY(m_files.save(QStringLiteral("colours.tif"), signedImage(3)));
    QVERIFY(m_files.save(QStringLiteral("colours.mat"), signedImage(3)));
    QVERIFY(m_files.save(QStringLiteral("integers.tif"), randomImage(describe(ep::DataTypeUInt16, 5, 4))));
    QVERIFY(m_files.save(QStringLiteral("floats.tif"), plainNumbers(describe(ep::DataTypeFloat, 5, 4))));
    QVERIFY(m_files.save(QStringLiteral("there.tif"), randomImage(describe(ep::DataTypeUInt8, 3, 3))));
}

void SplitCommandTest::splits_data()
{
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("plus");
    QTest::addColumn<QString>("minus");
    QTest::addColumn<bool>("invert");
    for (bool invert : {false, true}) {
        const char* how = invert ? "magnitudes" : "as they are";
        const auto row = [&](const char* name, const char* in, const char* plus, const char* minus) {
            QTest::addRow("%s, %s", name, how)
                << QString::fromLatin1(in) << QString::fromLatin1(plus) << QString::fromLatin1(minus) << invert;
        };
        row("grey", "grey.mat", "plus.mat", "minus.mat");
        row("colours that are packed, all rows", "colours.tif", "plus.tif", "minus.tif");
        row("colours that are planar", "colours.mat", "plus.tif", "minus.mat");
        row("a mosaic", "mosaic.tif", "plus.tif", "minus.tif");
    }
}

void SplitCommandTest::splits()
{
    QFETCH(QString, in);
    QFETCH(QString, plus);
    QFETCH(QString, minus);
    QFETCH(bool, invert);
    const ProgramRun run =
        split(in, plus, minus, invert ? QStringLiteral("--invert --json") : QStringLiteral("--json"));
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(run.json()[QStringLiteral("inverted")].toBool(), invert);
    const Loaded whole = m_files.load(in);
    const Loaded positive = m_files.load(plus);
    const Loaded negative = m_files.load(minus);
    int both[] = {0, 0};
    for (int y = 0; y < whole.image->height; ++y)
        for (int x = 0; x < whole.image->width; ++x)
            for (int c = 0; c < whole.image->channels; ++c) {
                const auto v = sampleAt<double>(whole.image.image(), x, y, c);
                QCOMPARE(sampleAt<double>(positive.image.image(), x, y, c), v > 0 ? v : 0.0);
                QCOMPARE(sampleAt<double>(negative.image.image(), x, y, c), v < 0 ? (invert ? -v : v) : 0.0);
                both[0] += v > 0;
                both[1] += v < 0;
            }
    QVERIFY(both[0] > 20 && both[1] > 20);
    QCOMPARE(positive.image->channels, whole.image->channels);
    if (in == QStringLiteral("mosaic.tif"))
        QCOMPARE(int(negative.image->bayerGrid), int(ep::BayerGridGBRG));
    QCOMPARE(commonItem(positive.metadata)->cameraModel, commonItem(whole.metadata)->cameraModel);
}

void SplitCommandTest::saysWhichHalfIsWritten()
{
    const ProgramRun run =
        split(QStringLiteral("grey.mat"), QStringLiteral("half.tif"), QStringLiteral("half.png"), {});
    QVERIFY2(run.code == 5, run.all());
    QVERIFY2(saysOf(run, m_files.path("half.png"), "double"), run.all());
    QVERIFY2(saysOf(run, m_files.path("half.tif"), "this half is written"), run.all());
    QVERIFY(m_files.has("half.tif") && !m_files.has("half.png"));
    QVERIFY(QFile::remove(m_files.path("half.tif")));
}

void SplitCommandTest::notesWhatAHalfDoesNotKeep()
{
    ep::CxScopedBuffer odd = randomImage(describe(ep::DataTypeDouble, 7, 5));
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            setSample(odd.image(), x, y, 0, double(x - y));
    odd->bayerGrid = ep::BayerGridGBRG;
    odd->patternWidth = odd->patternHeight = 2;
    QVERIFY(m_files.save(QStringLiteral("odd.tif"), odd));
    const ProgramRun run = split(QStringLiteral("odd.tif"), QStringLiteral("p.mat"), QStringLiteral("m.mat"), {});
    QVERIFY2(run.code == 0, run.all());
    for (const char* half : {"p.mat", "m.mat"}) {
        QVERIFY2(saysOf(run, m_files.path(half), "without its grid"), run.all());
        QCOMPARE(int(m_files.load(QLatin1String(half)).image->bayerGrid), int(ep::BayerGridNone));
        QVERIFY(QFile::remove(m_files.path(half)));
    }
}

void SplitCommandTest::refuses_data()
{
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("plus");
    QTest::addColumn<QString>("minus");
    QTest::addColumn<QString>("options");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const char* in, const char* plus, const char* minus, const char* options,
                        int code, const char* reason) {
        QTest::newRow(name) << QString::fromLatin1(in) << QString::fromLatin1(plus) << QString::fromLatin1(minus)
                            << QString::fromLatin1(options) << code << QString::fromLatin1(reason);
    };
    row("integers", "integers.tif", "p.tif", "m.tif", "", 5, "integers.tif: its samples are uint16");
    row("32-bit floats", "floats.tif", "p.tif", "m.tif", "", 5, "orn diff");
    row("a missing file", "missing.mat", "p.tif", "m.tif", "", 3, "missing.mat");
    row("one file for both", "grey.mat", "p.tif", "p.tif", "", 2, "the same file");
    row("one file for both by other ways", "grey.mat", "p.tif", "./p.tif", "", 2, "the same file");
    row("a plus without doubles", "grey.mat", "p.png", "m.tif", "", 5, "p.png");
    row("a minus of an unknown format", "grey.mat", "p.tif", "m.xyz", "", 4, ".xyz");
    row("a plus that is there", "grey.mat", "there.tif", "m.tif", "--no-replace", 5, "exists");
    row("a minus that is there, before the plus is written", "grey.mat", "p.tif", "there.tif", "--no-replace", 5,
        "exists");
}

void SplitCommandTest::refuses()
{
    QFETCH(QString, in);
    QFETCH(QString, plus);
    QFETCH(QString, minus);
    QFETCH(QString, options);
    QFETCH(int, code);
    QFETCH(QString, reason);
    const QStringList names = m_files.names();
    const QByteArray there = m_files.bytes("there.tif");
    const ProgramRun run = split(in, plus, minus, options);
    QVERIFY2(run.code == code, run.all());
    QVERIFY2(run.err.contains(reason), run.all());
    QCOMPARE(m_files.names(), names);
    QCOMPARE(m_files.bytes("there.tif"), there);
}

QTEST_GUILESS_MAIN(SplitCommandTest)
#include "SplitCommandTest.moc"
