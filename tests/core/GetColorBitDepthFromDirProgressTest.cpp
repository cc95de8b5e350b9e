// What a scan tells while it runs, and how it stops.

#include <orn/GetColorBitDepthFromDir.h>

#include "DumpScan.h"

#include <QtTest>

#include <memory>

using namespace testing;
using orn::CxProgressInfo;

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

class GetColorBitDepthFromDirProgressTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { registerLoader<DumpReader>(); }
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void canceledBeforeTheFirstFile();
    void anEarlierCancellationIsForgotten();
    void canceledInTheMiddle();
    void progressAdvancesWithEveryFile_data();
    void progressAdvancesWithEveryFile();

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_folder;
};

void GetColorBitDepthFromDirProgressTest::canceledBeforeTheFirstFile()
{
    QVERIFY(writeDumps(*m_folder, 12));
    Scan scan;
    // The scan's own reset comes first, so it is the earliest moment.
    connect(&scan.progress, &CxProgressInfo::updated, &scan.progress, &CxProgressInfo::cancel);
    scan.run(m_folder->path());
    QCOMPARE(openedDumps(), 0);
    QCOMPARE(scan.result, 0xA0000000u);
    QCOMPARE(scan.bitDepth, 0);
    QCOMPARE(scan.dataType, ep::DataTypeNone);
    QCOMPARE(scan.messages(), (QStringList{filesChecked(12, 12), scanDone}));
}

void GetColorBitDepthFromDirProgressTest::anEarlierCancellationIsForgotten()
{
    QVERIFY(writeDumps(*m_folder, 2));
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

void GetColorBitDepthFromDirProgressTest::canceledInTheMiddle()
{
    QVERIFY(writeDumps(*m_folder, 25));
    const QStringList names = listedDumps(m_folder->path());
    QVERIFY(writeDump(path(names[13]), ep::DataTypeUInt16, 15));  // read before the scan stops
    QVERIFY(writeDump(path(names[20]), ep::DataTypeUInt16, 16));  // not read any more
    if (listedDumps(m_folder->path()) != names)
        QSKIP("this file system changes the order when a file is replaced");
    Scan scan;
    connect(&scan.progress, &CxProgressInfo::updated, &scan.progress, [&] {
        if (openedDumps() == 17)
            scan.progress.cancel();
    });
    scan.run(m_folder->path());
    QCOMPARE(openedDumps(), 17);
    QCOMPARE(scan.result, 0xA0000000u);
    QCOMPARE(scan.bitDepth, 15);
    QCOMPARE(scan.dataType, ep::DataTypeUInt16);
    // The last count is that of all files although not all were checked.
    QCOMPARE(scan.messages(), (QStringList{filesChecked(0, 25), filesChecked(10, 25), filesChecked(25, 25), scanDone}));
}

void GetColorBitDepthFromDirProgressTest::progressAdvancesWithEveryFile_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("one file") << 1;
    QTest::newRow("three files") << 3;
    QTest::newRow("seven files, one unreadable") << 7;
    QTest::newRow("49 files, whose shares do not add up to 100 exactly") << 49;
}

void GetColorBitDepthFromDirProgressTest::progressAdvancesWithEveryFile()
{
    QFETCH(int, count);
    QVERIFY(writeDumps(*m_folder, count));
    if (count == 7)
        QVERIFY(writeFile(path(QStringLiteral("3.dump")), "no dump"));
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

QTEST_GUILESS_MAIN(GetColorBitDepthFromDirProgressTest)
#include "GetColorBitDepthFromDirProgressTest.moc"
