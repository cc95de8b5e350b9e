// The readers that docs/mat-layout.md shows are run, on its own examples and on files of every kind of image.

#include "CameraImages.h"
#include "Files.h"
#include "FullMetadata.h"
#include "Program.h"

#include <orn/orn_core.h>

#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

namespace {

const QString page = QStringLiteral(ORN_DOCS "/mat-layout.md");

/** Runs the blocks of @p document in @p folder; with @p language, only prints those of that language. */
ProgramRun runDocument(const QString& folder, const QString& document, const QString& language = QString())
{
    QStringList arguments{QStringLiteral("cd \"$1\" && PATH=$(dirname \"$ORN\"):$PATH && shift && exec \"$@\""),
                          QStringLiteral("sh"),
                          folder,
                          QStringLiteral(ORN_PYTHON),
                          QStringLiteral(RUN_DOCUMENT),
                          document};
    if (!language.isEmpty())
        arguments << language;
    return runProgram(
        QStringLiteral("/bin/sh"), QStringList{QStringLiteral("-c")} + arguments,
        {{QStringLiteral("ORN"), ornProgram()}, {QStringLiteral("ORN_OCTAVE"), QStringLiteral(ORN_OCTAVE)}});
}

/** Samples row by row, the channels of a pixel side by side. */
QByteArray packedSamples(const ep::SxImageBuf& image)
{
    const int bytes = ep::sampleFacts(image.dataType).bytes;
    QByteArray samples;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c)
                samples.append(reinterpret_cast<const char*>(address(image, x, y, c)), bytes);
    return samples;
}

struct Kind {
    const char* name;
    ep::ExBayerGrid grid;
    ep::ExImageDataType type;
    int channels;
    bool reverseRows;
};

const Kind kinds[] = {
    {"bggr", ep::BayerGridBGGR, ep::DataTypeUInt16, 1, true},
    {"rggb", ep::BayerGridRGGB, ep::DataTypeUInt16, 1, true},
    {"gbrg", ep::BayerGridGBRG, ep::DataTypeUInt16, 1, true},
    {"grbg", ep::BayerGridGRBG, ep::DataTypeUInt16, 1, true},
    {"grbg_upright", ep::BayerGridGRBG, ep::DataTypeUInt16, 1, false},
    {"cell", ep::BayerGridCell, ep::DataTypeUInt16, 1, true},
    {"plain", ep::BayerGridNone, ep::DataTypeInt8, 1, true},
    {"plain_upright", ep::BayerGridNone, ep::DataTypeDouble, 1, false},
    {"three_channels", ep::BayerGridNone, ep::DataTypeUInt8, 3, true},
    {"four_channels", ep::BayerGridNone, ep::DataTypeFloat, 4, true},
    {"five_channels", ep::BayerGridNone, ep::DataTypeInt32, 5, false},
};

ep::CxScopedBuffer imageOf(const Kind& kind)
{
    // Of no symmetry: a swap of rows, columns or channels shows.
    if (kind.grid != ep::BayerGridNone)
        return cameraMosaic(kind.grid, 18, 12, 12);
    return randomImage(describe(kind.type, 7, 4, kind.channels), 5);
}

const char* const readWithPython = R"(
import sys
for name in sys.argv[1:]:
    image, tags = read_image(name + '.mat')
    image.tofile(name + '.read')
    print(name, image.dtype)
)";

const char* const readWithOctave = R"(
names = argv();
for i = 1:numel(names)
    image = read_image([names{i} '.mat']);
    file = fopen([names{i} '.read'], 'w');
    fwrite(file, permute(image, [3 2 1]), class(image));
    fclose(file);
    disp([names{i} ' ' class(image)]);
end
)";

}  // namespace

class MatLayoutTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void everyExampleIsTrue();
    void aWrongExampleIsFound();
    void theReadersReadEveryImage_data();
    void theReadersReadEveryImage();
    void everyTagIsTold();

private:
    QTemporaryDir m_folder;
    QStringList m_names;
};

void MatLayoutTest::initTestCase()
{
    orn::Init();
    for (const Kind& kind : kinds) {
        const auto image = imageOf(kind);
        const QString name = QLatin1String(kind.name);
        const QMap<QString, QVariant> options{{QStringLiteral("reverse_rows"), kind.reverseRows}};
        QVERIFY(ep::CxImageFormatManager::saveImageToFile(m_folder.filePath(name + QStringLiteral(".mat")),
                                                          image.image(), nullptr, &options, false, QString()));
        m_names << name;
    }
}

void MatLayoutTest::everyExampleIsTrue()
{
    const ProgramRun run = runDocument(m_folder.path(), page);
    QVERIFY2(run.code == 0, run.all());
    const auto blocks = QString::fromUtf8(readFile(page))
                            .count(QRegularExpression(QStringLiteral("^```(python|octave|console)$"),
                                                      QRegularExpression::MultilineOption));
    QVERIFY(blocks > 5);
    QCOMPARE(run.out, QStringLiteral("%1 blocks were run\n").arg(blocks));
}

void MatLayoutTest::aWrongExampleIsFound()
{
    const QByteArray right = readFile(page);
    const QByteArray changes[][2] = {
        {"2 x 3   ", "3 x 2   "}, {"[[ 1  2", "[[ 2  1"}, {"   1   2   3", "   3   2   1"}};
    for (const auto& change : changes) {
        QByteArray wrong = right;
        wrong.replace(change[0], change[1]);
        QVERIFY2(wrong != right, change[0].constData());
        const QString document = m_folder.filePath(QStringLiteral("wrong.md"));
        QVERIFY(writeFile(document, wrong));
        const ProgramRun run = runDocument(m_folder.path(), document);
        QVERIFY2(run.code == 1, run.all());
    }
}

void MatLayoutTest::theReadersReadEveryImage_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("rest");
    QTest::addColumn<QStringList>("program");
    QTest::newRow("SciPy") << "python" << readWithPython << QStringList{QStringLiteral(ORN_PYTHON)};
    QTest::newRow("Octave") << "octave" << readWithOctave
                            << QStringList{QStringLiteral(ORN_OCTAVE), QStringLiteral("--no-gui"),
                                           QStringLiteral("--norc"), QStringLiteral("--quiet")};
}

void MatLayoutTest::theReadersReadEveryImage()
{
    QFETCH(QString, language);
    QFETCH(QString, rest);
    QFETCH(QStringList, program);
    const ProgramRun code = runDocument(m_folder.path(), page, language);
    QVERIFY2(code.code == 0 && code.out.contains(QStringLiteral("read_image")), code.all());
    const QString script = m_folder.filePath(QStringLiteral("reader.") + language);
    QVERIFY(writeFile(script, (code.out + rest).toUtf8()));

    // The page's own examples come first; they are in the folder since they were run.
    const ProgramRun run =
        runProgram(QStringLiteral("/bin/sh"),
                   QStringList{QStringLiteral("-c"), QStringLiteral("cd \"$1\" && shift && exec \"$@\""),
                               QStringLiteral("sh"), m_folder.path()}
                       + program + QStringList{script} + m_names);
    QVERIFY2(run.code == 0, run.all());
    for (const Kind& kind : kinds) {
        const QString name = QLatin1String(kind.name);
        QCOMPARE(readFile(m_folder.filePath(name + QStringLiteral(".read"))), packedSamples(imageOf(kind).image()));
        QVERIFY(QFile::remove(m_folder.filePath(name + QStringLiteral(".read"))));
    }
}

void MatLayoutTest::everyTagIsTold()
{
    // What is written where everything is known.
    const auto image = imageOf(kinds[5]);
    const ep::CxMetadata metadata = fullMetadata();
    const QString file = m_folder.filePath(QStringLiteral("full.mat"));
    QVERIFY(ep::CxImageFormatManager::saveImageToFile(file, image.image(), &metadata, nullptr, false, QString()));
    ep::CxScopedBuffer back;
    ep::CxMetadata written;
    QVERIFY(ep::CxImageFormatManager::loadImageFromFile(file, back.image(), &written));

    const auto found = [](const char* pattern, const QString& text) {
        QSet<QString> words;
        auto match = QRegularExpression(QLatin1String(pattern), QRegularExpression::MultilineOption).globalMatch(text);
        while (match.hasNext())
            for (const QString& word : match.next().captured(1).remove(QLatin1Char('`')).split(QStringLiteral(", ")))
                words << word;
        return words;
    };
    const QString text = QString::fromUtf8(readFile(page));
    const QString tables = text.mid(text.indexOf(QStringLiteral("<item class=\"orn::matlab::CxMatlabImageMetadata\">")))
                               .section(QStringLiteral("\n## "), 0, 0);
    const QSet<QString> told = found("^\\| (`[^|]*`) \\|", tables);
    const QSet<QString> used = found("<([a-z_]+)[ >]", written.saveToXml(-1))
                               - QSet<QString>{QStringLiteral("metadata"), QStringLiteral("item")};
    QVERIFY(used.size() > 20);
    const auto difference = [](const QSet<QString>& a, const QSet<QString>& b) {
        const QSet<QString> rest = a - b;
        return QStringList(rest.begin(), rest.end());
    };
    QCOMPARE(difference(used, told), QStringList());
    QCOMPARE(difference(told, used), QStringList());
}

QTEST_GUILESS_MAIN(MatLayoutTest)
#include "MatLayoutTest.moc"
