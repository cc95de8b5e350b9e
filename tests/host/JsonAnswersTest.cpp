#include "ConvertTesting.h"

#include <orn/orn_core.h>

using namespace testing;

/** Every answer for programs, read by a program that is not ours. */
class JsonAnswersTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void isStrictJson_data();
    void isStrictJson();

private:
    ImageFolder m_files;
};

void JsonAnswersTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.save(QStringLiteral("capture.tif"), cameraMosaic(ep::BayerGridRGGB, 21, 12)));
    QVERIFY(m_files.save(QStringLiteral("capture.mat"), cameraMosaic(ep::BayerGridCell, 24, 12)));
    auto odd = randomImage(describe(ep::DataTypeDouble, 2, 1, 1, ep::LayoutPlanar));
    setSample<double>(odd.image(), 0, 0, 0, std::numeric_limits<double>::infinity());
    setSample<double>(odd.image(), 1, 0, 0, std::numeric_limits<double>::quiet_NaN());
    ep::CxMetadata metadata = cameraMetadata(odd.image());
    auto* common = const_cast<ep::CxCommonImageMetadata*>(commonItem(metadata));
    common->cameraMake = QString::fromUtf8("\"Ma\\ke\"\t{Größe}, 大きさ 🙂");
    common->attributes[QStringLiteral("a \"key\"")] = QStringLiteral("line\nline");
    QVERIFY(m_files.save(QStringLiteral("odd.mat"), odd, metadata));
    QVERIFY(QFile::copy(m_files.path("odd.mat"), m_files.path(QString::fromUtf8("\"odd\"\n\\ö.mat"))));
}

void JsonAnswersTest::isStrictJson_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("keys");
    const auto row = [](const char* name, const char* arguments, int code, const char* command, const char* keys) {
        QTest::newRow(name) << QString::fromUtf8(arguments) << code << QString::fromLatin1(command)
                            << QString::fromLatin1(keys);
    };
    row("info of a mosaic", "info @capture.tif", 0, "info", "files");
    row("info of a wide cell", "info @capture.mat", 0, "info", "files");
    row("info of NaN, infinity and quoted text", "info @odd.mat", 0, "info", "files");
    row("info of a file with an odd name", "info @\"odd\"\n\\ö.mat", 0, "info", "files");
    row("info of several files, one missing", "info @capture.tif @missing.tif @odd.mat", 1, "info", "files");
    row("info of a missing file", "info @missing.tif", 3, "info", "files");
    row("depth", "depth --quiet @.", 0, "depth", "bitDepth cancelled checked failures files folder sampleType");
    row("depth of no file", "depth --quiet @. --filter *.xyz", 3, "depth", "error folder");
    row("info with the bits of samples", "info --depth @capture.tif @odd.mat", 0, "info", "files");
    row("mat list", "mat list @capture.mat", 0, "mat list", "file variables");
    row("mat list of a file that is none", "mat list @capture.tif", 3, "mat list", "error file");
    row("convert", "convert @odd.mat @out.tif", 0, "convert", "image input notes output");
    row("convert with a note", "convert --lossy @capture.tif @out.mat", 0, "convert", "image input notes output");
    row("convert that is refused", "convert @capture.tif @out.mat", 5, "convert", "error input output");
    row("convert of a missing file", "convert @missing.tif @out.mat", 3, "convert", "error input output");
    row("diff", "diff @capture.tif @capture.tif @difference.tif", 0, "diff", "a b image notes output");
    row("diff of a missing file", "diff @capture.tif @missing.tif @difference.tif", 3, "diff", "a b error output");
    row("split", "split @difference.tif @plus.tif @minus.tif", 0, "split", "image input inverted minus notes plus");
    row("split that is refused", "split @capture.tif @plus.tif @minus.tif", 5, "split",
        "error input inverted minus plus");
    row("defects", "defects @capture.tif --out @map.png", 0, "defects",
        "coordinates flat found frames limit list listed map notes origin planes");
    row("defects of a missing file", "defects @missing.tif --out @map.png", 3, "defects", "error");
    row("plugins", "plugins", 0, "plugins", "classes notLoaded");
    row("formats", "formats", 0, "formats", "formats");
}

void JsonAnswersTest::isStrictJson()
{
    QFETCH(QString, arguments);
    QFETCH(int, code);
    QFETCH(QString, command);
    QFETCH(QString, keys);
    QStringList list;
    for (const QString& argument : arguments.split(QLatin1Char(' ')))
        list << (argument.startsWith(QLatin1Char('@')) ? m_files.path(argument.mid(1)) : argument);
    const ProgramRun run = runOrn(list << QStringLiteral("--json"));
    QVERIFY2(run.code == code, run.all());
    const bool hasNotes = arguments.contains(QStringLiteral("--lossy")) || command == QLatin1String("defects");
    QVERIFY2(run.err.isEmpty() == (code == 0 && !hasNotes), run.all());

    QFile answer(m_files.path("answer.json"));
    QVERIFY(answer.open(QIODevice::WriteOnly));
    answer.write(run.out.toUtf8());
    answer.close();
    // Python by itself takes NaN, and keys that stand twice.
    const QString judge =
        QStringLiteral("import json, sys\n"
                       "def constant(name): raise ValueError(name)\n"
                       "def pairs(items):\n"
                       "    assert len(items) == len({key for key, _ in items}), items\n"
                       "    return dict(items)\n"
                       "with open(sys.argv[1], encoding='utf-8') as file:\n"
                       "    answer = json.load(file, parse_constant=constant, object_pairs_hook=pairs)\n"
                       "print(answer.pop('schema'), answer.pop('command'), ':', *sorted(answer))\n");
    const ProgramRun python = runProgram(QStringLiteral(ORN_PYTHON), {QStringLiteral("-c"), judge, answer.fileName()});
    QVERIFY2(python.code == 0, python.all() + run.all());
    QCOMPARE(python.out, QStringLiteral("1 %1 : %2\n").arg(command, keys));
}

QTEST_GUILESS_MAIN(JsonAnswersTest)
#include "JsonAnswersTest.moc"
