#include "CameraImages.h"
#include "Program.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

/** What holds for every command: help, usage errors, streams, names. */
class CommandLineTest : public QObject {
    Q_OBJECT
private slots:
    void helpGivesExamples_data();
    void helpGivesExamples();
    void saysItsVersion();
    void refusesAWrongCommandLine_data();
    void refusesAWrongCommandLine();
    void takesEveryFileName_data();
    void takesEveryFileName();
    void takesANameInBracketsForOneName();
    void namesAreUtf8Everywhere_data();
    void namesAreUtf8Everywhere();
    void coloursOnATerminalOnly();
    void aReaderThatGoesAwayIsNoFailure();
    void aFullStandardOutputIsAFailure();
    void closedStreamsHarmNoFile();
    void controlCharactersDoNotReachTheTerminal();
};

void CommandLineTest::helpGivesExamples_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::newRow("orn") << QStringList();
    for (const char* command : {"info", "convert", "mat", "mat list", "plugins", "formats"})
        QTest::newRow(command) << QString::fromLatin1(command).split(QLatin1Char(' '));
}

void CommandLineTest::helpGivesExamples()
{
    QFETCH(QStringList, command);
    const ProgramRun run = runOrn(command + QStringList{QStringLiteral("--help")});
    QCOMPARE(run.code, 0);
    QVERIFY2(run.err.isEmpty(), run.all());
    const int examples = run.out.indexOf(QStringLiteral("Examples:"));
    QVERIFY2(examples > 0, run.all());
    const QString line = QStringLiteral("\n  orn ") + command.join(QLatin1Char(' '));
    QVERIFY2(run.out.indexOf(line, examples) > 0, run.all());
}

void CommandLineTest::saysItsVersion()
{
    const ProgramRun run = runOrn({QStringLiteral("--version")});
    QCOMPARE(run.code, 0);
    QVERIFY2(QRegularExpression(QStringLiteral("\\Aorn \\d+\\.\\d+\\.\\d+\n\\z")).match(run.out).hasMatch(), run.all());
    QVERIFY(run.err.isEmpty());
}

void CommandLineTest::refusesAWrongCommandLine_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("said");
    QTest::newRow("no command") << ""
                                << "a subcommand is missing; there are: info, convert, compare, ";
    QTest::newRow("an unknown command") << "develop a.dng"
                                        << "'develop' is no subcommand";
    QTest::newRow("an unknown option before the command") << "--verbose info a.dng"
                                                          << "--verbose";
    QTest::newRow("an option alone") << "--verbose"
                                     << "no option --verbose";
    QTest::newRow("an unknown option") << "info --verbose a.dng"
                                       << "--verbose";
    QTest::newRow("info without a file") << "info"
                                         << "FILE";
    QTest::newRow("convert without an output") << "convert a.dng"
                                               << "OUT";
    QTest::newRow("convert with a third file") << "convert a.dng b.mat c.mat"
                                               << "c.mat";
    QTest::newRow("mat without its command") << "mat"
                                             << "subcommand is missing; there are: list";
    QTest::newRow("mat with another command") << "mat show a.mat"
                                              << "'show' is no subcommand; there are: list";
    QTest::newRow("an option without its value") << "convert a.dng b.mat --name"
                                                 << "NAME missing";
    QTest::newRow("an unknown grid") << "convert --cfa RGBG a.dng b.mat"
                                     << "RGBG";
    QTest::newRow("an unknown compression") << "convert --compression zip a.dng b.tif"
                                            << "zip";
    QTest::newRow("compression of a MAT file") << "convert --compression deflate a.dng b.mat"
                                               << "MAT";
    QTest::newRow("a variable name outside MAT files") << "convert --name scene a.dng b.tif"
                                                       << "--name";
    QTest::newRow("a row order outside MAT files") << "convert --no-reverse-rows a.dng b.tif"
                                                   << "--no-reverse-rows";
    QTest::newRow("an entropy image outside MAT files") << "convert --entropy PIG a.dng b.tif"
                                                        << "--entropy";
    QTest::newRow("two base names") << "convert --entropy PIG --name scene a.dng b.mat"
                                    << "--name";
    QTest::newRow("a name that is none of MATLAB's") << "convert --name 7up a.dng b.mat"
                                                     << "7up";
    QTest::newRow("a prefix that is none of MATLAB's") << "convert --entropy a-b a.dng b.mat"
                                                       << "a-b";
    QTest::newRow("the name of entropy images") << "convert --name PIG a.dng b.mat"
                                                << "--entropy";
}

void CommandLineTest::refusesAWrongCommandLine()
{
    QFETCH(QString, arguments);
    QFETCH(QString, said);
    const ProgramRun run = runOrn(arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QCOMPARE(run.code, 2);
    QVERIFY2(run.out.isEmpty(), run.all());
    QVERIFY2(run.err.startsWith(QStringLiteral("orn: ")), run.all());
    QVERIFY2(run.err.section(QLatin1Char('\n'), 0, 0).contains(said), run.all());
    QVERIFY2(run.err.contains(QStringLiteral("--help")), run.all());
}

void CommandLineTest::takesEveryFileName_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"[a].tif", "[a,b].tif", "{a}.tif", "a,b.tif", "a b.tif", "'a'.tif", "a=b.tif", "-a.tif",
                             "--json.tif", "%d.tif", "info.tif", "*.tif"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void CommandLineTest::takesEveryFileName()
{
    QFETCH(QString, name);
    QTemporaryDir folder;
    const auto image = cameraMosaic(ep::BayerGridRGGB, 8, 6);
    QVERIFY(ep::CxImageFormatManager::saveImageToFile(folder.filePath(QStringLiteral("in.tif")), image.image(), nullptr,
                                                      nullptr, false, QString()));
    QVERIFY(QFile::rename(folder.filePath(QStringLiteral("in.tif")), folder.filePath(name)));
    const QString script =
        QStringLiteral("cd \"$1\" && \"$ORN\" info -- \"$2\" && exec \"$ORN\" convert -- \"$2\" out.mat");
    const ProgramRun run = runShell(script, {folder.path(), name});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QVERIFY2(run.out.contains(name + QStringLiteral(" -> out.mat: 8 x 6")), run.all());
}

void CommandLineTest::takesANameInBracketsForOneName()
{
    const ProgramRun run = runOrn({QStringLiteral("info"), QStringLiteral("[a,b]")});
    QCOMPARE(run.code, 3);
    QCOMPARE(run.err, QStringLiteral("orn: ./[a,b]: the file does not exist\n"));
}

void CommandLineTest::namesAreUtf8Everywhere_data()
{
    QTest::addColumn<QString>("locale");
    for (const char* locale : {"C", "POSIX", "C.UTF-8", "nowhere"})
        QTest::newRow(locale) << QString::fromLatin1(locale);
}

void CommandLineTest::namesAreUtf8Everywhere()
{
    QFETCH(QString, locale);
    const QString name = QString::fromUtf8("Größe – 大きさ");
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(name));
    const QString path = folder.filePath(name + QLatin1Char('/') + name + QStringLiteral(".tif"));
    const QString copy = folder.filePath(name + QStringLiteral(".mat"));
    const auto image = cameraMosaic(ep::BayerGridRGGB, 8, 6);
    QVERIFY(ep::CxImageFormatManager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()));

    const QMap<QString, QString> environment{{QStringLiteral("LC_ALL"), locale}};
    const ProgramRun convert = runOrn({QStringLiteral("convert"), path, copy}, environment);
    QVERIFY2(convert.code == 0, convert.all());
    QVERIFY2(convert.out.contains(copy), convert.all());
    QVERIFY(QFile::exists(copy));
    const ProgramRun missing = runOrn({QStringLiteral("info"), copy + QStringLiteral(".mat")}, environment);
    QCOMPARE(missing.code, 3);
    QVERIFY2(missing.err.contains(name), missing.all());
}

void CommandLineTest::coloursOnATerminalOnly()
{
    const QChar escape(0x1b);
    const QString terminal = QStringLiteral("script -qec '\"$ORN\" formats; \"$ORN\" info nothing.tif' /dev/null");
    const QMap<QString, QString> plain{{QStringLiteral("TERM"), QStringLiteral("xterm")}};
    const QMap<QString, QString> noColour{{QStringLiteral("TERM"), QStringLiteral("xterm")},
                                          {QStringLiteral("NO_COLOR"), QStringLiteral("1")}};
    const ProgramRun coloured = runShell(terminal, {}, plain);
    QVERIFY2(coloured.out.contains(escape + QStringLiteral("[1m")), coloured.all());
    QVERIFY2(coloured.out.contains(escape + QStringLiteral("[31morn:")), coloured.all());
    const ProgramRun uncoloured = runShell(terminal, {}, noColour);
    QVERIFY2(uncoloured.out.contains(QStringLiteral("orn: nothing.tif: ")), uncoloured.all());
    QVERIFY2(!uncoloured.out.contains(escape), uncoloured.all());
    const ProgramRun piped = runOrn({QStringLiteral("formats")}, plain);
    QVERIFY2(!piped.out.isEmpty() && !piped.out.contains(escape), piped.all());
}

void CommandLineTest::aReaderThatGoesAwayIsNoFailure()
{
    const ProgramRun run = runShell(QStringLiteral("{ sleep 0.3; \"$ORN\" formats; echo \"code $?\" >&2; } | true"));
    QCOMPARE(run.err, QStringLiteral("code 0\n"));
}

void CommandLineTest::aFullStandardOutputIsAFailure()
{
    const ProgramRun run = runShell(QStringLiteral("exec \"$ORN\" formats >/dev/full"));
    QCOMPARE(run.code, 4);
    QVERIFY2(run.err.startsWith(QStringLiteral("orn: standard output: ")), run.all());
}

void CommandLineTest::closedStreamsHarmNoFile()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.tif"));
    const auto image = cameraMosaic(ep::BayerGridRGGB, 9, 6);  // of an odd width, so that there is something to say
    QVERIFY(ep::CxImageFormatManager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()));
    const QString script = QStringLiteral("exec \"$ORN\" convert --lossy \"$1\" \"$2\" <&- >&- 2>&-");
    const QString output = folder.filePath(QStringLiteral("b.mat"));
    const ProgramRun run = runShell(script, {path, output});
    QVERIFY2(run.code == 4, run.all());  // what was to be said did not arrive
    const ProgramRun info = runOrn({QStringLiteral("info"), path, output});
    QVERIFY2(info.code == 0, info.all());
}

void CommandLineTest::controlCharactersDoNotReachTheTerminal()
{
    const ProgramRun run = runOrn({QStringLiteral("info"), QStringLiteral("\033[2J.tif")});
    QCOMPARE(run.code, 3);
    QVERIFY2(!run.err.contains(QChar(0x1b)), run.all());
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
