#include "Files.h"
#include "HelpedCommand.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

/** Completion of command lines in bash and zsh, in a real shell on a terminal. */
class CompletionTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void theScriptIsSound_data();
    void theScriptIsSound();
    void completes_data();
    void completes();
    void offersWhatTheHelpTells_data();
    void offersWhatTheHelpTells();
    void isFoundUnderItsName();

private:
    QStringList completed(const QString& shell, const QString& line) const;
    QTemporaryDir m_folder;
    QVector<HelpedCommand> m_commands;
    QMap<QPair<QString, QString>, QStringList> m_completed;  // by shell and line
};

namespace {

const char* const shells[] = {"bash", "zsh"};

QString scriptOf(const QString& shell)
{
    return shell == QLatin1String("bash") ? QStringLiteral(ORN_SHARE "/bash-completion/completions/orn")
                                          : QStringLiteral(ORN_SHARE "/zsh/site-functions/_orn");
}

struct Line {
    const char* what;
    const char* typed;
    const char* completed;  // the words that then stand on the line, apart by a bar, the choices in alphabetical order
};

const Line commonLines[] = {
    {"a command", "orn conv", "orn|convert"},
    {"a command of a command", "orn mat ", "orn|mat|list"},
    {"an option", "orn convert --cf", "orn|convert|--cfa"},
    {"an option after files", "orn convert a.dng d.mat --js", "orn|convert|a.dng|d.mat|--json"},
    {"an option of the program", "orn --v", "orn|--version"},
    {"choices", "orn convert --cfa ", "orn|convert|--cfa|BGGR|GBRG|GRBG|RGGB|none"},
    {"one of several choices", "orn convert --compression l", "orn|convert|--compression|lzw"},
    {"a choice after an equals sign", "orn convert --cfa=R", "orn|convert|--cfa=RGGB"},
    {"no file where a name is wanted", "orn convert --name ", "orn|convert|--name"},
    {"no file where none is taken", "orn formats a", "orn|formats|a"},
    {"files and folders", "orn info ", "orn|info|a.dng|b c.dng|d.mat|folder"},
    {"a file name with a blank", "orn info b", "orn|info|b c.dng"},
    {"the second file", "orn convert a.dng d", "orn|convert|a.dng|d.mat"},
    {"a file of a command of a command", "orn mat list d", "orn|mat|list|d.mat"},
    {"a file after the value of an option", "orn convert --cfa RGGB a", "orn|convert|--cfa|RGGB|a.dng"},
    {"a command's name as a value", "orn convert --name mat a", "orn|convert|--name|mat|a.dng"},
    {"a file after two dashes", "orn info -- a", "orn|info|--|a.dng"},
};

}  // namespace

QStringList CompletionTest::completed(const QString& shell, const QString& line) const
{
    return m_completed.value({shell, line});
}

void CompletionTest::initTestCase()
{
    for (const char* name : {"a.dng", "b c.dng", "d.mat"})
        QVERIFY(writeFile(m_folder.filePath(QLatin1String(name)), "a file"));
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("folder")));
    m_commands = helpedCommands();
    QVERIFY(m_commands.size() > 5);

    QStringList lines;
    for (const Line& line : commonLines)
        lines << QLatin1String(line.typed);
    for (const HelpedCommand& helped : qAsConst(m_commands)) {
        const QString line = (QStringList{QStringLiteral("orn")} + helped.command).join(QLatin1Char(' '));
        lines << line + QStringLiteral(" -") << line + QStringLiteral(" ");
    }
    for (const char* name : shells) {
        const QString shell = QLatin1String(name);
        const ProgramRun run = runProgram(
            QStringLiteral(ORN_PYTHON),
            QStringList{QStringLiteral(EXPAND_COMPLETIONS), shell, scriptOf(shell), m_folder.path()} + lines);
        QVERIFY2(run.code == 0, run.all());
        const QStringList answers = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(answers.size(), lines.size());
        for (int i = 0; i < lines.size(); ++i) {
            QStringList words;
            for (const QJsonValue& word : QJsonDocument::fromJson(answers[i].toUtf8()).array())
                words << word.toString();
            m_completed[{shell, lines[i]}] = words;
        }
    }
}

void CompletionTest::theScriptIsSound_data()
{
    QTest::addColumn<QString>("shell");
    for (const char* shell : shells)
        QTest::newRow(shell) << shell;
}

void CompletionTest::theScriptIsSound()
{
    QFETCH(QString, shell);
    const ProgramRun run = runProgram(shell, {QStringLiteral("-n"), scriptOf(shell)});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
}

void CompletionTest::completes_data()
{
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("expected");
    for (const char* shell : shells)
        for (const Line& line : commonLines)
            QTest::addRow("%s: %s", shell, line.what)
                << shell << line.typed << QString::fromLatin1(line.completed).split(QLatin1Char('|'));
}

void CompletionTest::completes()
{
    QFETCH(QString, shell);
    QFETCH(QString, line);
    QFETCH(QStringList, expected);
    QCOMPARE(completed(shell, line), expected);
}

void CompletionTest::offersWhatTheHelpTells_data()
{
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("offered");
    for (const char* shell : shells)
        for (const HelpedCommand& helped : qAsConst(m_commands)) {
            const QString line = (QStringList{QStringLiteral("orn")} + helped.command).join(QLatin1Char(' '));
            QTest::addRow("%s: options of %s", shell, qPrintable(line))
                << shell << line + QStringLiteral(" -") << helped.options;
            if (!helped.subcommands.isEmpty())
                QTest::addRow("%s: commands of %s", shell, qPrintable(line))
                    << shell << line + QStringLiteral(" ") << helped.subcommands;
        }
}

void CompletionTest::offersWhatTheHelpTells()
{
    QFETCH(QString, shell);
    QFETCH(QString, line);
    QFETCH(QStringList, offered);
    const int typedWords = line.split(QLatin1Char(' ')).size() - 1;
    QStringList found = completed(shell, line).mid(typedWords);
    found.sort();
    offered.sort();
    QCOMPARE(found, offered);
}

void CompletionTest::isFoundUnderItsName()
{
    const QString script = QStringLiteral("source /usr/share/bash-completion/bash_completion; _completion_loader orn; "
                                          "complete -p orn");
    const ProgramRun run = runProgram(QStringLiteral("bash"), {QStringLiteral("-c"), script},
                                      {{QStringLiteral("XDG_DATA_DIRS"), QStringLiteral(ORN_SHARE)}});
    QVERIFY2(run.out.contains(QStringLiteral("-F _orn orn")), run.all());
}

QTEST_GUILESS_MAIN(CompletionTest)
#include "CompletionTest.moc"
