#include "ConvertTesting.h"

#include <orn/orn_core.h>

#include <QJsonArray>

using namespace testing;

/** `orn diff`. */
class DiffCommandTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void subtracts_data();
    void subtracts();
    void keepsWhatIsKnownOfTheCapture();
    void storesPartialCellsAsAPlainImage();
    void notesAnotherGrid();
    void refuses_data();
    void refuses();

private:
    ProgramRun diff(const char* a, const char* b, const char* out, const QStringList& options = {}) const
    {
        return runOrn(QStringList{QStringLiteral("diff"), m_files.path(a), m_files.path(b), m_files.path(out)}
                      + options);
    }
    ImageFolder m_files;
};

void DiffCommandTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.save(QStringLiteral("mosaic.tif"), cameraMosaic(ep::BayerGridRGGB, 24, 12)));
    QVERIFY(m_files.save(QStringLiteral("other.tif"), cameraMosaic(ep::BayerGridBGGR, 24, 12)));
    QVERIFY(m_files.save(QStringLiteral("odd.tif"), cameraMosaic(ep::BayerGridRGGB, 21, 12)));
    QVERIFY(m_files.save(QStringLiteral("colours8.tif"), photograph(ep::DataTypeUInt8, 13, 7)));
    QVERIFY(m_files.save(QStringLiteral("colours16.tif"), photograph(ep::DataTypeUInt16, 13, 7)));
    QVERIFY(m_files.save(QStringLiteral("grey.tif"), randomImage(describe(ep::DataTypeUInt16, 13, 7))));
    QVERIFY(m_files.save(QStringLiteral("real.tif"), plainNumbers(describe(ep::DataTypeFloat, 13, 7))));
    QVERIFY(m_files.save(QStringLiteral("there.tif"), randomImage(describe(ep::DataTypeUInt8, 3, 3))));
}

void DiffCommandTest::subtracts_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<QString>("out");
    const auto row = [](const char* name, const char* a, const char* b, const char* out) {
        QTest::newRow(name) << QString::fromLatin1(a) << QString::fromLatin1(b) << QString::fromLatin1(out);
    };
    row("colours of 8 and 16 bits, to TIFF", "colours8.tif", "colours16.tif", "difference.tif");
    row("the same to MAT", "colours8.tif", "colours16.tif", "difference.mat");
    row("the other way round", "colours16.tif", "colours8.tif", "difference.tif");
    row("grey and real numbers", "grey.tif", "real.tif", "difference.mat");
    row("an image and itself", "grey.tif", "grey.tif", "difference.tif");
}

void DiffCommandTest::subtracts()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(QString, out);
    const ProgramRun run = runOrn({QStringLiteral("diff"), m_files.path(a), m_files.path(b), m_files.path(out)});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const Loaded first = m_files.load(a);
    const Loaded second = m_files.load(b);
    const Loaded found = m_files.load(out);
    QCOMPARE(int(found.image->dataType), int(ep::DataTypeDouble));
    const auto valueAt = [](const ep::SxImageBuf& image, int x, int y, int c) {
        switch (image.dataType) {
        case ep::DataTypeUInt8: return double(sampleAt<quint8>(image, x, y, c));
        case ep::DataTypeUInt16: return double(sampleAt<quint16>(image, x, y, c));
        default: return double(sampleAt<float>(image, x, y, c));
        }
    };
    QCOMPARE(found.image->channels, first.image->channels);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 13; ++x)
            for (int c = 0; c < found.image->channels; ++c)
                QCOMPARE(sampleAt<double>(found.image.image(), x, y, c),
                         valueAt(first.image.image(), x, y, c) - valueAt(second.image.image(), x, y, c));
}

void DiffCommandTest::keepsWhatIsKnownOfTheCapture()
{
    const ProgramRun run = diff("mosaic.tif", "mosaic.tif", "capture.mat", {QStringLiteral("--json")});
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(run.json()[QStringLiteral("output")].toString(), m_files.path("capture.mat"));
    const Loaded before = m_files.load(QStringLiteral("mosaic.tif"));
    const Loaded after = m_files.load(QStringLiteral("capture.mat"));
    QCOMPARE(int(after.image->bayerGrid), int(ep::BayerGridRGGB));
    const auto* was = commonItem(before.metadata);
    const auto* is = commonItem(after.metadata);
    QVERIFY(was && is);
    QVERIFY(!was->cameraModel.isEmpty());
    QCOMPARE(is->cameraModel, was->cameraModel);
    QCOMPARE(is->exposureTime, was->exposureTime);
    QVERIFY(!was->blackLevels.isEmpty() && was->whiteLevel > 0);
    QVERIFY(is->blackLevels.isEmpty());
    QCOMPARE(is->whiteLevel, 0.0);
}

void DiffCommandTest::storesPartialCellsAsAPlainImage()
{
    const ProgramRun run = diff("odd.tif", "odd.tif", "odd.mat");
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(saysOf(run, m_files.path("odd.mat"), "without its grid"), run.all());
    const Loaded found = m_files.load(QStringLiteral("odd.mat"));
    QCOMPARE(found.image->width, 21);
    QCOMPARE(int(found.image->bayerGrid), int(ep::BayerGridNone));
    QVERIFY2(diff("odd.tif", "odd.tif", "oddout.tif").code == 0, "TIFF holds any mosaic");
    QCOMPARE(int(m_files.load(QStringLiteral("oddout.tif")).image->bayerGrid), int(ep::BayerGridRGGB));
}

void DiffCommandTest::notesAnotherGrid()
{
    const ProgramRun run = diff("mosaic.tif", "other.tif", "mixed.tif");
    QVERIFY2(run.code == 0, run.all());
    QVERIFY2(saysOf(run, m_files.path("mixed.tif"), "A has the grid RGGB, B BGGR"), run.all());
}

void DiffCommandTest::refuses_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("options");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const char* a, const char* b, const char* out, const char* options, int code,
                        const char* file, const char* reason) {
        QTest::newRow(name) << QString::fromLatin1(a) << QString::fromLatin1(b) << QString::fromLatin1(out)
                            << QString::fromLatin1(options) << code << QString::fromLatin1(file)
                            << QString::fromLatin1(reason);
    };
    row("images of other sizes", "grey.tif", "mosaic.tif", "new.tif", "", 5, "mosaic.tif", "differ in size");
    row("images of other channels", "grey.tif", "colours16.tif", "new.tif", "", 5, "colours16.tif", "3 channel");
    row("a format without doubles", "grey.tif", "grey.tif", "new.png", "", 5, "new.png", "uint16");
    row("a format of floats", "grey.tif", "grey.tif", "new.exr", "", 5, "new.exr", "float");
    row("a mosaic as DNG", "mosaic.tif", "mosaic.tif", "new.dng", "", 5, "new.dng", "double");
    row("an unknown format", "grey.tif", "grey.tif", "new.xyz", "", 4, "new.xyz", ".xyz");
    row("a folder that is not there", "grey.tif", "grey.tif", "no/new.tif", "", 4, "no/new.tif", "");
    row("a missing first file", "missing.tif", "grey.tif", "new.tif", "", 3, "missing.tif", "not exist");
    row("a missing second file", "grey.tif", "missing.tif", "new.tif", "", 3, "missing.tif", "not exist");
    row("a file that is there", "grey.tif", "grey.tif", "there.tif", "--no-replace", 5, "there.tif", "exists");
}

void DiffCommandTest::refuses()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(QString, out);
    QFETCH(QString, options);
    QFETCH(int, code);
    QFETCH(QString, file);
    QFETCH(QString, reason);
    const QStringList names = m_files.names();
    const QByteArray there = m_files.bytes("there.tif");
    const ProgramRun run =
        diff(a.toLatin1(), b.toLatin1(), out.toLatin1(), options.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QVERIFY2(run.code == code, run.all());
    QVERIFY2(saysOf(run, m_files.path(file), reason.toLatin1()), run.all());
    QVERIFY(run.out.isEmpty());
    QCOMPARE(m_files.names(), names);
    QCOMPARE(m_files.bytes("there.tif"), there);
}

QTEST_GUILESS_MAIN(DiffCommandTest)
#include "DiffCommandTest.moc"
