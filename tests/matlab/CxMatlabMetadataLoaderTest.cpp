#include <orn/matlab/CxMatlabMetadataLoader.h>

#include <orn/matlab/CxMatlabImageMetadata.h>

#include "LogCapture.h"

#include <ep/CxCommonImageMetadata.h>

#include <QDomDocument>
#include <QtTest>

using orn::matlab::CxMatlabImageMetadata;
using orn::matlab::CxMatlabMetadataLoader;

namespace {

// The texts of the three elements of a sound item.
const QString reverse = QStringLiteral("<reverse_rows>true</reverse_rows>");
const QString orig = QStringLiteral("<orig_channels>3</orig_channels>");
const QString saved = QStringLiteral("<saved_channels>1</saved_channels>");

QStringList missing(const QStringList& tags)
{
    QStringList lines;
    for (const QString& tag : tags)
        lines << testing::LogCapture::errorLine(QStringLiteral("Missing '%1' tag.").arg(tag));
    return lines;
}

QDomElement parse(QDomDocument& doc, const QString& content)
{
    const bool sound = doc.setContent(QStringLiteral("<item>%1</item>").arg(content));
    if (!sound)
        qFatal("the test's own XML is malformed");
    return doc.documentElement();
}

}  // namespace

class CxMatlabMetadataLoaderTest : public QObject {
    Q_OBJECT
private slots:
    void elements_data();
    void elements();
    void reverseRowsText_data();
    void reverseRowsText();
    void numberText_data();
    void numberText();
    void aFirstChildThatIsNoTextReadsAsEmpty();
    void aNullItemIsRefused();
    void anItemOfAnotherClassIsRefused();
    void aNullElementLacksEveryTag();
    void oneClassIsSupported();
};

void CxMatlabMetadataLoaderTest::elements_data()
{
    QTest::addColumn<QString>("content");
    QTest::addColumn<bool>("reverseRows");
    QTest::addColumn<qint32>("origChannels");
    QTest::addColumn<qint32>("savedChannels");
    QTest::addColumn<QStringList>("missingTags");
    const QStringList none;
    const QString reverseTag = QStringLiteral("reverse_rows");
    const QString origTag = QStringLiteral("orig_channels");
    const QString savedTag = QStringLiteral("saved_channels");

    // The item holds (false, 70, 71) before.
    QTest::newRow("all three are set") << reverse + orig + saved << true << 3 << 1 << none;
    QTest::newRow("any order serves") << saved + reverse + orig << true << 3 << 1 << none;
    QTest::newRow("other elements are passed over")
        << QStringLiteral("<x>9</x>") + reverse + orig + saved << true << 3 << 1 << none;
    QTest::newRow("without reverse_rows the others are set")
        << orig + saved << false << 3 << 1 << QStringList(reverseTag);
    QTest::newRow("without orig_channels the others are set")
        << reverse + saved << true << 70 << 1 << QStringList(origTag);
    QTest::newRow("without saved_channels the others are set")
        << reverse + orig << true << 3 << 71 << QStringList(savedTag);
    QTest::newRow("an element without any says all three in their order")
        << QString() << false << 70 << 71 << QStringList{reverseTag, origTag, savedTag};
    QTest::newRow("tag names are case sensitive") << QStringLiteral("<Reverse_Rows>true</Reverse_Rows>") + orig + saved
                                                  << false << 3 << 1 << QStringList(reverseTag);
    QTest::newRow("an empty reverse_rows leaves the member")
        << QStringLiteral("<reverse_rows/>") + orig + saved << false << 3 << 1 << none;
    QTest::newRow("an empty orig_channels leaves the member")
        << reverse + QStringLiteral("<orig_channels></orig_channels>") + saved << true << 70 << 1 << none;
    QTest::newRow("an empty saved_channels leaves the member")
        << reverse + orig + QStringLiteral("<saved_channels/>") << true << 3 << 71 << none;
    QTest::newRow("a tag nested deeper is found")
        << QStringLiteral("<a><b>%1</b></a>").arg(reverse + orig) + saved << true << 3 << 1 << none;
    QTest::newRow("of two tags the first counts")
        << reverse + orig + saved + QStringLiteral("<reverse_rows>false</reverse_rows><orig_channels>8</orig_channels>")
        << true << 3 << 1 << none;
    QTest::newRow("of two tags the first in document order counts, however deep")
        << QStringLiteral("<a><orig_channels>8</orig_channels></a>") + reverse + orig + saved << true << 8 << 1 << none;
    QTest::newRow("of two tags an empty first one counts too")
        << QStringLiteral("<orig_channels/>") + reverse + orig + saved << true << 70 << 1 << none;
}

void CxMatlabMetadataLoaderTest::elements()
{
    QFETCH(QString, content);
    QFETCH(bool, reverseRows);
    QFETCH(qint32, origChannels);
    QFETCH(qint32, savedChannels);
    QFETCH(QStringList, missingTags);

    QDomDocument doc;
    const QDomElement element = parse(doc, content);
    CxMatlabImageMetadata item;
    item.origChannels = 70;
    item.savedChannels = 71;
    testing::LogCapture log;
    QCOMPARE(CxMatlabMetadataLoader().load(element, &item), missingTags.isEmpty());
    QCOMPARE(log.criticals(), missing(missingTags));
    QVERIFY(!log.namesSources());
    QCOMPARE(item.reverseRows, reverseRows);
    QCOMPARE(item.origChannels, origChannels);
    QCOMPARE(item.savedChannels, savedChannels);
}

void CxMatlabMetadataLoaderTest::reverseRowsText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("before");
    QTest::addColumn<bool>("after");
    QTest::newRow("true") << QStringLiteral("true") << false << true;
    QTest::newRow("True") << QStringLiteral("True") << false << true;
    QTest::newRow("TRUE") << QStringLiteral("TRUE") << false << true;
    QTest::newRow("white space around it") << QStringLiteral(" True \n") << false << true;
    QTest::newRow("false") << QStringLiteral("false") << true << false;
    QTest::newRow("1 is not true") << QStringLiteral("1") << true << false;
    QTest::newRow("yes is not true") << QStringLiteral("yes") << true << false;
    QTest::newRow("true with more") << QStringLiteral("true!") << true << false;
    QTest::newRow("white space within") << QStringLiteral("tr ue") << true << false;
}

void CxMatlabMetadataLoaderTest::reverseRowsText()
{
    QFETCH(QString, text);
    QFETCH(bool, before);
    QFETCH(bool, after);
    QDomDocument doc;
    const QDomElement element = parse(doc, QStringLiteral("<reverse_rows>%1</reverse_rows>").arg(text) + orig + saved);
    CxMatlabImageMetadata item;
    item.reverseRows = before;
    testing::LogCapture log;
    QVERIFY(CxMatlabMetadataLoader().load(element, &item));
    QCOMPARE(item.reverseRows, after);
    QCOMPARE(log.criticals(), QStringList());
}

void CxMatlabMetadataLoaderTest::numberText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("number");
    QTest::newRow("negative") << QStringLiteral("-12") << -12;
    QTest::newRow("the largest") << QStringLiteral("2147483647") << 2147483647;
    QTest::newRow("one more than the largest is no number") << QStringLiteral("2147483648") << 0;
    QTest::newRow("leading zeros are decimal") << QStringLiteral("010") << 10;
    QTest::newRow("hexadecimal is no number") << QStringLiteral("0x10") << 0;
    QTest::newRow("white space around a number is passed over") << QStringLiteral(" 3\n") << 3;
    QTest::newRow("white space within is no number") << QStringLiteral("1 2") << 0;
    QTest::newRow("an empty sign is no number") << QStringLiteral("-") << 0;
    QTest::newRow("a fraction is no number") << QStringLiteral("3.5") << 0;
    QTest::newRow("a word is no number") << QStringLiteral("three") << 0;
    QTest::newRow("a number with a unit is no number") << QStringLiteral("3 channels") << 0;
}

void CxMatlabMetadataLoaderTest::numberText()
{
    QFETCH(QString, text);
    QFETCH(qint32, number);
    QDomDocument doc;
    const QDomElement element = parse(
        doc,
        reverse + QStringLiteral("<orig_channels>%1</orig_channels><saved_channels>%1</saved_channels>").arg(text));
    CxMatlabImageMetadata item;
    item.origChannels = 70;
    item.savedChannels = 71;
    testing::LogCapture log;
    QVERIFY(CxMatlabMetadataLoader().load(element, &item));
    QCOMPARE(item.origChannels, number);
    QCOMPARE(item.savedChannels, number);
    QCOMPARE(log.criticals(), QStringList());
}

void CxMatlabMetadataLoaderTest::aFirstChildThatIsNoTextReadsAsEmpty()
{
    QDomDocument doc;
    const QDomElement element = parse(doc, QStringLiteral("<reverse_rows><b>true</b></reverse_rows>"
                                                          "<orig_channels><!--4-->4</orig_channels>"
                                                          "<saved_channels><b/>5</saved_channels>"));
    CxMatlabImageMetadata item;
    item.reverseRows = true;
    item.origChannels = 70;
    item.savedChannels = 71;
    QVERIFY(CxMatlabMetadataLoader().load(element, &item));
    QCOMPARE(item.reverseRows, false);
    QCOMPARE(item.origChannels, 0);
    QCOMPARE(item.savedChannels, 0);
}

void CxMatlabMetadataLoaderTest::aNullItemIsRefused()
{
    QDomDocument doc;
    const QDomElement element = parse(doc, QString());
    testing::LogCapture log;
    QVERIFY(!CxMatlabMetadataLoader().load(element, nullptr));
    QCOMPARE(log.criticals(), QStringList());
}

void CxMatlabMetadataLoaderTest::anItemOfAnotherClassIsRefused()
{
    QDomDocument doc;
    const QDomElement element = parse(doc, reverse + orig + saved);
    ep::CxCommonImageMetadata other;
    QVERIFY(!CxMatlabMetadataLoader().load(element, &other));
}

void CxMatlabMetadataLoaderTest::aNullElementLacksEveryTag()
{
    CxMatlabImageMetadata item;
    testing::LogCapture log;
    QVERIFY(!CxMatlabMetadataLoader().load(QDomElement(), &item));
    QCOMPARE(log.criticals(), missing({QStringLiteral("reverse_rows"), QStringLiteral("orig_channels"),
                                       QStringLiteral("saved_channels")}));
}

void CxMatlabMetadataLoaderTest::oneClassIsSupported()
{
    QCOMPARE(CxMatlabMetadataLoader().supportedClasses(),
             QStringList(QStringLiteral("orn::matlab::CxMatlabImageMetadata")));
}

QTEST_GUILESS_MAIN(CxMatlabMetadataLoaderTest)
#include "CxMatlabMetadataLoaderTest.moc"
