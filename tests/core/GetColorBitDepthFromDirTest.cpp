#include <orn/GetColorBitDepthFromDir.h>

#include "DumpFormat.h"
#include "Files.h"
#include "TestImages.h"
#include "WithoutPrivileges.h"

#include <orn/CxProgressInfo.h>
#include <orn/Protocol.h>

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

using orn::CxProgressInfo;
using orn::Protocol;

/** Reads dumps, and counts how many files it was given. */
class DumpReader : public testing::DumpLoader {
    Q_OBJECT
public:
    Q_INVOKABLE DumpReader() = default;
    bool open() override
    {
        ++s_opened;
        return DumpLoader::open();
    }
    QList<QPair<QString, int>> formats() const override { return {{QStringLiteral("Dump (*.dump)"), 1}}; }

    static inline int s_opened = 0;
};

namespace {

const QStringList dumps{QStringLiteral("*.dump")};

QString checked(int done, int count)
{
    return QStringLiteral("%1 of %2 files checked.").arg(done).arg(count);
}

QString failedToRead(const QString& name)
{
    return QStringLiteral("Failed to read %1.").arg(name);
}

const QString done = QStringLiteral("Done.");

/** The lines of a protocol without their stamps. */
QStringList messagesOf(Protocol& protocol)
{
    QStringList messages;
    for (const QString& line : protocol.getProtocol())
        messages << line.section(QStringLiteral("]: "), 1);
    return messages;
}

/** The files of @p dir in the order in which they are scanned. */
QStringList listed(const QString& dir)
{
    return QDir(dir).entryList(dumps, QDir::Files, QDir::NoSort);
}

/** A dump of an image of such samples. */
bool writeDump(const QString& path, ep::ExImageDataType type, int depth)
{
    ep::CxScopedBuffer image = testing::randomImage(testing::describe(type, 4, 3));
    image->bitDepth = depth;
    const ep::SxImageInfo& info = image.image();
    return testing::writeFile(path,
                              QByteArray(reinterpret_cast<const char*>(&info), sizeof(info))
                                  + QByteArray(static_cast<const char*>(image->data), int(testing::dumpedBytes(info))));
}

/** One scan with everything that it reports. */
struct Scan {
    Protocol protocol;
    CxProgressInfo progress;
    int bitDepth = -77;
    ep::ExImageDataType dataType = ep::DataTypeUInt64;
    unsigned int result = 1;

    void run(const QString& dir, const QStringList& filters = dumps)
    {
        DumpReader::s_opened = 0;
        result = orn::GetColorBitDepthFromDir(dir, filters, &bitDepth, &dataType, &protocol, &progress);
    }
    QStringList messages() { return messagesOf(protocol); }
};

}  // namespace

class GetColorBitDepthFromDirTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { testing::registerLoader<DumpReader>(); }
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
    void canceledBeforeTheFirstFile();
    void anEarlierCancellationIsForgotten();
    void canceledInTheMiddle();
    void progressAdvancesWithEveryFile_data();
    void progressAdvancesWithEveryFile();
    void reportingObjectsMayBeNull();
    void folderNames_data();
    void folderNames();
    void aBackslashGetsNoSeparator();

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }
    bool add(const QString& name, ep::ExImageDataType type = ep::DataTypeUInt16, int depth = 12) const
    {
        return writeDump(path(name), type, depth);
    }
    bool addMany(int count) const
    {
        for (int i = 0; i < count; ++i)
            if (!add(QStringLiteral("%1.dump").arg(i)))
                return false;
        return true;
    }
    std::unique_ptr<QTemporaryDir> m_folder;
};

void GetColorBitDepthFromDirTest::nullPointersAreRefused()
{
    QVERIFY(add(QStringLiteral("a.dump")));
    Protocol protocol;
    CxProgressInfo progress;
    progress.cancel();
    int bitDepth = -77;
    ep::ExImageDataType type = ep::DataTypeUInt64;
    const QString dir = m_folder->path();
    QCOMPARE(orn::GetColorBitDepthFromDir(dir, dumps, nullptr, &type, &protocol, &progress), 0xA0004315u);
    QCOMPARE(orn::GetColorBitDepthFromDir(dir, dumps, &bitDepth, nullptr, &protocol, &progress), 0xA0004316u);
    QCOMPARE(orn::GetColorBitDepthFromDir(dir, dumps, nullptr, nullptr, &protocol, &progress), 0xA0004315u);
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
        QVERIFY(testing::writeFile(path(QStringLiteral("others/file")), "x"));
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
    QVERIFY(addMany(12));
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, 12);
    QCOMPARE(scan.dataType, ep::DataTypeUInt16);
    QCOMPARE(scan.messages(), (QStringList{checked(0, 12), checked(10, 12), checked(12, 12), done}));
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
    QVERIFY(addMany(count));
    QStringList expected;
    for (int i = 0; i < count; i += 10)
        expected << checked(i, count);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.messages(), expected << checked(count, count) << done);
    QCOMPARE(DumpReader::s_opened, count);
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
    QVERIFY(addMany(3));
    const QStringList names = listed(m_folder->path());
    QCOMPARE(names.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QFile file(path(names[i]));
        QVERIFY(writeDump(path(QStringLiteral("spare")), types[i], depths[i]));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(testing::readFile(path(QStringLiteral("spare"))));
    }
    QCOMPARE(listed(m_folder->path()), names);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, depths[deepest]);
    QCOMPARE(scan.dataType, types[deepest]);
}

void GetColorBitDepthFromDirTest::unreadableFilesAreNamedAndCounted()
{
    QVERIFY(addMany(10));
    QVERIFY(testing::writeFile(path(QStringLiteral("broken %1.dump")), "no dump"));
    QVERIFY(testing::writeFile(path(QStringLiteral("empty.dump")), QByteArray()));
    QStringList expected;
    const QStringList names = listed(m_folder->path());
    for (int i = 0; i < names.size(); ++i) {
        if (i % 10 == 0)
            expected << checked(i, 12);
        if (names[i].startsWith(QLatin1Char('b')) || names[i].startsWith(QLatin1Char('e')))
            expected << failedToRead(names[i]);
    }
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, 12);
    QCOMPARE(scan.messages(), expected << checked(12, 12) << done);
}

void GetColorBitDepthFromDirTest::allFilesUnreadable()
{
    for (const char* name : {"a.dump", "b.dump", "c.dump"})
        QVERIFY(testing::writeFile(path(QLatin1String(name)), "no dump"));
    QStringList expected{checked(0, 3)};
    for (const QString& name : listed(m_folder->path()))
        expected << failedToRead(name);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0xA0000000u);
    QCOMPARE(scan.bitDepth, 0);
    QCOMPARE(scan.dataType, ep::DataTypeNone);
    QCOMPARE(scan.messages(), expected << checked(3, 3) << done);
}

void GetColorBitDepthFromDirTest::fileWithoutPermissionIsUnreadable()
{
    QVERIFY(add(QStringLiteral("locked.dump"), ep::DataTypeUInt32, 30));
    QVERIFY(QFile::setPermissions(path(QStringLiteral("locked.dump")), {}));
    QVERIFY(add(QStringLiteral("open.dump")));
    QVERIFY(QFile::setPermissions(path(QStringLiteral("open.dump")),
                                  QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    Scan scan;
    {
        const testing::WithoutPrivileges nobody(m_folder->path());
        scan.run(m_folder->path());
    }
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.bitDepth, 12);
    QVERIFY(scan.messages().contains(failedToRead(QStringLiteral("locked.dump"))));
}

void GetColorBitDepthFromDirTest::onlyPlainFilesThatMatch()
{
    QVERIFY(add(QStringLiteral("seen.dump")));
    QVERIFY(add(QStringLiteral("SEEN.DUMP"), ep::DataTypeUInt16, 13));
    QVERIFY(add(QStringLiteral(".hidden.dump"), ep::DataTypeUInt16, 16));
    QVERIFY(add(QStringLiteral("other"), ep::DataTypeUInt16, 16));
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("folder.dump")));
    QVERIFY(add(QStringLiteral("folder.dump/inside.dump"), ep::DataTypeUInt16, 16));
    QCOMPARE(::mkfifo(qPrintable(path(QStringLiteral("pipe.dump"))), 0600), 0);
    Scan scan;
    scan.run(m_folder->path());
    QCOMPARE(scan.bitDepth, 13);
    QCOMPARE(scan.messages(), (QStringList{checked(0, 2), checked(2, 2), done}));
    Scan noFilter;
    noFilter.run(m_folder->path(), {});
    QVERIFY(noFilter.messages().contains(checked(3, 3)));
}

void GetColorBitDepthFromDirTest::canceledBeforeTheFirstFile()
{
    QVERIFY(addMany(12));
    Scan scan;
    // The scan's own reset comes first, so it is the earliest moment.
    connect(&scan.progress, &CxProgressInfo::updated, &scan.progress, &CxProgressInfo::cancel);
    scan.run(m_folder->path());
    QCOMPARE(DumpReader::s_opened, 0);
    QCOMPARE(scan.result, 0xA0000000u);
    QCOMPARE(scan.bitDepth, 0);
    QCOMPARE(scan.dataType, ep::DataTypeNone);
    QCOMPARE(scan.messages(), (QStringList{checked(12, 12), done}));
}

void GetColorBitDepthFromDirTest::anEarlierCancellationIsForgotten()
{
    QVERIFY(addMany(2));
    Scan scan;
    scan.progress.cancel();
    scan.progress.setTaskRatio(0.5);
    scan.run(m_folder->path());
    QCOMPARE(scan.result, 0u);
    QVERIFY(!scan.progress.isCanceled());
    scan.progress.setTotalProgress(0, QString());
    scan.progress.setTaskProgress(40, QString());
    double total = 0;
    double task = 0;
    QString text;
    scan.progress.getInfo(total, text, task, text);
    QCOMPARE(total, 40.0);  // the ratio is 1 again
}

void GetColorBitDepthFromDirTest::canceledInTheMiddle()
{
    QVERIFY(addMany(25));
    const QStringList names = listed(m_folder->path());
    QVERIFY(add(names[13], ep::DataTypeUInt16, 15));  // read before the scan stops
    QVERIFY(add(names[20], ep::DataTypeUInt16, 16));  // not read any more
    if (listed(m_folder->path()) != names)
        QSKIP("this file system changes the order when a file is replaced");
    Scan scan;
    connect(&scan.progress, &CxProgressInfo::updated, &scan.progress, [&] {
        if (DumpReader::s_opened == 17)
            scan.progress.cancel();
    });
    scan.run(m_folder->path());
    QCOMPARE(DumpReader::s_opened, 17);
    QCOMPARE(scan.result, 0xA0000000u);
    QCOMPARE(scan.bitDepth, 15);
    QCOMPARE(scan.dataType, ep::DataTypeUInt16);
    // The last count is that of all files although not all were checked.
    QCOMPARE(scan.messages(), (QStringList{checked(0, 25), checked(10, 25), checked(25, 25), done}));
}

void GetColorBitDepthFromDirTest::progressAdvancesWithEveryFile_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("one file") << 1;
    QTest::newRow("three files") << 3;
    QTest::newRow("seven files, one unreadable") << 7;
    QTest::newRow("49 files, whose shares do not add up to 100 exactly") << 49;
}

void GetColorBitDepthFromDirTest::progressAdvancesWithEveryFile()
{
    QFETCH(int, count);
    QVERIFY(addMany(count));
    if (count == 7)
        QVERIFY(testing::writeFile(path(QStringLiteral("3.dump")), "no dump"));
    QVector<double> expected{0.0};
    double accumulated = 0.0;
    for (int i = 0; i < count; ++i) {
        accumulated += 100.0 / count;
        expected << qMin(accumulated, 100.0);
    }
    Scan scan;
    QVector<double> totals;
    QStringList texts;
    connect(&scan.progress, &CxProgressInfo::updated, &scan.progress, [&] {
        double total = 0;
        double task = 0;
        QString totalMessage;
        QString taskMessage;
        scan.progress.getInfo(total, totalMessage, task, taskMessage);
        totals << total;
        texts << totalMessage;
    });
    scan.run(m_folder->path());
    QCOMPARE(totals.size(), expected.size());
    for (int i = 0; i < totals.size(); ++i)
        QVERIFY(totals[i] == expected[i]);
    QCOMPARE(texts.takeFirst(), QString());
    QCOMPARE(texts.count(QStringLiteral("Detecting color depth...")), count);
    QVERIFY(std::abs(totals.last() - 100) < 1e-9);
}

void GetColorBitDepthFromDirTest::reportingObjectsMayBeNull()
{
    QVERIFY(addMany(11));
    QVERIFY(testing::writeFile(path(QStringLiteral("broken.dump")), "no dump"));
    int bitDepth = -77;
    ep::ExImageDataType type = ep::DataTypeNone;
    QCOMPARE(orn::GetColorBitDepthFromDir(m_folder->path(), dumps, &bitDepth, &type, nullptr, nullptr), 0u);
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
    QVERIFY(add(QStringLiteral("a/b/x.dump")));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(dir.isEmpty() ? path(QStringLiteral("a/b")) : m_folder->path()));
    Scan scan;
    scan.run(dir.replace(QLatin1Char('@'), m_folder->path()));
    QDir::setCurrent(before);
    QCOMPARE(scan.result, 0u);
    QCOMPARE(scan.messages(), (QStringList{checked(0, 1), checked(1, 1), done}));
}

void GetColorBitDepthFromDirTest::aBackslashGetsNoSeparator()
{
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("x\\")));
    QVERIFY(add(QStringLiteral("x\\/listed.dump"), ep::DataTypeUInt16, 16));
    Scan missing;
    missing.run(path(QStringLiteral("x\\")));
    QCOMPARE(missing.result, 0xA0000000u);
    QCOMPARE(missing.messages(),
             (QStringList{checked(0, 1), failedToRead(QStringLiteral("listed.dump")), checked(1, 1), done}));
    // The listed name is looked for beside the folder, as the end of a longer name.
    QVERIFY(add(QStringLiteral("x\\listed.dump"), ep::DataTypeUInt16, 9));
    Scan found;
    found.run(path(QStringLiteral("x\\")));
    QCOMPARE(found.result, 0u);
    QCOMPARE(found.bitDepth, 9);
}

QTEST_GUILESS_MAIN(GetColorBitDepthFromDirTest)
#include "GetColorBitDepthFromDirTest.moc"
