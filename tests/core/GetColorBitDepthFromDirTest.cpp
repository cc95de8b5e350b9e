#include <orn/GetColorBitDepthFromDir.h>

#include "DumpScan.h"
#include "WithoutPrivileges.h"

#include <QtTest>

#include <memory>

#include <sys/stat.h>

using namespace testing;
using orn::CxProgressInfo;
using orn::Protocol;

/** Reads dumps, and counts how many files it was given. */
class DumpReader : public DumpLoader {
    Q_OBJECT
public:
    Q_INVOKABLE DumpReader() = default;
    bool open() override
    {
        ++openedDumps();
        return DumpLoader::open();
    }
};

class GetColorBitDepthFromDirTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { registerLoader<DumpReader>(); }
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void nullPointersAreRefused();
    void nothingToScan_data();
    void nothingToScan();
    void twelveReadableFiles();
    void messagesComeEveryTenFiles_data();
    void messagesComeEveryTenFiles();
    void firstOfEqualDepthSaysTheType_data();
    void firstOfEqualDepthSaysTheType();
    void unreadableFilesAreNamedAndCounted();
    void allFilesUnreadable();
    void fileWithoutPermissionIsUnreadable();
    void onlyPlainFilesThatMatch();
    void reportingObjectsMayBeNull();
    void folderNames_data();
    void folderNames();
    void aBackslashGetsNoSeparator();

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_folder;
};

void GetColorBitDepthFromDirTest::nullPointersAreRefused()
{
    QVERIFY(writeDump(path(QStringLiteral("a.dump"))));
    Protocol protocol;
    CxProgressInfo progress;
    progress.cancel();
    int bitDepth = -77;
    ep::ExImageDataType type = ep::DataTypeUInt64;
    const QString dir = m_folder->path();
    QCOMPARE(orn::GetColorBitDepthFromDir(dir, dumpNames, nullptr, &type, &protocol, &progress), 0xA0004315u);
    QCOMPARE(orn::GetColorBitDepthFromDir(dir, dumpNames, &bitDepth, nullptr, &protocol, &progress), 0xA0004316u);
    QCOMPARE(orn::GetColorBitDepthFromDir(dir, dumpNames, nullptr, nullptr, &protocol, &progress), 0xA0004315u);
    QCOMPARE(bitDepth, -77);
    QCOMPARE(type, ep::DataTypeUInt64);
    QVERIFY(protocol.isEmpty());
    QVERIFY(progress.isCanceled());
}

void GetColorBitDepthFromDirTest::nothingToScan_data()
{
    QTest::addColumn<QString>("dir");
    QTest::newRow("an empty folder") << QString();
    QTest::newRow("no file that matches") << QStringLiteral("others");
    QTest::newRow("a folder that does not exist") << QStringLiteral("missing");
    QTest::newRow("a file in place of a folder") << QStringLiteral("others/file");
}

void GetColorBitDepthFromDirTest::nothingToScan()
{
    QFETCH(QString, dir);
    if (dir.startsWith(QLatin1String("others"))) {
        QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("others")));
        QVERIFY(writeFile(path(QStringLiteral("others/file")), "x"));
    }
    Scan scan;
    scan.progress.cancel();
    QSignalSpy updated(&scan.progress, &CxProgressInfo::updated);
    scan.run(path(dir));
    QCOMPARE(scan.result, 0xA0000000u);
    QCOMPARE(scan.bitDepth, 0);
    QCOMPARE(scan.dataType, ep::DataTypeUInt64);
    QVERIFY(scan.protocol.isEmpty());
    QCOMPARE(updated.size(), 0);
    QVERIFY(scan.progress.isCanceled());
}

void GetColorBitDepthFromDirTest::twelveReadableFiles()
{
    QVERIFY(writeDumps(*m_folder, 12));
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, 12);
    QCOMPARE(scan.dataType, ep::DataTypeUInt16);
    QCOMPARE(scan.messages(), (QStringList{filesChecked(0, 12), filesChecked(10, 12), filesChecked(12, 12), scanDone}));
}

void GetColorBitDepthFromDirTest::messagesComeEveryTenFiles_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("one file") << 1;
    QTest::newRow("nine files") << 9;
    QTest::newRow("ten files: the last message says ten once") << 10;
    QTest::newRow("eleven files") << 11;
    QTest::newRow("thirty files") << 30;
    QTest::newRow("many files, in digits without groups") << 1100;
}

void GetColorBitDepthFromDirTest::messagesComeEveryTenFiles()
{
    QFETCH(int, count);
    QVERIFY(writeDumps(*m_folder, count));
    QStringList expected;
    for (int i = 0; i < count; i += 10)
        expected << filesChecked(i, count);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.messages(), expected << filesChecked(count, count) << scanDone);
    QCOMPARE(openedDumps(), count);
}

void GetColorBitDepthFromDirTest::firstOfEqualDepthSaysTheType_data()
{
    QTest::addColumn<QList<int>>("depths");
    QTest::addColumn<int>("deepest");  // place in the list of the file that decides
    QTest::newRow("8, 12, 12: the second") << QList<int>{8, 12, 12} << 1;
    QTest::newRow("12, 8, 12: the first") << QList<int>{12, 8, 12} << 0;
    QTest::newRow("8, 12, 16: the last") << QList<int>{8, 12, 16} << 2;
    QTest::newRow("all the same: the first") << QList<int>{10, 10, 10} << 0;
}

void GetColorBitDepthFromDirTest::firstOfEqualDepthSaysTheType()
{
    QFETCH(QList<int>, depths);
    QFETCH(int, deepest);
    const ep::ExImageDataType types[] = {ep::DataTypeUInt16, ep::DataTypeInt16, ep::DataTypeUInt32};
    // The order is the file system's: which file is which is known only when all are there.
    QVERIFY(writeDumps(*m_folder, 3));
    const QStringList names = listedDumps(m_folder->path());
    QCOMPARE(names.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QFile file(path(names[i]));
        QVERIFY(writeDump(path(QStringLiteral("spare")), types[i], depths[i]));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(readFile(path(QStringLiteral("spare"))));
    }
    QCOMPARE(listedDumps(m_folder->path()), names);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, depths[deepest]);
    QCOMPARE(scan.dataType, types[deepest]);
}

void GetColorBitDepthFromDirTest::unreadableFilesAreNamedAndCounted()
{
    QVERIFY(writeDumps(*m_folder, 10));
    QVERIFY(writeFile(path(QStringLiteral("broken %1.dump")), "no dump"));
    QVERIFY(writeFile(path(QStringLiteral("empty.dump")), QByteArray()));
    QStringList expected;
    const QStringList names = listedDumps(m_folder->path());
    for (int i = 0; i < names.size(); ++i) {
        if (i % 10 == 0)
            expected << filesChecked(i, 12);
        if (names[i].startsWith(QLatin1Char('b')) || names[i].startsWith(QLatin1Char('e')))
            expected << failedToRead(names[i]);
    }
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, 12);
    QCOMPARE(scan.messages(), expected << filesChecked(12, 12) << scanDone);
}

void GetColorBitDepthFromDirTest::allFilesUnreadable()
{
    for (const char* name : {"a.dump", "b.dump", "c.dump"})
        QVERIFY(writeFile(path(QLatin1String(name)), "no dump"));
    QStringList expected{filesChecked(0, 3)};
    for (const QString& name : listedDumps(m_folder->path()))
        expected << failedToRead(name);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0xA0000000u);
    QCOMPARE(scan.bitDepth, 0);
    QCOMPARE(scan.dataType, ep::DataTypeNone);
    QCOMPARE(scan.messages(), expected << filesChecked(3, 3) << scanDone);
}

void GetColorBitDepthFromDirTest::fileWithoutPermissionIsUnreadable()
{
    QVERIFY(writeDump(path(QStringLiteral("locked.dump")), ep::DataTypeUInt32, 30));
    QVERIFY(QFile::setPermissions(path(QStringLiteral("locked.dump")), {}));
    QVERIFY(writeDump(path(QStringLiteral("open.dump"))));
    QVERIFY(QFile::setPermissions(path(QStringLiteral("open.dump")),
                                  QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    Scan scan;
    {
        const WithoutPrivileges nobody(m_folder->path());
        scan.run(m_folder->path());
    }
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, 12);
    QVERIFY(scan.messages().contains(failedToRead(QStringLiteral("locked.dump"))));
}

void GetColorBitDepthFromDirTest::onlyPlainFilesThatMatch()
{
    QVERIFY(writeDump(path(QStringLiteral("seen.dump"))));
    QVERIFY(writeDump(path(QStringLiteral("SEEN.DUMP")), ep::DataTypeUInt16, 13));
    QVERIFY(writeDump(path(QStringLiteral(".hidden.dump")), ep::DataTypeUInt16, 16));
    QVERIFY(writeDump(path(QStringLiteral("other")), ep::DataTypeUInt16, 16));
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("folder.dump")));
    QVERIFY(writeDump(path(QStringLiteral("folder.dump/inside.dump")), ep::DataTypeUInt16, 16));
    QCOMPARE(::mkfifo(qPrintable(path(QStringLiteral("pipe.dump"))), 0600), 0);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.bitDepth, 13);
    QCOMPARE(scan.messages(), (QStringList{filesChecked(0, 2), filesChecked(2, 2), scanDone}));
    Scan noFilter;
    noFilter.run(m_folder->path(), {});
    QVERIFY(noFilter.messages().contains(filesChecked(3, 3)));
}

void GetColorBitDepthFromDirTest::reportingObjectsMayBeNull()
{
    QVERIFY(writeDumps(*m_folder, 11));
    QVERIFY(writeFile(path(QStringLiteral("broken.dump")), "no dump"));
    int bitDepth = -77;
    ep::ExImageDataType type = ep::DataTypeNone;
    QCOMPARE(orn::GetColorBitDepthFromDir(m_folder->path(), dumpNames, &bitDepth, &type, nullptr, nullptr), 0u);
    QCOMPARE(bitDepth, 12);
    QCOMPARE(type, ep::DataTypeUInt16);
}

void GetColorBitDepthFromDirTest::folderNames_data()
{
    QTest::addColumn<QString>("dir");
    QTest::newRow("without a separator at the end") << QStringLiteral("@/a/b");
    QTest::newRow("with one") << QStringLiteral("@/a/b/");
    QTest::newRow("with two") << QStringLiteral("@/a//b//");
    QTest::newRow("by way of another") << QStringLiteral("@/a/../a/./b");
    QTest::newRow("from the current folder") << QStringLiteral("a/b");
    QTest::newRow("empty: the current folder") << QString();
}

void GetColorBitDepthFromDirTest::folderNames()
{
    QFETCH(QString, dir);
    QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("a/b")));
    QVERIFY(writeDump(path(QStringLiteral("a/b/x.dump"))));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(dir.isEmpty() ? path(QStringLiteral("a/b")) : m_folder->path()));
    Scan scan;
    scan.run(dir.replace(QLatin1Char('@'), m_folder->path()));
    QDir::setCurrent(before);
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.messages(), (QStringList{filesChecked(0, 1), filesChecked(1, 1), scanDone}));
}

void GetColorBitDepthFromDirTest::aBackslashGetsNoSeparator()
{
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("x\\")));
    QVERIFY(writeDump(path(QStringLiteral("x\\/listed.dump")), ep::DataTypeUInt16, 16));
    Scan missing;
    missing.run(path(QStringLiteral("x\\")));
    QCOMPARE(missing.result, 0xA0000000u);
    QCOMPARE(missing.messages(), (QStringList{filesChecked(0, 1), failedToRead(QStringLiteral("listed.dump")),
                                              filesChecked(1, 1), scanDone}));
    // The listed name is looked for beside the folder, as the end of a longer name.
    QVERIFY(writeDump(path(QStringLiteral("x\\listed.dump")), ep::DataTypeUInt16, 9));
    Scan found;
    found.run(path(QStringLiteral("x\\")));
    QCOMPARE(found.result, 0u);
    QCOMPARE(found.bitDepth, 9);
}

QTEST_GUILESS_MAIN(GetColorBitDepthFromDirTest)
#include "GetColorBitDepthFromDirTest.moc"
