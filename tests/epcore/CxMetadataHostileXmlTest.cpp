// Metadata text that was made to take the reader's memory, stack or time. What a row took is in the log.

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>

#include <QElapsedTimer>
#include <QtTest>

using ep::CxMetadata;

namespace {

constexpr int hundredMillion = 100000000;
constexpr int longestText = 1 << 23;
constexpr int mostElements = 1 << 18;

QString wrapped(const QString& content)
{
    return QStringLiteral("<metadata>%1</metadata>").arg(content);
}

/** @p piece again and again, in @p characters characters. */
QString flood(const char* piece, int characters = hundredMillion)
{
    const QString text = QString::fromLatin1(piece);
    return text.repeated(characters / text.size());
}

/** Entities of which each is ten of the one before. */
QString entityBomb()
{
    QString type = QStringLiteral("<!DOCTYPE metadata [<!ENTITY a0 \"ha\">");
    for (int i = 1; i < 30; ++i)
        type += QStringLiteral("<!ENTITY a%1 \"%2\">").arg(i).arg(QStringLiteral("&a%1;").arg(i - 1).repeated(10));
    return type + QStringLiteral("]>");
}

}  // namespace

class CxMetadataHostileXmlTest : public QObject {
    Q_OBJECT

private slots:
    void refused_data();
    void refused();
    void readUpToTheLimits_data();
    void readUpToTheLimits();
    void limitsAreInclusive();
    void whatCouldNotBeReadAgainIsLeftOut_data();
    void whatCouldNotBeReadAgainIsLeftOut();
};

void CxMetadataHostileXmlTest::refused_data()
{
    QTest::addColumn<QString>("xml");
    const QString million = QStringLiteral("<a>").repeated(1000000);
    QTest::newRow("a million levels") << wrapped(million + QStringLiteral("</a>").repeated(1000000));
    QTest::newRow("a million open elements") << QStringLiteral("<metadata>") + million;
    QTest::newRow("a million levels of an item")
        << wrapped(QStringLiteral("<item class=\"ep::CxCommonImageMetadata\">") + million);
    QTest::newRow("entities of entities") << entityBomb() + wrapped(QStringLiteral("&a29;"));
    QTest::newRow("entities of entities in an attribute")
        << entityBomb() + wrapped(QStringLiteral("<item class=\"&a29;\"/>"));
    QTest::newRow("an entity that is itself")
        << QStringLiteral("<!DOCTYPE metadata [<!ENTITY a \"&a;\">]>") + wrapped(QStringLiteral("&a;"));
    QTest::newRow("an entity from a file")
        << QStringLiteral("<!DOCTYPE metadata [<!ENTITY a SYSTEM \"file:///etc/passwd\">]>")
               + wrapped(QStringLiteral("&a;"));
    QTest::newRow("a hundred million letters") << wrapped(flood("x"));
    QTest::newRow("a hundred million characters of elements") << wrapped(flood("<a/>"));
    QTest::newRow("a hundred million characters of attributes")
        << wrapped(QStringLiteral("<a %1/>").arg(flood("b=\"\" ")));
    QTest::newRow("a hundred million characters of references") << wrapped(flood("&#9;"));
    QTest::newRow("a name of a hundred million letters") << wrapped(QStringLiteral("<%1/>").arg(flood("n")));
}

void CxMetadataHostileXmlTest::refused()
{
    QFETCH(QString, xml);
    CxMetadata metadata;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!metadata.loadFromXml(xml));
    qInfo("%lld ms", timer.elapsed());
    QVERIFY(metadata.isEmpty());
}

void CxMetadataHostileXmlTest::readUpToTheLimits_data()
{
    QTest::addColumn<QString>("xml");
    const QString known = QStringLiteral("<item class='ep::CxCommonImageMetadata'>%1</item>");
    const auto row = [](const char* fact, const QString& content) { QTest::newRow(fact) << wrapped(content); };
    constexpr int most = longestText - 200;
    row("letters", flood("x", most));
    row("references", flood("&#9;", most));
    row("text of a known item", known.arg(QStringLiteral("<camera_make>%1</camera_make>").arg(flood("x&amp;", most))));
    const auto elements = [](const char* element) { return QString::fromLatin1(element).repeated(mostElements - 2); };
    row("elements with attributes", elements("<a b='' c='' d='' e=''/>"));
    row("attributes of a picture", known.arg(elements("<attribute name='a'/>")));
    row("known items", flood("<item class='ep::CxCommonImageMetadata'/>", most));
}

void CxMetadataHostileXmlTest::readUpToTheLimits()
{
    QFETCH(QString, xml);
    CxMetadata metadata;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(metadata.loadFromXml(xml));
    qInfo("%lld ms", timer.elapsed());
}

void CxMetadataHostileXmlTest::limitsAreInclusive()
{
    const QString shell = wrapped(QString());
    CxMetadata metadata;
    QVERIFY(metadata.loadFromXml(wrapped(QString(longestText - shell.size(), QLatin1Char(' ')))));
    QVERIFY(!metadata.loadFromXml(wrapped(QString(longestText - shell.size() + 1, QLatin1Char(' ')))));
    QVERIFY(metadata.loadFromXml(wrapped(QStringLiteral("<a/>").repeated(mostElements - 1))));
    QVERIFY(!metadata.loadFromXml(wrapped(QStringLiteral("<a/>").repeated(mostElements))));
}

void CxMetadataHostileXmlTest::whatCouldNotBeReadAgainIsLeftOut_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("entries");
    QTest::newRow("a text that is too long") << longestText << 0;
    QTest::newRow("too many elements") << 1 << mostElements;
}

void CxMetadataHostileXmlTest::whatCouldNotBeReadAgainIsLeftOut()
{
    QFETCH(int, length);
    QFETCH(int, entries);
    CxMetadata metadata;
    for (const bool isLarge : {false, true, false}) {
        auto* item = new ep::CxCommonImageMetadata;
        item->cameraMake = QString(isLarge ? length : 10, QLatin1Char('x'));
        for (int i = 0; isLarge && i < entries; ++i)
            item->attributes.insert(QString::number(i, 36), QString());
        metadata.addMetadata(item);
    }
    const QString xml = metadata.saveToXml(-1);
    QVERIFY(xml.size() < 1000);
    CxMetadata again;
    QVERIFY(again.loadFromXml(xml));
    QCOMPARE(again.items().size(), 2);
}

QTEST_GUILESS_MAIN(CxMetadataHostileXmlTest)
#include "CxMetadataHostileXmlTest.moc"
