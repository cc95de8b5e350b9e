#include <orn/matlab/CxMatlabMetadataSaver.h>

#include <orn/matlab/CxMatlabImageMetadata.h>
#include <orn/matlab/CxMatlabMetadataLoader.h>

#include "LogCapture.h"

#include <ep/CxCommonImageMetadata.h>

#include <QDomDocument>
#include <QtTest>

#include <limits>

using orn::matlab::CxMatlabImageMetadata;
using orn::matlab::CxMatlabMetadataLoader;
using orn::matlab::CxMatlabMetadataSaver;

class CxMatlabMetadataSaverTest : public QObject {
    Q_OBJECT
private slots:
    void threeElements_data();
    void threeElements();
    void roundTrip_data();
    void roundTrip();
    void theElementsAreAppended();
    void numbersDoNotFollowTheLocale();
    void aNullItemIsRefused();
    void anItemOfAnotherClassIsRefused();
    void oneClassIsSupported();

private:
    void addItems();
};

void CxMatlabMetadataSaverTest::addItems()
{
    QTest::addColumn<bool>("reverseRows");
    QTest::addColumn<qint32>("origChannels");
    QTest::addColumn<qint32>("savedChannels");
    QTest::newRow("defaults") << false << 0 << 0;
    QTest::newRow("reversed, three channels, one saved") << true << 3 << 1;
    QTest::newRow("negative numbers carry a minus") << false << -5 << -1;
    QTest::newRow("the largest numbers have no separators")
        << true << std::numeric_limits<qint32>::max() << std::numeric_limits<qint32>::min();
}

void CxMatlabMetadataSaverTest::threeElements_data()
{
    addItems();
}

void CxMatlabMetadataSaverTest::threeElements()
{
    QFETCH(bool, reverseRows);
    QFETCH(qint32, origChannels);
    QFETCH(qint32, savedChannels);
    CxMatlabImageMetadata item;
    item.reverseRows = reverseRows;
    item.origChannels = origChannels;
    item.savedChannels = savedChannels;

    QDomDocument doc;
    QDomElement element = doc.createElement(QStringLiteral("item"));
    QVERIFY(CxMatlabMetadataSaver().save(doc, element, &item));

    const QStringList tags{QStringLiteral("reverse_rows"), QStringLiteral("orig_channels"),
                           QStringLiteral("saved_channels")};
    const QStringList texts{reverseRows ? QStringLiteral("true") : QStringLiteral("false"),
                            QString::number(origChannels), QString::number(savedChannels)};
    const QDomNodeList children = element.childNodes();
    QCOMPARE(children.size(), 3);
    for (int i = 0; i < children.size(); ++i) {
        const QDomElement child = children.at(i).toElement();
        QCOMPARE(child.tagName(), tags.at(i));
        QCOMPARE(child.attributes().count(), 0);
        QCOMPARE(child.childNodes().size(), 1);
        QVERIFY(child.firstChild().isText());
        QCOMPARE(child.firstChild().nodeValue(), texts.at(i));
    }
    QCOMPARE(element.attributes().count(), 0);
}

void CxMatlabMetadataSaverTest::roundTrip_data()
{
    addItems();
}

void CxMatlabMetadataSaverTest::roundTrip()
{
    QFETCH(bool, reverseRows);
    QFETCH(qint32, origChannels);
    QFETCH(qint32, savedChannels);
    CxMatlabImageMetadata item;
    item.reverseRows = reverseRows;
    item.origChannels = origChannels;
    item.savedChannels = savedChannels;
    QDomDocument doc;
    QDomElement element = doc.createElement(QStringLiteral("item"));
    QVERIFY(CxMatlabMetadataSaver().save(doc, element, &item));

    CxMatlabImageMetadata read;
    read.reverseRows = !reverseRows;
    read.origChannels = 99;
    read.savedChannels = 99;
    QVERIFY(CxMatlabMetadataLoader().load(element, &read));
    QCOMPARE(read.reverseRows, reverseRows);
    QCOMPARE(read.origChannels, origChannels);
    QCOMPARE(read.savedChannels, savedChannels);
}

void CxMatlabMetadataSaverTest::theElementsAreAppended()
{
    QDomDocument doc;
    QDomElement element = doc.createElement(QStringLiteral("item"));
    element.appendChild(doc.createElement(QStringLiteral("earlier")));
    CxMatlabImageMetadata item;
    QVERIFY(CxMatlabMetadataSaver().save(doc, element, &item));
    QCOMPARE(element.childNodes().size(), 4);
    QCOMPARE(element.firstChildElement().tagName(), QStringLiteral("earlier"));
}

void CxMatlabMetadataSaverTest::numbersDoNotFollowTheLocale()
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    CxMatlabImageMetadata item;
    item.origChannels = 1234567;
    QDomDocument doc;
    QDomElement element = doc.createElement(QStringLiteral("item"));
    const bool saved = CxMatlabMetadataSaver().save(doc, element, &item);
    QLocale::setDefault(before);
    QVERIFY(saved);
    QCOMPARE(element.firstChildElement(QStringLiteral("orig_channels")).text(), QStringLiteral("1234567"));
}

void CxMatlabMetadataSaverTest::aNullItemIsRefused()
{
    testing::LogCapture log;
    QDomDocument doc;
    QDomElement element = doc.createElement(QStringLiteral("item"));
    QVERIFY(!CxMatlabMetadataSaver().save(doc, element, nullptr));
    QVERIFY(!element.hasChildNodes());
    QVERIFY(!element.hasAttributes());
    QCOMPARE(log.criticals(), QStringList());
}

void CxMatlabMetadataSaverTest::anItemOfAnotherClassIsRefused()
{
    QDomDocument doc;
    QDomElement element = doc.createElement(QStringLiteral("item"));
    ep::CxCommonImageMetadata other;
    QVERIFY(!CxMatlabMetadataSaver().save(doc, element, &other));
    QVERIFY(!element.hasChildNodes());
}

void CxMatlabMetadataSaverTest::oneClassIsSupported()
{
    QCOMPARE(CxMatlabMetadataSaver().supportedClasses(),
             QStringList(QStringLiteral("orn::matlab::CxMatlabImageMetadata")));
}

QTEST_GUILESS_MAIN(CxMatlabMetadataSaverTest)
#include "CxMatlabMetadataSaverTest.moc"
