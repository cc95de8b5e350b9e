// What orn_read and orn_write of Octave and of Python refuse, and what they say.

#include "BridgeTesting.h"
#include "TestImages.h"

#include <orn/orn_core.h>

#include <ep/CxImageFormatManager.h>

#include <QDir>
#include <QTemporaryDir>

#include <functional>

using namespace testing;

namespace {

struct Refusal {
    const char* name;    ///< of the call in the two scripts, and of its file where it reads
    const char* reason;  ///< in both languages
};

constexpr Refusal readings[] = {
    {"missing", "the file does not exist"},
    {"folder", "it is a folder, not a file"},
    {"text", "it is not a MAT file, or it is damaged"},
    {"foreign", "it holds no image that orn has written (orn convert --variable reads other arrays)"},
    {"damaged metadata", "its metadata is damaged"},
    {"metadata of numbers", "its metadata is no text"},
    {"missing plane", "the variable \"ep_image_channel_3\" is missing"},
    {"unlike planes", "is not like the first"},
    {"truncated", "damaged"},
    {"several images", "it holds several images, name one of them: a"},
};

constexpr Refusal writings[] = {
    {"int64", "an image of class int64 cannot be written, only of double"},
    {"logical", "an image of class logical cannot be written"},
    {"text image", "cannot be written"},
    {"complex", "complex"},
    {"four dimensions", "an image has rows, columns and perhaps channels"},
    {"empty", "an image has rows, columns and perhaps channels"},
    {"unknown field", "the metadata has no field"},
    {"unknown grid", "must be one of BGGR, RGGB, GBRG, GRBG, none, cell"},
    {"odd mosaic", "a mosaic of 6 x 5 is no whole number of 2 x 2 cells"},
    {"mosaic of channels", "an image of 2 channels is no mosaic"},
    {"raw without grid", "says that it is a mosaic, and there is no"},
    {"cell without pattern", "needs its colours in"},
    {"contradiction", "contradict each other"},
    {"small depth", "is 5, the largest sample needs 6 bits"},
    {"large depth", "is 17, samples of"},
    {"broken depth", "must be a whole number of bits"},
    {"number for a text", "camera_make"},
    {"text for a number", "iso"},
    {"not finite", "must be finite numbers"},
    {"broken integer", "must be a whole number"},
    {"attributes", "attributes"},
    {"other items", "must be as orn_read has returned it"},
};

/** Words that stand for each other in the two languages. */
QString inPython(QString reason)
{
    return reason.replace(QStringLiteral("image of class"), QStringLiteral("image of"))
        .replace(QStringLiteral("only of"), QStringLiteral("only"))
        .replace(QStringLiteral("double"), QStringLiteral("float64"))
        .replace(QStringLiteral("logical"), QStringLiteral("bool"));
}

}  // namespace

class RefusalsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theMessageNamesTheFileAndTheReason_data();
    void theMessageNamesTheFileAndTheReason();
    void argumentsOfOtherKindsAreRefused_data();
    void argumentsOfOtherKindsAreRefused();
    void aRefusedImageLeavesNothingBehind();

private:
    void addReadings();
    void makeMat(const char* name, const std::function<bool(void*)>& write);
    QString path(const QString& name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
    QByteArray m_kept;
};

void RefusalsTest::makeMat(const char* name, const std::function<bool(void*)>& write)
{
    void* mat = orn::matlab::MatOpenWrite(path(QLatin1String(name)));
    QVERIFY(mat);
    const bool written = write(mat);
    QVERIFY(orn::matlab::MatClose(mat) && written);
}

void RefusalsTest::addReadings()
{
    double numbers[] = {1, 2, 3, 4, 5, 6};
    const auto matrix = [&numbers](void* mat, const char* name, int rows = 2, int columns = 3) {
        return orn::matlab::AddVar(mat, numbers, rows, columns, QLatin1String(name));
    };
    const auto metadata = [](void* mat, const char* text) {
        return orn::matlab::AddVar(mat, QLatin1String(text), QStringLiteral("ep_image_metadata"));
    };
    const char* const threePlanes = "<metadata><item class=\"orn::matlab::CxMatlabImageMetadata\">"
                                    "<saved_channels>3</saved_channels></item></metadata>";
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("folder.mat")));
    QFile text(path(QStringLiteral("text.mat")));
    QVERIFY(text.open(QIODevice::WriteOnly) && text.write(QByteArray(1000, 'x')) == 1000);
    makeMat("foreign.mat", [&](void* mat) { return matrix(mat, "a") && matrix(mat, "b"); });
    makeMat("damaged metadata.mat",
            [&](void* mat) { return matrix(mat, "ep_image_channel_1") && metadata(mat, "<metadata><item>"); });
    makeMat("metadata of numbers.mat",
            [&](void* mat) { return matrix(mat, "ep_image_channel_1") && matrix(mat, "ep_image_metadata"); });
    makeMat("missing plane.mat", [&](void* mat) {
        return matrix(mat, "ep_image_channel_1") && matrix(mat, "ep_image_channel_2") && metadata(mat, threePlanes);
    });
    makeMat("unlike planes.mat", [&](void* mat) {
        return matrix(mat, "ep_image_channel_1") && matrix(mat, "ep_image_channel_2", 3, 2)
               && matrix(mat, "ep_image_channel_3") && metadata(mat, threePlanes);
    });
    makeMat("several images.mat", [&](void* mat) {
        return matrix(mat, "a_channel_1") && matrix(mat, "b_channel_1") && metadata(mat, threePlanes);
    });
    // It ends within the data of its plane.
    QFile truncated(path(QStringLiteral("truncated.mat")));
    QVERIFY(truncated.open(QIODevice::WriteOnly) && truncated.write(m_kept.left(210)) == 210);
}

void RefusalsTest::initTestCase()
{
    orn::Init();
    const QString kept = path(QStringLiteral("kept.mat"));
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 9, 7));
    QVERIFY(ep::CxImageFormatManager::saveImageToFile(kept, image.image(), nullptr, nullptr, false, QString()));
    m_kept = contentOf(kept);
    addReadings();
    const ProgramRun octave = runOctave("refusals.m", {m_folder.path()});
    QVERIFY2(octave.code == 0, octave.all());
    const ProgramRun python = runPython("refusals.py", {m_folder.path()});
    QVERIFY2(python.code == 0, python.all());
}

void RefusalsTest::theMessageNamesTheFileAndTheReason_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    const auto addRow = [](const Refusal& refusal, const QString& file) {
        const QString name = QLatin1String(refusal.name);
        const QString reason = QLatin1String(refusal.reason);
        QTest::addRow("Octave: %s", refusal.name) << file << name + QStringLiteral(".octave") << reason;
        QTest::addRow("Python: %s", refusal.name) << file << name + QStringLiteral(".python") << inPython(reason);
    };
    for (const Refusal& refusal : readings)
        addRow(refusal, QLatin1String(refusal.name) + QStringLiteral(".mat"));
    for (const Refusal& refusal : writings)
        addRow(refusal, QStringLiteral("kept.mat"));
    addRow({"no such image", "it holds no image \"c\""}, QStringLiteral("several images.mat"));
    addRow({"suffix", "the name must end in .mat"}, QStringLiteral("kept.tif"));
    addRow({"no folder", ""}, QStringLiteral("nowhere/x.mat"));
}

void RefusalsTest::theMessageNamesTheFileAndTheReason()
{
    QFETCH(QString, file);
    QFETCH(QString, name);
    QFETCH(QString, reason);
    const QString message = QString::fromUtf8(contentOf(path(name)));
    QVERIFY2(message.startsWith(path(file) + QStringLiteral(": ")), qPrintable(message));
    QVERIFY2(message.contains(reason), qPrintable(message));
}

void RefusalsTest::argumentsOfOtherKindsAreRefused_data()
{
    QTest::addColumn<QString>("reason");
    QTest::newRow("no file name.octave") << QStringLiteral("the name of the file must be a row of characters");
    QTest::newRow("no file name.python") << QStringLiteral("not int");
    QTest::newRow("metadata type.octave") << QStringLiteral("the metadata must be a struct");
    QTest::newRow("metadata type.python") << QStringLiteral("the metadata must be a dict");
}

void RefusalsTest::argumentsOfOtherKindsAreRefused()
{
    QFETCH(QString, reason);
    const QString message = QString::fromUtf8(contentOf(path(QLatin1String(QTest::currentDataTag()))));
    QVERIFY2(message.contains(reason), qPrintable(message));
}

void RefusalsTest::aRefusedImageLeavesNothingBehind()
{
    QCOMPARE(contentOf(path(QStringLiteral("kept.mat"))), m_kept);
    QStringList expected{QStringLiteral("kept.mat")};
    for (const Refusal& refusal : readings)
        expected << QLatin1String(refusal.name) + QStringLiteral(".mat");
    const QStringList files = QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden);
    for (const QString& file : files) {
        const QString suffix = QFileInfo(file).suffix();
        const bool isMessage = suffix == QStringLiteral("octave") || suffix == QStringLiteral("python");
        QVERIFY2(isMessage || expected.contains(file), qPrintable(file));
    }
}

QTEST_GUILESS_MAIN(RefusalsTest)
#include "RefusalsTest.moc"
