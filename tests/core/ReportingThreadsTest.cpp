// Many threads use one protocol and one progress record at once, with slots that call back.

#include <orn/CxProgressInfo.h>
#include <orn/Protocol.h>

#include "Files.h"
#include "Threads.h"

#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <functional>

using orn::CxProgressInfo;
using orn::Protocol;

class ReportingThreadsTest : public QObject {
    Q_OBJECT

private:
    static constexpr int s_threadCount = 8;
    static constexpr int s_rounds = 300;

    /** Runs @p work(thread, round) for many rounds in several threads at once. */
    static void inThreads(const std::function<void(int thread, int round)>& work)
    {
        testing::failuresInThreads(s_threadCount, [&work](int thread) {
            for (int round = 0; round < s_rounds; ++round)
                work(thread, round);
            return true;
        });
    }

    /** True when @p line is a whole line "[...]: THREAD ROUND". */
    static bool isWhole(const QString& line)
    {
        static const QRegularExpression whole(QStringLiteral("^\\[[^\\]]+\\]: [0-7] \\d+$"));
        return whole.match(line).hasMatch();
    }
    static QString messageOf(int thread, int round) { return QStringLiteral("%1 %2").arg(thread).arg(round); }

private slots:
    void everyLineIsThereOnce();
    void linesAreWhole();
    void snapshotsAreOfOneMoment();
    void cancelIsSeen();
};

void ReportingThreadsTest::everyLineIsThereOnce()
{
    Protocol protocol;
    std::atomic<qint64> sumOfIndices{0};
    std::atomic<int> foreign{0};
    connect(
        &protocol, &Protocol::updated, &protocol,
        [&](int index) {
            sumOfIndices += index;
            if (!isWhole(protocol.getMessage(index)))
                ++foreign;
        },
        Qt::DirectConnection);
    inThreads([&](int thread, int round) { protocol.addMessage(messageOf(thread, round)); });
    constexpr qint64 count = s_threadCount * s_rounds;
    QCOMPARE(foreign, 0);
    QCOMPARE(sumOfIndices, count * (count - 1) / 2);  // each index was told once
    QStringList messages;
    for (const QString& line : protocol.getProtocol())
        messages << line.section(QStringLiteral("]: "), 1);
    QCOMPARE(messages.size(), int(count));
    QCOMPARE(messages.removeDuplicates(), 0);
    for (int thread = 0; thread < s_threadCount; ++thread)  // and each thread's in its order
        QVERIFY(messages.indexOf(messageOf(thread, 0)) < messages.indexOf(messageOf(thread, s_rounds - 1)));
}

void ReportingThreadsTest::linesAreWhole()
{
    const QTemporaryDir folder;
    Protocol protocol;
    std::atomic<int> broken{0};
    const auto check = [&broken](const QString& line) {
        if (!line.isEmpty() && !isWhole(line))
            ++broken;
    };
    connect(
        &protocol, &Protocol::updated, &protocol, [&](int index) { check(protocol.getMessage(index)); },
        Qt::DirectConnection);
    inThreads([&](int thread, int round) {
        const QString path = folder.filePath(QString::number(thread));
        switch ((thread + round) % s_threadCount) {
        case 0: check(protocol.getLastMessage()); break;
        case 1: check(protocol.getMessage(round % 20)); break;
        case 2: {
            for (const QString& line : protocol.getProtocol())
                check(line);
            break;
        }
        case 3: {
            if (!protocol.save(path))
                ++broken;
            for (const QByteArray& line : testing::readFile(path).split('\n'))
                check(QString::fromUtf8(line));
            break;
        }
        case 4: {
            if (round % 10 == 0)
                protocol.reset();
            break;
        }
        case 5: protocol.isEmpty(); break;
        default: protocol.addMessage(messageOf(thread, round)); break;
        }
    });
    QCOMPARE(broken, 0);
    QCOMPARE(protocol.isEmpty(), protocol.getProtocol().isEmpty());
}

void ReportingThreadsTest::snapshotsAreOfOneMoment()
{
    CxProgressInfo progress;
    std::atomic<int> torn{0};
    // Every writer sets values below 100 with texts that say them, so that a mixture is seen.
    const auto look = [&] {
        double total = 0;
        double task = 0;
        QString totalMessage;
        QString taskMessage;
        progress.getInfo(total, totalMessage, task, taskMessage);
        // What is no task's share is the total: the ratio is 1/2 at every moment, and halves are exact.
        if (total - task / 2 != totalMessage.toDouble() || task != taskMessage.toDouble())
            ++torn;
    };
    progress.setTaskRatio(0.5);
    connect(&progress, &CxProgressInfo::updated, &progress, look, Qt::DirectConnection);
    inThreads([&](int thread, int round) {
        const int value = (thread * s_rounds + round) % 99;
        switch ((thread + round) % s_threadCount) {
        case 0:
        case 1: progress.setTotalProgress(value, QString::number(value)); break;
        case 2:
        case 3: progress.setTaskProgress(value, QString::number(value)); break;
        case 4: progress.setTaskRatio(0.5); break;
        case 5: progress.reset(); break;
        default: look(); break;
        }
    });
    QCOMPARE(torn, 0);
}

void ReportingThreadsTest::cancelIsSeen()
{
    CxProgressInfo progress;
    std::atomic<int> canceled{0};
    std::atomic<int> calls{0};
    connect(
        &progress, &CxProgressInfo::canceled, &progress,
        [&] {
            ++canceled;
            progress.setTotalMessage(QStringLiteral("stopping"));
            progress.setTaskMessage(QStringLiteral("stopping"));
        },
        Qt::DirectConnection);
    inThreads([&](int thread, int round) {
        if (thread == 0 && round % 7 == 0)
            progress.reset();
        if (thread % 2 == 1) {
            progress.cancel();
            ++calls;
        } else {
            progress.isCanceled();
        }
    });
    QCOMPARE(canceled, calls);
    progress.cancel();
    QVERIFY(progress.isCanceled());
}

QTEST_GUILESS_MAIN(ReportingThreadsTest)
#include "ReportingThreadsTest.moc"
