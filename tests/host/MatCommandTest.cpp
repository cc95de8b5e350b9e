#include "ConvertTesting.h"

#include <orn/orn_core.h>

#include <QJsonArray>

using namespace testing;

class MatCommandTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void listsWhatItWouldRead();
    void listsForPrograms();
    void listsAForeignFile();
    void listsWhatWouldBeRefused();
    void failsWithTheFileAndTheReason_data();
    void failsWithTheFileAndTheReason();

private:
    ProgramRun list(const char* name, const QStringList& options = {}) const;
    void writeForeignFile(const char* name);

    ImageFolder m_files;
};

ProgramRun MatCommandTest::list(const char* name, const QStringList& options) const
{
    return runOrn(QStringList{QStringLiteral("mat"), QStringLiteral("list")} + options
                  + QStringList{m_files.path(name)});
}

void MatCommandTest::writeForeignFile(const char* name)
{
    void* mat = orn::matlab::MatOpenWrite(m_files.path(name));
    QVERIFY(mat);
    double numbers[6] = {1, 2, 3, 4, 5, 6};
    QVERIFY(orn::matlab::AddVar(mat, QStringLiteral("by nobody"), QStringLiteral("author")));
    QVERIFY(orn::matlab::AddVar(mat, numbers, 2, 3, QStringLiteral("first")));
    QVERIFY(orn::matlab::AddVar(mat, numbers, 3, 2, QStringLiteral("second")));
    QVERIFY(orn::matlab::MatClose(mat));
}

void MatCommandTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.save(QStringLiteral("capture.mat"), cameraMosaic(ep::BayerGridRGGB, 20, 12)));
    writeForeignFile("foreign.mat");
    QVERIFY(QDir().mkdir(m_files.path("folder.mat")));
}

void MatCommandTest::listsWhatItWouldRead()
{
    const ProgramRun run = list("capture.mat");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const QStringList lines = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 6);  // headings, four planes, metadata
    for (int plane = 1; plane <= 4; ++plane) {
        const QString expected = QStringLiteral("^ep_image_channel_%1 +uint16 +6 x 10 +plane %1$").arg(plane);
        QVERIFY2(QRegularExpression(expected).match(lines[plane]).hasMatch(), run.all());
    }
    const QRegularExpression metadata(QStringLiteral("^ep_image_metadata +char +1 x \\d+ +metadata$"));
    QVERIFY2(metadata.match(lines[5]).hasMatch(), run.all());
}

void MatCommandTest::listsForPrograms()
{
    const ProgramRun run = list("capture.mat", {QStringLiteral("--json")});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const QJsonObject answer = run.json();
    QCOMPARE(answer[QStringLiteral("schema")].toInt(), 1);
    QCOMPARE(answer[QStringLiteral("file")].toString(), m_files.path("capture.mat"));
    const QJsonArray variables = answer[QStringLiteral("variables")].toArray();
    QCOMPARE(variables.size(), 5);
    const QJsonObject first = variables.at(0).toObject();
    QCOMPARE(first[QStringLiteral("name")].toString(), QStringLiteral("ep_image_channel_1"));
    QCOMPARE(first[QStringLiteral("class")].toString(), QStringLiteral("uint16"));
    QCOMPARE(first[QStringLiteral("dimensions")].toArray(), QJsonArray({6, 10}));
    QCOMPARE(first[QStringLiteral("complex")].toBool(true), false);
    QCOMPARE(first[QStringLiteral("role")].toString(), QStringLiteral("plane 1"));
}

void MatCommandTest::listsAForeignFile()
{
    const ProgramRun run = list("foreign.mat", {QStringLiteral("--json")});
    QVERIFY2(run.code == 0, run.all());
    const QJsonArray variables = run.json()[QStringLiteral("variables")].toArray();
    QCOMPARE(variables.size(), 3);
    QVERIFY(variables.at(0).toObject()[QStringLiteral("role")].isNull());
    QCOMPARE(variables.at(1).toObject()[QStringLiteral("role")].toString(), QStringLiteral("plane 1"));
    QVERIFY(variables.at(2).toObject()[QStringLiteral("role")].isNull());
}

void MatCommandTest::listsWhatWouldBeRefused()
{
    auto image = randomImage(describe(ep::DataTypeInt64, 4, 3));
    void* mat = orn::matlab::MatOpenWrite(m_files.path("wide.mat"));
    QVERIFY(mat);
    ep::SxImageInfo written = ep::emptyImage();
    QVERIFY(orn::matlab::AddImage(mat, image.image(), QStringLiteral("wide"), true, written, false));
    QVERIFY(orn::matlab::MatClose(mat));
    const ProgramRun run = list("wide.mat");
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    const QRegularExpression refused(QStringLiteral("^wide\\S* +int64 +3 x 4 +plane 1 \\(refused\\)$"),
                                     QRegularExpression::MultilineOption);
    QVERIFY2(refused.match(run.out).hasMatch(), run.all());
    const ProgramRun info = runOrn({QStringLiteral("info"), m_files.path("wide.mat")});
    QVERIFY2(info.code == 3 && info.err.contains(QStringLiteral("int64")), info.all());
}

void MatCommandTest::failsWithTheFileAndTheReason_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("a missing file") << "missing.mat" << QByteArray();
    QTest::newRow("a folder") << "folder.mat" << QByteArray();
    QTest::newRow("an empty file") << "empty.mat" << QByteArray("");
    QTest::newRow("a letter") << "letter.mat" << QByteArray("Dear reader, ").repeated(50);
    QTest::newRow("a file cut in its first variable") << "cut.mat" << m_files.bytes("capture.mat").left(150);
    QTest::newRow("a file cut in its data") << "cut.mat" << m_files.bytes("capture.mat").left(400);
}

void MatCommandTest::failsWithTheFileAndTheReason()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    if (!content.isNull()) {
        QFile file(m_files.path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }
    const ProgramRun run = list(qPrintable(name));
    QVERIFY2(run.code == 3 && run.out.isEmpty(), run.all());
    const QString start = QStringLiteral("orn: %1: ").arg(m_files.path(name));
    QVERIFY2(run.err.startsWith(start) && run.err.size() > start.size() + 5, run.all());
    const ProgramRun json = list(qPrintable(name), {QStringLiteral("--json")});
    QCOMPARE(json.code, 3);
    QVERIFY2(json.json().contains(QStringLiteral("error")), json.all());
}

QTEST_GUILESS_MAIN(MatCommandTest)
#include "MatCommandTest.moc"
