#include "Files.h"
#include "HelpedCommand.h"

#include <QtTest>

using namespace testing;

/** The manual page, judged by the programs that show such pages and by the program's own help. */
class ManPageTest : public QObject {
    Q_OBJECT
private slots:
    void judgesFindNothing_data();
    void judgesFindNothing();
    void aJudgeFindsWhatIsWrong_data();
    void aJudgeFindsWhatIsWrong();
    void tellsEveryCommand_data();
    void tellsEveryCommand();
    void saysItsNameAndVersion();
    void tellsTheExitCodes();

private:
    QString section(const QString& title) const;
    const QString m_page = QStringLiteral(ORN_SHARE "/man/man1/orn.1");
};

/** The page as it is shown, in lines as long as they come. */
static QString shownPage(const QString& page)
{
    return runShell(QStringLiteral("MANWIDTH=1000 MANOPT= LC_ALL=C.UTF-8 man --no-hyphenation -l \"$1\""), {page}).out;
}

/** What stands in the page below the heading @p title. */
QString ManPageTest::section(const QString& title) const
{
    QString text;
    bool isInside = false;
    const QStringList lines = shownPage(m_page).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const bool isHeading = line.startsWith(QStringLiteral("   ")) ? !line.startsWith(QStringLiteral("    "))
                                                                      : !line.startsWith(QLatin1Char(' '));
        if (isHeading && !line.isEmpty())
            isInside = line.trimmed() == title;
        else if (isInside)
            text += line + QLatin1Char('\n');
    }
    return text;
}

static void addJudges()
{
    QTest::addColumn<QString>("judge");
    QTest::newRow("man") << "man --warnings -E UTF-8 -l \"$1\" >/dev/null";
    QTest::newRow("groff") << "groff -ww -man -Tutf8 -z \"$1\"";
    QTest::newRow("mandoc") << "mandoc -T lint \"$1\" >&2";
    QTest::newRow("the index of pages") << "lexgrog \"$1\" | grep -Fq '\"orn - ' || echo no >&2";
}

void ManPageTest::judgesFindNothing_data()
{
    addJudges();
}

void ManPageTest::judgesFindNothing()
{
    QFETCH(QString, judge);
    const ProgramRun run = runShell(judge, {m_page});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
}

void ManPageTest::aJudgeFindsWhatIsWrong_data()
{
    addJudges();
}

void ManPageTest::aJudgeFindsWhatIsWrong()
{
    QFETCH(QString, judge);
    const QTemporaryDir folder;
    const QString wrong = folder.filePath(QStringLiteral("orn.1"));
    QVERIFY(writeFile(wrong, readFile(m_page).replace(".SH NAME\n", ".SH NAMES\n.ne nothing\n.TP\n.TP\n\\fZ\n")));
    const ProgramRun run = runShell(judge, {wrong});
    QVERIFY2(!run.err.isEmpty(), run.all());
}

void ManPageTest::tellsEveryCommand_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QStringList>("words");
    const QVector<HelpedCommand> all = helpedCommands();
    QVERIFY(all.size() > 5);
    for (const HelpedCommand& helped : all) {
        const QString name = QLatin1String("orn ") + helped.command.join(QLatin1Char(' '));
        QVERIFY2(helped.options.contains(QStringLiteral("--help")), qPrintable(name));
        QTest::newRow(qPrintable(name)) << helped.command << helped.options + helped.choices;
    }
}

void ManPageTest::tellsEveryCommand()
{
    QFETCH(QStringList, command);
    QFETCH(QStringList, words);
    const QString name = QLatin1String("orn ") + command.join(QLatin1Char(' '));
    const QString told = section(command.isEmpty() ? QStringLiteral("OPTIONS") : name);
    for (const QString& word : words)
        QVERIFY2(QRegularExpression(QStringLiteral("(^|[ ,])%1($|[ ,.\n])").arg(word)).match(told).hasMatch(),
                 qPrintable(QStringLiteral("%1 is missing in:\n%2").arg(word, told)));
    QVERIFY2(section(QStringLiteral("SYNOPSIS")).contains(name.trimmed()), qPrintable(name));
}

void ManPageTest::saysItsNameAndVersion()
{
    const QString version = runOrn({QStringLiteral("--version")}).out.trimmed();
    QVERIFY(version.startsWith(QStringLiteral("orn ")));
    const QString page = shownPage(m_page).trimmed();
    QVERIFY2(page.startsWith(QStringLiteral("ORN(1)")), qPrintable(page.left(200)));
    QVERIFY2(page.section(QLatin1Char('\n'), -1).startsWith(version), qPrintable(page.right(200)));
    QVERIFY(section(QStringLiteral("NAME")).trimmed().startsWith(QStringLiteral("orn - ")));
}

void ManPageTest::tellsTheExitCodes()
{
    const QString codes = section(QStringLiteral("EXIT STATUS"));
    for (const char* code : {"0 done", "2 usage", "3 unreadable input", "4 unwritable output", "130 cancelled"})
        QVERIFY2(codes.contains(QLatin1String(code)), qPrintable(codes));
}

QTEST_GUILESS_MAIN(ManPageTest)
#include "ManPageTest.moc"
