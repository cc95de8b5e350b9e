#include "InterruptHandler.h"
#include "Cancellation.h"

#include "Program.h"

#include <QtTest>

#include <atomic>
#include <csignal>

using namespace testing;

namespace {

/** Waits for interrupts as a long command does, sends itself some, and exits with the number of calls. */
int work(const QByteArray& kind)
{
    endCleanlyOnSignals();
    std::atomic<int> calls{0};
    const auto interrupt = [](int signal) { ::kill(::getpid(), signal); };
    const auto wait = [&](int wanted) {
        while (calls < wanted)
            QTest::qSleep(1);
    };
    if (kind == "first") {
        const InterruptHandler handler([&] { ++calls; });
        interrupt(SIGTERM);
        wait(1);
    } else if (kind == "second") {
        const InterruptHandler handler([&] { ++calls; });
        interrupt(SIGHUP);
        wait(1);
        interrupt(SIGINT);
        QTest::qSleep(60000);
    } else if (kind == "after") {
        {
            const InterruptHandler handler([&] { ++calls; });
        }
        interrupt(SIGINT);
        QTest::qSleep(60000);
    } else if (kind == "two objects") {
        for (int i = 1; i < 3; ++i) {
            const InterruptHandler handler([&] { ++calls; });
            interrupt(SIGINT);
            wait(i);
        }
    } else if (kind == "slow") {
        std::atomic<bool> hasBegun{false};
        {
            const InterruptHandler handler([&] {
                hasBegun = true;
                QTest::qSleep(300);
                ++calls;
            });
            interrupt(SIGINT);
            while (!hasBegun)
                QTest::qSleep(1);
        }
        return calls;
    }
    return calls;
}

}  // namespace

class InterruptHandlerTest : public QObject {
    Q_OBJECT
private slots:
    void takesTheFirstInterrupt_data();
    void takesTheFirstInterrupt();
};

void InterruptHandlerTest::takesTheFirstInterrupt_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("code");
    QTest::newRow("the first calls the function") << "first" << 1;
    QTest::newRow("the second ends the program") << "second" << 130;
    QTest::newRow("one after the object ends the program") << "after" << 130;
    QTest::newRow("each object takes one") << "two objects" << 2;
    QTest::newRow("the object waits for its function") << "slow" << 1;
}

void InterruptHandlerTest::takesTheFirstInterrupt()
{
    QFETCH(QString, kind);
    QFETCH(int, code);
    const ProgramRun run = runProgram(QCoreApplication::applicationFilePath(), {QStringLiteral("--work"), kind});
    QCOMPARE(run.code, code);
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--work") == 0)
        return work(argv[2]);
    const QCoreApplication application(argc, argv);
    InterruptHandlerTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "InterruptHandlerTest.moc"
