#include "BatchFolder.h"

#include <orn/orn_core.h>

using namespace testing;

namespace {

const char* const oddNames[] = {"a b.tif", "-dash.tif",  "--out-dir.tif", " .tif",     "größe.tif", "大きさ.tif",
                                "'q'.tif", "\"qq\".tif", "tab\t.tif",     "$HOME.tif", "a\\b.tif",  "*.tif"};

}  // namespace

/** Lists of files, and their shards. */
class InputListTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void oddNamesInLines();
    void oddNamesWithNul();
    void standardInput();
    void filesOfTheCommandLineComeFirst();
    void emptyLinesAreNoFiles();
    void aListThatCannotBeRead_data();
    void aListThatCannotBeRead();
    void infoTakesAListToo();
    void shardsAreThePartsOfTheWhole_data();
    void shardsAreThePartsOfTheWhole();
    void wrongShardsAreRefused_data();
    void wrongShardsAreRefused();

private:
    bool fillWith(const QStringList& names, char end) const;
    BatchFolder m_files;
};

void InputListTest::initTestCase()
{
    orn::Init();
    QVERIFY(m_files.save(QStringLiteral("capture.tif"), cameraMosaic(ep::BayerGridRGGB, 8, 6)));
    QVERIFY(QDir(m_files.path("")).mkdir(QStringLiteral("odd")));
}

/** Makes files of these names in the folder "odd" and the list of them. */
bool InputListTest::fillWith(const QStringList& names, char end) const
{
    QDir odd(m_files.path("odd"));
    odd.removeRecursively();
    QDir(m_files.path("out")).removeRecursively();
    QFile list(m_files.path("odd.list"));
    if (!odd.mkpath(QStringLiteral(".")) || !list.open(QIODevice::WriteOnly))
        return false;
    for (const QString& name : names) {
        if (!QFile::copy(m_files.path("capture.tif"), odd.filePath(name)))
            return false;
        list.write(name.toUtf8() + end);
    }
    return true;
}

void InputListTest::oddNamesInLines()
{
    QStringList names;
    for (const char* name : oddNames)
        names << QString::fromUtf8(name);
    QVERIFY(fillWith(names, '\n'));
    const ProgramRun run = m_files.run("cd odd && orn convert --files-from ../odd.list --out-dir ../out --to tiff");
    QVERIFY2(run.code == 0, run.all());
    for (QString& name : names)
        name += QLatin1Char('f');
    names.sort();
    QCOMPARE(m_files.names("out"), names);
}

void InputListTest::oddNamesWithNul()
{
    QStringList names{QStringLiteral("two\nlines.tif"), QStringLiteral("\n.tif"), QStringLiteral("end\n.tif")};
    for (const char* name : oddNames)
        names << QString::fromUtf8(name);
    QVERIFY(fillWith(names, '\0'));
    const ProgramRun run = m_files.run("cd odd && find . -name '*.tif' -print0"
                                       " | orn convert --files-from - --null --out-dir ../out --to tiff");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(run.out, QStringLiteral("%1 converted\n").arg(names.size()));
    for (QString& name : names)
        name += QLatin1Char('f');
    names.sort();
    QCOMPARE(m_files.names("out"), names);
}

void InputListTest::standardInput()
{
    QVERIFY(fillWith({QStringLiteral("a.tif"), QStringLiteral("b.tif")}, '\n'));
    // The last line may lack its end.
    const ProgramRun run =
        m_files.run("printf 'odd/a.tif\\nodd/b.tif' | orn convert --files-from - --out-dir out --to mat");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(m_files.names("out"), (QStringList{QStringLiteral("a.mat"), QStringLiteral("b.mat")}));
}

void InputListTest::filesOfTheCommandLineComeFirst()
{
    QVERIFY(fillWith({QStringLiteral("a.tif"), QStringLiteral("b.tif"), QStringLiteral("c.tif")}, '\n'));
    const ProgramRun run = m_files.run(
        "cd odd && printf 'b.tif\\nc.tif\\n' | orn convert a.tif --files-from - --shard 1/2 --out-dir ../out --to mat");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(m_files.names("out"), (QStringList{QStringLiteral("a.mat"), QStringLiteral("c.mat")}));
}

void InputListTest::emptyLinesAreNoFiles()
{
    const ProgramRun run = m_files.run("printf '\\n\\n' | orn convert --files-from - --out-dir out --to mat");
    QVERIFY2(run.code == 0, run.all());
    QCOMPARE(run.out, QStringLiteral("0 converted\n"));
}

void InputListTest::aListThatCannotBeRead_data()
{
    QTest::addColumn<QString>("list");
    QTest::newRow("missing") << QStringLiteral("none.list");
    QTest::newRow("a folder") << QStringLiteral("odd");
}

void InputListTest::aListThatCannotBeRead()
{
    QFETCH(QString, list);
    const ProgramRun run = m_files.run(QStringLiteral("orn convert --files-from %1 --out-dir none --to mat").arg(list));
    QCOMPARE(run.code, 3);
    QVERIFY2(run.err.startsWith(QStringLiteral("orn: %1: ").arg(list)), run.all());
    QVERIFY(!QFile::exists(m_files.path("none")));
}

void InputListTest::infoTakesAListToo()
{
    QVERIFY(fillWith({QStringLiteral("a b.tif"), QStringLiteral("c.tif"), QStringLiteral("d.tif")}, '\n'));
    const ProgramRun run = m_files.run("cd odd && orn info --files-from ../odd.list --shard 2/2 --json");
    QVERIFY2(run.code == 0, run.all());
    const QJsonArray files = run.json()[QStringLiteral("files")].toArray();
    QCOMPARE(files.size(), 1);
    QCOMPARE(files[0].toObject()[QStringLiteral("file")].toString(), QStringLiteral("c.tif"));
    QCOMPARE(m_files.run("orn info --null").code, 2);
}

void InputListTest::shardsAreThePartsOfTheWhole_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("shards");
    QTest::newRow("one shard") << 5 << 1;
    QTest::newRow("even parts") << 6 << 3;
    QTest::newRow("uneven parts") << 11 << 4;
    QTest::newRow("as many as files") << 4 << 4;
    QTest::newRow("more than files") << 3 << 5;
}

void InputListTest::shardsAreThePartsOfTheWhole()
{
    QFETCH(int, files);
    QFETCH(int, shards);
    QStringList names;
    QStringList expected;
    for (int i = 0; i < files; ++i) {
        names << QStringLiteral("%1.tif").arg(i, 2, 10, QLatin1Char('0'));
        expected << QStringLiteral("%1.mat").arg(i, 2, 10, QLatin1Char('0'));
    }
    QVERIFY(fillWith(names, '\n'));
    QStringList all;
    for (int shard = 1; shard <= shards; ++shard) {
        const ProgramRun run = m_files.run(QStringLiteral("cd odd && orn convert --files-from ../odd.list --shard %1/%2"
                                                          " --out-dir ../out --to mat")
                                               .arg(shard)
                                               .arg(shards));
        QVERIFY2(run.code == 0, run.all());
        QStringList own;
        for (int i = shard - 1; i < files; i += shards)
            own << expected[i];
        QCOMPARE(m_files.names("out"), own);
        all += own;
        QDir(m_files.path("out")).removeRecursively();
    }
    all.sort();
    QCOMPARE(all, expected);
}

void InputListTest::wrongShardsAreRefused_data()
{
    QTest::addColumn<QString>("shard");
    for (const char* shard : {"0/2", "3/2", "1", "1/", "/2", "1/2/3", "-1/2", "a/b", "1/0", "0/0"})
        QTest::newRow(shard) << QString::fromLatin1(shard);
}

void InputListTest::wrongShardsAreRefused()
{
    QFETCH(QString, shard);
    const ProgramRun run =
        m_files.run(QStringLiteral("orn convert capture.tif --out-dir none --to mat --shard=%1").arg(shard));
    QVERIFY2(run.code == 2, run.all());
    QVERIFY2(run.err.contains(QStringLiteral("is not I/N")), run.all());
    QVERIFY(!QFile::exists(m_files.path("none")));
}

QTEST_GUILESS_MAIN(InputListTest)
#include "InputListTest.moc"
