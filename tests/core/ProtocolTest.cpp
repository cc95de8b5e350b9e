#include <orn/Protocol.h>

#include "Files.h"

#include <QMetaMethod>
#include <QTemporaryDir>
#include <QtTest>

using orn::Protocol;

namespace {

/** A user whose own language is not English, told to the process before anything of Qt looks. */
const bool s_isGerman = qunsetenv("LC_ALL") && qputenv("LC_CTYPE", "C.UTF-8") && qputenv("LANG", "de_DE.UTF-8");

/** The message of a line, after its stamp; null when the line has none. */
QString messageOf(const QString& line)
{
    static const QRegularExpression stamped(
        QStringLiteral("^\\[(Mon|Tue|Wed|Thu|Fri|Sat|Sun) (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) "
                       "([1-9]|[12]\\d|3[01]) \\d\\d:\\d\\d:\\d\\d \\d{4}\\]: (.*)$"),
        QRegularExpression::DotMatchesEverythingOption);
    return stamped.match(line).captured(4);
}

QList<int> numbersOf(const QSignalSpy& spy)
{
    QList<int> numbers;
    for (const QList<QVariant>& arguments : spy)
        numbers << arguments.at(0).toInt();
    return numbers;
}

}  // namespace

class ProtocolTest : public QObject {
    Q_OBJECT

private slots:
    void startsEmpty();
    void aNewOneSavesAnEmptyFile();
    void tellsTheIndexOfEachLine();
    void indexPastTheLinesIsAnEmptyString_data();
    void indexPastTheLinesIsAnEmptyString();
    void keepsTheMessageAsItStands_data();
    void keepsTheMessageAsItStands();
    void stampIsTheTimeOfTheCall();
    void resetRemovesTheLinesAndSaysSo();
    void aCopyDoesNotGrow();
    void slotsMayCallBack();
    void savesEveryLineWithItsEnd();
    void savesInTheEncodingOfTheSystem();
    void savingReplacesAFile();
    void saveSaysWhatItCannotOpen_data();
    void saveSaysWhatItCannotOpen();
    void aFullDiskGoesUnnoticed();
    void metaObjectIsThatOfTheContract();
};

void ProtocolTest::startsEmpty()
{
    Protocol protocol;
    QVERIFY(protocol.isEmpty());
    QVERIFY(protocol.getLastMessage().isNull());
    QVERIFY(protocol.getMessage(0).isNull());
    QCOMPARE(protocol.getProtocol(), QStringList());
    QVERIFY(!protocol.parent());
}

void ProtocolTest::aNewOneSavesAnEmptyFile()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.txt"));
    QVERIFY(Protocol().save(path));
    QVERIFY(QFile::exists(path));
    QCOMPARE(QFileInfo(path).size(), 0);
}

void ProtocolTest::tellsTheIndexOfEachLine()
{
    Protocol protocol;
    QSignalSpy updated(&protocol, &Protocol::updated);
    for (const char* message : {"a", "b", "c"})
        protocol.addMessage(QLatin1String(message));
    QCOMPARE(numbersOf(updated), (QList<int>{0, 1, 2}));
    QVERIFY(!protocol.isEmpty());
    QCOMPARE(messageOf(protocol.getMessage(0)), QStringLiteral("a"));
    QCOMPARE(messageOf(protocol.getMessage(2)), QStringLiteral("c"));
    QCOMPARE(protocol.getLastMessage(), protocol.getMessage(2));
    QCOMPARE(protocol.getProtocol().size(), 3);
    QCOMPARE(protocol.getProtocol().at(1), protocol.getMessage(1));
}

void ProtocolTest::indexPastTheLinesIsAnEmptyString_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("before the first") << -1;
    QTest::newRow("the number of lines") << 2;
    QTest::newRow("far past the last") << std::numeric_limits<int>::max();
    QTest::newRow("far before the first") << std::numeric_limits<int>::min();
}

void ProtocolTest::indexPastTheLinesIsAnEmptyString()
{
    QFETCH(int, index);
    Protocol protocol;
    protocol.addMessage(QStringLiteral("a"));
    protocol.addMessage(QStringLiteral("b"));
    QVERIFY(protocol.getMessage(index).isNull());
}

void ProtocolTest::keepsTheMessageAsItStands_data()
{
    QTest::addColumn<QString>("message");
    QTest::newRow("a place marker") << QStringLiteral("%1");
    QTest::newRow("the place markers of the stamp") << QStringLiteral("%1 of %2, [%1]: %2 %L1 %99");
    QTest::newRow("a percent figure") << QStringLiteral("50 % done, 100%");
    QTest::newRow("line breaks stay one line") << QStringLiteral("a\nb\r\nc");
    QTest::newRow("nothing") << QStringLiteral("");
    QTest::newRow("blanks") << QStringLiteral("  a  ");
    QTest::newRow("no Latin letters") << QString::fromUtf8("Größe 大きさ 🙂");
    QTest::newRow("a very long one") << QString(100000, QLatin1Char('x'));
}

void ProtocolTest::keepsTheMessageAsItStands()
{
    QFETCH(QString, message);
    Protocol protocol;
    protocol.addMessage(message);
    QCOMPARE(protocol.getProtocol().size(), 1);
    QCOMPARE(messageOf(protocol.getMessage(0)), message);
}

void ProtocolTest::stampIsTheTimeOfTheCall()
{
    QVERIFY(s_isGerman);
    QCOMPARE(QLocale::system().language(), QLocale::German);
    const QDateTime before = QDateTime::currentDateTime();
    Protocol protocol;
    protocol.addMessage(QStringLiteral("m"));
    const QDateTime after = QDateTime::currentDateTime();
    const QString line = protocol.getMessage(0);
    QVERIFY2(line.startsWith(QLatin1Char('[')) && line.endsWith(QStringLiteral("]: m")), qPrintable(line));
    const QString stamp = line.mid(1, line.size() - 5);
    QVERIFY2(!messageOf(line).isNull(), qPrintable(line));
    const QDateTime time = QLocale::c().toDateTime(stamp, QStringLiteral("ddd MMM d HH:mm:ss yyyy"));
    QVERIFY2(time.isValid(), qPrintable(stamp));
    QVERIFY2(time >= before.addSecs(-1) && time <= after, qPrintable(stamp));
}

void ProtocolTest::resetRemovesTheLinesAndSaysSo()
{
    Protocol protocol;
    QSignalSpy updated(&protocol, &Protocol::updated);
    protocol.reset();
    QCOMPARE(numbersOf(updated), (QList<int>{-1}));
    protocol.addMessage(QStringLiteral("a"));
    protocol.reset();
    QVERIFY(protocol.isEmpty());
    QCOMPARE(protocol.getProtocol(), QStringList());
    protocol.addMessage(QStringLiteral("b"));
    QCOMPARE(messageOf(protocol.getMessage(0)), QStringLiteral("b"));
    QCOMPARE(numbersOf(updated), (QList<int>{-1, 0, -1, 0}));
}

void ProtocolTest::aCopyDoesNotGrow()
{
    Protocol protocol;
    protocol.addMessage(QStringLiteral("a"));
    const QStringList copy = protocol.getProtocol();
    protocol.addMessage(QStringLiteral("b"));
    QCOMPARE(copy.size(), 1);
    protocol.reset();
    QCOMPARE(messageOf(copy.at(0)), QStringLiteral("a"));
}

void ProtocolTest::slotsMayCallBack()
{
    Protocol protocol;
    QStringList seen;
    connect(&protocol, &Protocol::updated, this, [&](int index) {
        seen << messageOf(protocol.getMessage(index)) << messageOf(protocol.getLastMessage());
        if (protocol.getProtocol().size() == 2)
            protocol.reset();
    });
    protocol.addMessage(QStringLiteral("a"));
    protocol.addMessage(QStringLiteral("b"));
    QVERIFY(protocol.isEmpty());
    const QStringList expected{QStringLiteral("a"), QStringLiteral("a"), QStringLiteral("b"),
                               QStringLiteral("b"), QString(),           QString()};
    QCOMPARE(seen, expected);
}

void ProtocolTest::savesEveryLineWithItsEnd()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.txt"));
    Protocol protocol;
    for (const char* message : {"first", "second\nstill second", "%1", ""})
        protocol.addMessage(QLatin1String(message));
    QVERIFY(protocol.save(path));
    const QString expected = protocol.getProtocol().join(QLatin1Char('\n')) + QLatin1Char('\n');
    QCOMPARE(QString::fromUtf8(testing::readFile(path)), expected);
    QCOMPARE(protocol.getProtocol().size(), 4);
}

void ProtocolTest::savesInTheEncodingOfTheSystem()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.txt"));
    Protocol protocol;
    protocol.addMessage(QString::fromUtf8("Größe €"));
    QTextCodec* const usual = QTextCodec::codecForLocale();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-15"));
    const bool isSaved = protocol.save(path);
    QTextCodec::setCodecForLocale(usual);
    QVERIFY(isSaved);
    QVERIFY(testing::readFile(path).endsWith("]: Gr\xf6\xdf"
                                             "e \xa4\n"));
}

void ProtocolTest::savingReplacesAFile()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.txt"));
    QVERIFY(testing::writeFile(path, QByteArray(100000, 'x')));
    Protocol protocol;
    protocol.addMessage(QStringLiteral("a"));
    QVERIFY(protocol.save(path));
    QCOMPARE(QString::fromUtf8(testing::readFile(path)), protocol.getLastMessage() + QLatin1Char('\n'));
}

void ProtocolTest::saveSaysWhatItCannotOpen_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("in a folder that does not exist") << QStringLiteral("missing/log.txt");
    QTest::newRow("a folder") << QStringLiteral(".");
}

void ProtocolTest::saveSaysWhatItCannotOpen()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    Protocol protocol;
    protocol.addMessage(QStringLiteral("a"));
    const QStringList before = protocol.getProtocol();
    QSignalSpy updated(&protocol, &Protocol::updated);
    QVERIFY(!protocol.save(folder.filePath(name)));
    QVERIFY(!Protocol().save(QString()));
    QCOMPARE(protocol.getProtocol(), before);
    QCOMPARE(updated.size(), 0);
}

void ProtocolTest::aFullDiskGoesUnnoticed()
{
    Protocol protocol;
    protocol.addMessage(QString(100000, QLatin1Char('x')));
    QVERIFY(protocol.save(QStringLiteral("/dev/full")));
}

void ProtocolTest::metaObjectIsThatOfTheContract()
{
    const QMetaObject& type = Protocol::staticMetaObject;
    QCOMPARE(type.className(), "orn::Protocol");
    QCOMPARE(type.superClass(), &QObject::staticMetaObject);
    QCOMPARE(type.methodCount() - type.methodOffset(), 1);
    QCOMPARE(type.propertyCount() - type.propertyOffset(), 0);
    QCOMPARE(type.classInfoCount() - type.classInfoOffset(), 0);
    const QMetaMethod updated = type.method(type.methodOffset());
    QCOMPARE(updated.methodType(), QMetaMethod::Signal);
    QCOMPARE(updated.methodSignature(), QByteArray("updated(int)"));
    QCOMPARE(updated.parameterNames(), QList<QByteArray>{"msgIndex"});
}

QTEST_GUILESS_MAIN(ProtocolTest)
#include "ProtocolTest.moc"
