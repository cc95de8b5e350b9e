#include "ProgressDisplay.h"
#include "Output.h"

#include "StandardErrorCapture.h"
#include "Terminal.h"

#include <QtTest>

#include <thread>
#include <vector>

using namespace testing;

class ProgressDisplayTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void theLineFits_data();
    void theLineFits();
    void noWidthIsExceeded();
    void withoutATerminalALineEveryTenFiles_data();
    void withoutATerminalALineEveryTenFiles();
    void quietSaysNothing();
    void theBarIsDrawnAndGoesAway();
    void messagesStayWholeAboveTheBar();
    void theBarIsDrawnTenTimesASecondAtMost();
    void aTerminalThatCannotReplaceALineGetsLines_data();
    void aTerminalThatCannotReplaceALineGetsLines();
};

void ProgressDisplayTest::init()
{
    qunsetenv("NO_COLOR");
    qputenv("TERM", "xterm");
}

void ProgressDisplayTest::theLineFits_data()
{
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("done");
    QTest::addColumn<double>("secondsLeft");
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("line");
    const auto row = [](const char* name, int total, int done, double seconds, int width, const char* line) {
        QTest::newRow(name) << total << done << seconds << width << QString::fromUtf8(line);
    };
    row("a usual terminal", 500, 170, 83, 80,
        "[######--------------]   34 %  170 of 500  1:23 left  a picture 大きさ.dng");
    row("nothing is done", 500, 0, -1, 80, "[--------------------]    0 %  0 of 500  a picture 大きさ.dng");
    row("all is done", 500, 500, 0, 80, "[####################]  100 %  500 of 500  0:00 left  a picture 大きさ.dng");
    row("almost all is done", 500, 499, 0.4, 58, "[###################-]   99 %  499 of 500  0:00 left");
    row("hours are left", 500, 170, 7385, 60, "[######--------------]   34 %  170 of 500  2:03:05 left");
    row("wide characters take two columns", 500, 170, 83, 68,
        "[######--------------]   34 %  170 of 500  1:23 left  a picture 大…");
    row("the text is cut", 500, 170, 83, 61, "[######--------------]   34 %  170 of 500  1:23 left  a pict…");
    row("the bar is short", 500, 170, 83, 40, "[##------]   34 %  170 of 500  1:23 left");
    row("no bar", 500, 170, 83, 37, " 34 %  170 of 500  1:23 left  a pict…");
    row("no time", 500, 170, 83, 26, " 34 %  170 of 500  a pict…");
    row("hardly any room", 500, 170, 83, 8, " 34 %  1");
    row("no room", 500, 170, 83, 0, "");
    row("the total is not known", 0, 170, -1, 80, "170  a picture 大きさ.dng");
}

void ProgressDisplayTest::theLineFits()
{
    QFETCH(int, total);
    QFETCH(int, done);
    QFETCH(double, secondsLeft);
    QFETCH(int, width);
    QFETCH(QString, line);
    const ProgressState state{total, done, QString::fromUtf8("a picture 大きさ.dng"), secondsLeft};
    QCOMPARE(progressLine(state, width), line);
}

void ProgressDisplayTest::noWidthIsExceeded()
{
    const ProgressState state{123456, 12345, QString(300, QChar(0x5927)), 1e9};
    for (int width = 0; width < 200; ++width) {
        int columns = 0;
        for (uint character : progressLine(state, width).toUcs4())
            columns += wcwidth(static_cast<wchar_t>(character));
        QVERIFY2(columns <= width && columns >= width - 40, qPrintable(QString::number(width)));
    }
}

void ProgressDisplayTest::withoutATerminalALineEveryTenFiles_data()
{
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("done");
    QTest::addColumn<QString>("lines");
    QTest::newRow("25 of 25") << 25 << 25 << "orn: 10 of 25 files\norn: 20 of 25 files\norn: 25 of 25 files\n";
    QTest::newRow("20 of 20") << 20 << 20 << "orn: 10 of 20 files\norn: 20 of 20 files\n";
    QTest::newRow("ended after 13") << 20 << 13 << "orn: 10 of 20 files\norn: 13 of 20 files\n";
    QTest::newRow("3 of 3") << 3 << 3 << "orn: 3 of 3 files\n";
    QTest::newRow("nothing") << 0 << 0 << "";
}

void ProgressDisplayTest::withoutATerminalALineEveryTenFiles()
{
    QFETCH(int, total);
    QFETCH(int, done);
    QFETCH(QString, lines);
    StandardErrorCapture capture;
    {
        Output output;
        ProgressDisplay display(output, total);
        for (int i = 0; i < done; ++i)
            display.addDone();
    }
    QCOMPARE(QString::fromUtf8(capture.text()), lines);
}

void ProgressDisplayTest::quietSaysNothing()
{
    StandardErrorTerminal terminal(80);
    {
        Output output;
        ProgressDisplay display(output, 20, true);
        for (int i = 0; i < 20; ++i)
            display.addDone();
        QTest::qSleep(150);
    }
    QCOMPARE(terminal.taken(), QByteArray());
}

void ProgressDisplayTest::theBarIsDrawnAndGoesAway()
{
    StandardErrorTerminal terminal(80);
    {
        Output output;
        ProgressDisplay display(output, 4);
        display.setDone(2);
        display.setCurrent(QStringLiteral("photo.dng"));
        QTest::qSleep(300);
    }
    const QByteArray bytes = terminal.taken();
    QVERIFY2(bytes.contains(" 50 %  2 of 4  0:00 left  photo"), bytes);
    QCOMPARE(linesSeen(bytes), QStringList{QString()});
}

void ProgressDisplayTest::messagesStayWholeAboveTheBar()
{
    constexpr int threads = 4;
    constexpr int files = 50;
    StandardErrorTerminal terminal(80);
    {
        Output output;
        ProgressDisplay display(output, threads * files);
        std::vector<std::thread> workers;
        for (int worker = 0; worker < threads; ++worker)
            workers.emplace_back([&, worker] {
                for (int i = 0; i < files; ++i) {
                    const QString file = QStringLiteral("%1-%2.dng").arg(worker).arg(i);
                    display.setCurrent(file);
                    output.problem(file, QStringLiteral("it is broken"));
                    display.addDone();
                    QTest::qSleep(5);
                }
            });
        for (std::thread& worker : workers)
            worker.join();
    }
    const QByteArray bytes = terminal.taken();
    QStringList seen = linesSeen(bytes);
    for (QString& line : seen)
        line.remove(QLatin1Char('\r'));
    QCOMPARE(seen.size(), threads * files + 1);
    for (int worker = 0; worker < threads; ++worker)
        for (int i = 0; i < files; ++i)
            QVERIFY(seen.contains(QStringLiteral("orn: %1-%2.dng: it is broken").arg(worker).arg(i)));
    QVERIFY2(bytes.contains(" of 200  "), bytes);
}

void ProgressDisplayTest::theBarIsDrawnTenTimesASecondAtMost()
{
    StandardErrorTerminal terminal(80);
    QElapsedTimer timer;
    timer.start();
    {
        Output output;
        ProgressDisplay display(output, 100000);
        for (int i = 0; i < 100000; ++i)
            display.addDone();
        QTest::qSleep(500);
    }
    const int bars = terminal.taken().count('[') - 1;  // every bar but the first follows an erased one
    const qint64 most = timer.elapsed() / 100 + 2;
    QVERIFY2(bars >= 1 && bars / 2 <= most, qPrintable(QStringLiteral("%1 > %2").arg(bars).arg(most)));
}

void ProgressDisplayTest::aTerminalThatCannotReplaceALineGetsLines_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("NO_COLOR") << QByteArray("NO_COLOR") << QByteArray("1");
    QTest::newRow("a dumb one") << QByteArray("TERM") << QByteArray("dumb");
}

void ProgressDisplayTest::aTerminalThatCannotReplaceALineGetsLines()
{
    QFETCH(QByteArray, variable);
    QFETCH(QByteArray, value);
    qputenv(variable, value);
    StandardErrorTerminal terminal(80);
    {
        Output output;
        ProgressDisplay display(output, 2);
        display.setDone(2);
        QTest::qSleep(150);
    }
    QCOMPARE(terminal.taken(), QByteArray("orn: 2 of 2 files\r\n"));
}

QTEST_GUILESS_MAIN(ProgressDisplayTest)
#include "ProgressDisplayTest.moc"
