// Every text that a program can hold comes back from the XML of the common metadata, whether XML can hold it or not.

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxMetadata.h>

#include "UnicodeTexts.h"

#include <QtTest>

using ep::CxCommonImageMetadata;
using ep::CxMetadata;

class CommonMetadataTextTest : public QObject {
    Q_OBJECT

private:
    static const CxCommonImageMetadata& first(const CxMetadata& metadata)
    {
        return *qobject_cast<CxCommonImageMetadata*>(metadata.items().value(0));
    }

private slots:
    void textsComeBack_data() { testing::addUnicodeTexts(100); }
    void textsComeBack();
    void whatXmlHoldsStandsAsItIs();
    void whatXmlCannotHoldStandsBesideIt();
    void unsoundDigitsDoNotCount_data();
    void unsoundDigitsDoNotCount();
};

void CommonMetadataTextTest::textsComeBack()
{
    QFETCH(QString, text);
    auto* item = new CxCommonImageMetadata;
    item->cameraMake = text;
    item->attributes.insert(text.left(100), text.right(100));
    CxMetadata metadata;
    metadata.addMetadata(item);
    for (const int indent : {-1, 2}) {
        CxMetadata again;
        QVERIFY(again.loadFromXml(metadata.saveToXml(indent)));
        // Not QCOMPARE, which prints what differs.
        QVERIFY(first(again).cameraMake == text);
        QVERIFY(first(again).attributes == item->attributes);
    }
}

void CommonMetadataTextTest::whatXmlHoldsStandsAsItIs()
{
    auto* item = new CxCommonImageMetadata;
    item->cameraMake = QString(QChar::ReplacementCharacter) + QStringLiteral("\r\t<");
    CxMetadata metadata;
    metadata.addMetadata(item);
    QVERIFY(!metadata.saveToXml(-1).contains(QStringLiteral("utf16")));
}

void CommonMetadataTextTest::whatXmlCannotHoldStandsBesideIt()
{
    auto* item = new CxCommonImageMetadata;
    item->cameraMake = QStringLiteral("a") + QChar(0);
    CxMetadata metadata;
    metadata.addMetadata(item);
    const QString element = QStringLiteral("<camera_make utf16=\"00610000\">a&#65533;</camera_make>");
    QVERIFY(metadata.saveToXml(-1).contains(element));
}

void CommonMetadataTextTest::unsoundDigitsDoNotCount_data()
{
    QTest::addColumn<QString>("digits");
    QTest::newRow("none") << QString();
    QTest::newRow("half a unit") << QStringLiteral("006");
    QTest::newRow("no digits") << QStringLiteral("00gg");
    QTest::newRow("sound ones before") << QStringLiteral("0061zzzz");
}

void CommonMetadataTextTest::unsoundDigitsDoNotCount()
{
    QFETCH(QString, digits);
    const QString xml = QStringLiteral("<metadata><item class=\"ep::CxCommonImageMetadata\"><camera_make utf16=\"%1\">b"
                                       "</camera_make></item></metadata>");
    CxMetadata metadata;
    QVERIFY(metadata.loadFromXml(xml.arg(digits)));
    QCOMPARE(first(metadata).cameraMake, QStringLiteral("b"));
}

QTEST_GUILESS_MAIN(CommonMetadataTextTest)
#include "CommonMetadataTextTest.moc"
