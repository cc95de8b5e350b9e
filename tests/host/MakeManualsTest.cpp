#include "ConvertTesting.h"
#include "Files.h"

#include <QRegularExpression>

using namespace testing;

/** The program that writes the manual page and the completions, from outside. */
class MakeManualsTest : public QObject {
    Q_OBJECT
private slots:
    void writesWhatIsShipped();
    void anUnwritableFileIsNamed_data();
    void anUnwritableFileIsNamed();
    void otherArgumentsAreRefused_data();
    void otherArgumentsAreRefused();

private:
    static ProgramRun make(const QStringList& arguments)
    {
        return runProgram(QStringLiteral(ORN_MAKE_MANUALS), arguments);
    }
};

void MakeManualsTest::writesWhatIsShipped()
{
    const ImageFolder folder;
    const QStringList shipped{QStringLiteral(ORN_SHARE "/man/man1/orn.1"),
                              QStringLiteral(ORN_SHARE "/bash-completion/completions/orn"),
                              QStringLiteral(ORN_SHARE "/zsh/site-functions/_orn")};
    // The page says the day on which it was made.
    const QString page = QString::fromUtf8(readFile(shipped[0]));
    const QString date = QRegularExpression(QStringLiteral("\\d{4}-\\d\\d-\\d\\d")).match(page).captured();
    QVERIFY(!date.isEmpty());
    const ProgramRun run = make({date, folder.path("page"), folder.path("bash"), folder.path("zsh")});
    QVERIFY2(run.code == 0 && run.err.isEmpty(), run.all());
    QCOMPARE(folder.bytes("page"), readFile(shipped[0]));
    QCOMPARE(folder.bytes("bash"), readFile(shipped[1]));
    QCOMPARE(folder.bytes("zsh"), readFile(shipped[2]));
}

void MakeManualsTest::anUnwritableFileIsNamed_data()
{
    QTest::addColumn<int>("which");
    QTest::newRow("the page") << 0;
    QTest::newRow("the completions of bash") << 1;
    QTest::newRow("the completions of zsh") << 2;
}

void MakeManualsTest::anUnwritableFileIsNamed()
{
    QFETCH(int, which);
    const ImageFolder folder;
    QStringList files{folder.path("page"), folder.path("bash"), folder.path("zsh")};
    files[which] = folder.path("none/file");
    const ProgramRun run = make(QStringList{QStringLiteral("2024-05-01")} + files);
    QVERIFY2(run.code == 1, run.all());
    QVERIFY2(run.err.startsWith(files[which] + QStringLiteral(": ")), run.all());
}

void MakeManualsTest::otherArgumentsAreRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    const QString a = QStringLiteral("a");
    QTest::newRow("none") << QStringList();
    QTest::newRow("too few") << QStringList{a, a, a};
    QTest::newRow("too many") << QStringList{a, a, a, a, a};
}

void MakeManualsTest::otherArgumentsAreRefused()
{
    QFETCH(QStringList, arguments);
    const ProgramRun run = make(arguments);
    QVERIFY2(run.code == 2 && run.err.startsWith(QStringLiteral("usage: ")), run.all());
}

QTEST_GUILESS_MAIN(MakeManualsTest)
#include "MakeManualsTest.moc"
