// Arrays that others have saved, chosen by name: `orn convert --variable` and the loader option behind it.

#include "BridgeTesting.h"
#include "MatReading.h"
#include "TestImages.h"

#include <orn/orn_core.h>

#include <ep/epcore.h>

#include <QJsonArray>
#include <QTemporaryDir>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

const char* const files[] = {"octave v6", "octave v7", "scipy plain", "scipy compressed"};

constexpr struct {
    const char* name;
    ep::ExImageDataType type;
} types[] = {{"int8", ep::DataTypeInt8},     {"uint8", ep::DataTypeUInt8},  {"int16", ep::DataTypeInt16},
             {"uint16", ep::DataTypeUInt16}, {"int32", ep::DataTypeInt32},  {"uint32", ep::DataTypeUInt32},
             {"single", ep::DataTypeFloat},  {"double", ep::DataTypeDouble}};

/** The image that an array of 3 rows and 6 columns is. */
template <typename T>
ep::CxScopedBuffer numbered(ep::ExImageDataType type, int channels)
{
    ep::CxScopedBuffer image = randomImage(describe(type, 6, 3, channels));
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 6; ++x)
                setSample<T>(image.image(), x, y, c, T(40 * c + 10 * y + x));
    return image;
}

ep::CxScopedBuffer numbered(ep::ExImageDataType type, int channels)
{
    switch (type) {
    case ep::DataTypeInt8: return numbered<qint8>(type, channels);
    case ep::DataTypeUInt8: return numbered<quint8>(type, channels);
    case ep::DataTypeInt16: return numbered<qint16>(type, channels);
    case ep::DataTypeUInt16: return numbered<quint16>(type, channels);
    case ep::DataTypeInt32: return numbered<qint32>(type, channels);
    case ep::DataTypeUInt32: return numbered<quint32>(type, channels);
    case ep::DataTypeFloat: return numbered<float>(type, channels);
    default: return numbered<double>(type, channels);
    }
}

}  // namespace

class VariableTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void arraysBecomeChannels_data();
    void arraysBecomeChannels();
    void otherVariablesAreRefused_data();
    void otherVariablesAreRefused();
    void aMissingNameListsThoseThatExist();
    void theProgramConvertsTheArray_data();
    void theProgramConvertsTheArray();
    void withoutANameTheFirstMatrixIsRead();
    void aLogicalArrayBecomesZerosAndOnes();
    void theDepthIsThatOfTheSamples();
    void aPlaneOfOursComesUpright_data();
    void aPlaneOfOursComesUpright();
    void theNameMayBeThatOfAnImageOfOurs();
    void aVersion73FileServesToo();
    void anArrayPastTheMemoryLimitIsRefused();
    void otherInputsHaveNoVariables();

private:
    ep::CxScopedBuffer load(const QString& file, const char* variable, ep::CxMetadata* metadata = nullptr) const;
    QString path(const QString& name) const { return m_folder.filePath(name); }
    QString mat(const char* name) const { return path(QLatin1String(name) + QStringLiteral(".mat")); }
    ProgramRun convert(const QString& from, const QString& to, const char* variable) const
    {
        return runOrn({QStringLiteral("convert"), QStringLiteral("--variable"), QLatin1String(variable), from, to});
    }

    QTemporaryDir m_folder;
};

ep::CxScopedBuffer VariableTest::load(const QString& file, const char* variable, ep::CxMetadata* metadata) const
{
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    const QMap<QString, QVariant> options{{QStringLiteral("variable"), QLatin1String(variable)}};
    if (!Manager::loadImageFromFile(file, image.image(), metadata, &options, &error))
        qWarning("%s: %s", qPrintable(file), qPrintable(error.reason));
    return image;
}

void VariableTest::initTestCase()
{
    orn::Init();
    const ProgramRun octave = runOctave("arrays.m", {m_folder.path()});
    QVERIFY2(octave.code == 0, octave.all());
    const ProgramRun python = runPython("arrays.py", {m_folder.path()});
    QVERIFY2(python.code == 0, python.all());
}

void VariableTest::arraysBecomeChannels_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("channels");
    for (const char* file : files) {
        const QString name = mat(file);
        for (const auto& type : types) {
            QTest::addRow("%s: %s, rows x columns x 3", file, type.name)
                << name << QByteArray(type.name) + "_rgb" << int(type.type) << 3;
            QTest::addRow("%s: %s, rows x columns", file, type.name)
                << name << QByteArray(type.name) + "_gray" << int(type.type) << 1;
        }
        QTest::addRow("%s: rows x columns x 7", file) << name << QByteArray("seven") << int(ep::DataTypeUInt16) << 7;
    }
}

void VariableTest::arraysBecomeChannels()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, variable);
    QFETCH(int, type);
    QFETCH(int, channels);
    const ep::CxScopedBuffer image = load(file, variable);
    QVERIFY(image->data);
    QCOMPARE(int(image->bayerGrid), int(ep::BayerGridNone));
    QCOMPARE(int(image->layout), int(channels > 1 ? ep::LayoutPlanar : ep::LayoutPacked));
    QVERIFY(ep::SameSamples(image.image(), numbered(ep::ExImageDataType(type), channels).image()));
}

void VariableTest::otherVariablesAreRefused_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("reason");
    for (const char* file : files) {
        const auto addRow = [&](const char* variable, const char* reason) {
            QTest::addRow("%s: %s", file, variable)
                << mat(file) << QString::fromLatin1(variable) << QString::fromLatin1(reason);
        };
        addRow("phase", "it is complex");
        addRow("note", "it is of class char");
        addRow("big", "it is of class int64, whose 64 bits are not read");
        addRow("film", "it has 4 dimensions (3 x 6 x 7 x 2)");
        addRow("nothing", "it is empty (4 x 0 x 3)");
        addRow("thin", "it is of class sparse");
        addRow("list", "it is of class cell");
        addRow("record", "it is of class struct");
    }
}

void VariableTest::otherVariablesAreRefused()
{
    QFETCH(QString, file);
    QFETCH(QString, variable);
    QFETCH(QString, reason);
    const QString out = path(QStringLiteral("refused.tif"));
    const ProgramRun run = convert(file, out, qPrintable(variable));
    QCOMPARE(run.code, 3);
    QCOMPARE(run.err, QStringLiteral("orn: %1: the variable \"%2\" is no image: %3\n").arg(file, variable, reason));
    QVERIFY(!QFile::exists(out));
}

void VariableTest::aMissingNameListsThoseThatExist()
{
    const ProgramRun run = convert(mat("octave v6"), path(QStringLiteral("refused.tif")), "rgb");
    QCOMPARE(run.code, 3);
    const QString start =
        QStringLiteral("orn: %1: there is no variable \"rgb\": the file holds ").arg(mat("octave v6"));
    QVERIFY2(run.err.startsWith(start), run.all());
    QVERIFY2(run.err.contains(QStringLiteral("int16_gray, int16_rgb")), run.all());
    QVERIFY2(run.err.endsWith(QStringLiteral(" and 6 more\n")), run.all());
}

void VariableTest::theProgramConvertsTheArray_data()
{
    QTest::addColumn<QString>("out");
    QTest::newRow("to TIFF") << QStringLiteral("out.tif");
    QTest::newRow("to MAT") << QStringLiteral("out.mat");
}

void VariableTest::theProgramConvertsTheArray()
{
    QFETCH(QString, out);
    const ProgramRun run = convert(mat("scipy plain"), path(out), "uint16_rgb");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    ep::CxScopedBuffer image;
    QVERIFY(Manager::loadImageFromFile(path(out), image.image(), nullptr));
    QVERIFY(ep::SameSamples(image.image(), numbered(ep::DataTypeUInt16, 3).image()));
}

void VariableTest::withoutANameTheFirstMatrixIsRead()
{
    const ProgramRun run = runOrn({QStringLiteral("convert"), mat("octave v7"), path(QStringLiteral("first.tif"))});
    QVERIFY2(run.code == 0, run.all());
    ep::CxScopedBuffer image;
    QVERIFY(Manager::loadImageFromFile(path(QStringLiteral("first.tif")), image.image(), nullptr));
    // double_rgb stands before it in the file, and is no matrix.
    QVERIFY(ep::SameSamples(image.image(), numbered(ep::DataTypeDouble, 1).image()));
}

void VariableTest::aLogicalArrayBecomesZerosAndOnes()
{
    for (const char* file : files) {
        const ep::CxScopedBuffer image = load(mat(file), "mask");
        QVERIFY(image->data);
        QCOMPARE(int(image->dataType), int(ep::DataTypeUInt8));
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 6; ++x)
                QCOMPARE(int(sampleAt<quint8>(image.image(), x, y)), int(10 * y + x > 12));
    }
}

void VariableTest::theDepthIsThatOfTheSamples()
{
    // The largest of all channels counts: 265 of the seven, 105 of the three.
    QCOMPARE(load(mat("octave v6"), "seven")->bitDepth, 9);
    QCOMPARE(load(mat("octave v6"), "uint16_rgb")->bitDepth, 7);
    QCOMPARE(load(mat("octave v6"), "double_rgb")->bitDepth, 64);
}

void VariableTest::aPlaneOfOursComesUpright_data()
{
    QTest::addColumn<bool>("reverseRows");
    QTest::newRow("stored bottom row first") << true;
    QTest::newRow("stored top row first") << false;
}

void VariableTest::aPlaneOfOursComesUpright()
{
    QFETCH(bool, reverseRows);
    const ep::CxScopedBuffer image = numbered(ep::DataTypeFloat, 3);
    const QMap<QString, QVariant> options{{QStringLiteral("reverse_rows"), reverseRows}};
    QVERIFY(Manager::saveImageToFile(mat("ours"), image.image(), nullptr, &options, false, QString()));
    const ep::CxScopedBuffer plane = load(mat("ours"), "ep_image_channel_2");
    QVERIFY(plane->data);
    QCOMPARE(plane->channels, 1);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 6; ++x)
            QCOMPARE(sampleAt<float>(plane.image(), x, y), sampleAt<float>(image.image(), x, y, 1));
}

void VariableTest::theNameMayBeThatOfAnImageOfOurs()
{
    ep::CxScopedBuffer mosaic = randomImage(describe(ep::DataTypeUInt16, 8, 6));
    mosaic->bayerGrid = ep::BayerGridGRBG;
    const QMap<QString, QVariant> options{{QStringLiteral("matname"), QStringLiteral("scene")}};
    QVERIFY(Manager::saveImageToFile(mat("scene"), mosaic.image(), nullptr, &options, false, QString()));
    ep::CxMetadata metadata;
    const ep::CxScopedBuffer image = load(mat("scene"), "scene", &metadata);
    QVERIFY(ep::SameSamples(image.image(), mosaic.image()));
    QCOMPARE(int(image->bayerGrid), int(ep::BayerGridGRBG));
    QVERIFY(metadata.findItem(orn::matlab::CxMatlabImageMetadata::staticMetaObject));

    const ProgramRun info = runOrn({QStringLiteral("info"), QStringLiteral("--variable"), QStringLiteral("scene"),
                                    QStringLiteral("--json"), mat("scene")});
    QVERIFY2(info.code == 0, info.all());
    const QJsonObject said = info.json()[QStringLiteral("files")].toArray().at(0).toObject();
    QCOMPARE(said[QStringLiteral("mosaic")].toObject()[QStringLiteral("grid")].toString(), QStringLiteral("GRBG"));

    // Planes without metadata are no image of ours, and are listed.
    QVERIFY(orn::matlab::SaveEntropyImageToMat(mosaic.image(), QStringLiteral("ENT"), mat("entropy"), false));
    const ProgramRun run = convert(mat("entropy"), path(QStringLiteral("refused.tif")), "ENT");
    QCOMPARE(run.code, 3);
    QVERIFY2(run.err.contains(QStringLiteral("the file holds ENT_channel_1, ENT_channel_2")), run.all());
}

void VariableTest::aVersion73FileServesToo()
{
    const ep::CxScopedBuffer image = numbered(ep::DataTypeUInt16, 3);
    QVector<quint16> columns;
    for (int c = 0; c < 3; ++c)
        for (int x = 0; x < 6; ++x)
            for (int y = 0; y < 3; ++y)
                columns << sampleAt<quint16>(image.image(), x, y, c);
    {
        const std::unique_ptr<mat_t, MatCloser> file(
            Mat_CreateVer(mat("hdf").toLocal8Bit().constData(), nullptr, MAT_FT_MAT73));
        size_t dimensions[] = {3, 6, 3};
        const std::unique_ptr<matvar_t, MatVarDeleter> variable(
            Mat_VarCreate("rgb", MAT_C_UINT16, MAT_T_UINT16, 3, dimensions, columns.data(), 0));
        QVERIFY(file && variable && Mat_VarWrite(file.get(), variable.get(), MAT_COMPRESSION_NONE) == 0);
    }
    QVERIFY(ep::SameSamples(load(mat("hdf"), "rgb").image(), image.image()));
}

void VariableTest::anArrayPastTheMemoryLimitIsRefused()
{
    orn::matlab::CxMatlabImageLoader loader;
    loader.setFileName(mat("octave v6"));
    loader.setOptions({{QStringLiteral("variable"), QStringLiteral("double_rgb")}});
    loader.setMemoryLimit(1 << 20);
    QVERIFY(loader.open() && loader.isOpen());
    loader.close();
    loader.setMemoryLimit(3 * 6 * 3 * 8 - 1);
    QVERIFY(loader.open() && !loader.isOpen());
    QCOMPARE(int(loader.lastError().kind), int(ep::ExFileError::TooLarge));
}

void VariableTest::otherInputsHaveNoVariables()
{
    const ProgramRun run = convert(path(QStringLiteral("a.tif")), path(QStringLiteral("b.tif")), "rgb");
    QCOMPARE(run.code, 2);
    QVERIFY2(run.err.contains(QStringLiteral("--variable is for MAT files: IN must end in .mat")), run.all());
    const ProgramRun info = runOrn(
        {QStringLiteral("info"), QStringLiteral("--variable"), QStringLiteral("rgb"), path(QStringLiteral("a.tif"))});
    QCOMPARE(info.code, 2);
    QVERIFY2(info.err.contains(QStringLiteral("a.tif' does not end in .mat")), info.all());
}

QTEST_GUILESS_MAIN(VariableTest)
#include "VariableTest.moc"
