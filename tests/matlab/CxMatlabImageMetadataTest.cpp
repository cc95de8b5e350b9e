#include <orn/matlab/CxMatlabImageMetadata.h>

#include <ep/CxMetadata.h>

#include <QtTest>

#include <memory>

using orn::matlab::CxMatlabImageMetadata;

class CxMatlabImageMetadataTest : public QObject {
    Q_OBJECT
private slots:
    void aFreshItemHasDefaults();
    void cloneIsIndependent();
    void cloneCarriesNothingElse();
    void metacast_data();
    void metacast();
    void theContainerOwnsTheItem();
    void theFirstItemOfTheClassIsFound();
};

void CxMatlabImageMetadataTest::aFreshItemHasDefaults()
{
    const std::unique_ptr<QObject> object(CxMatlabImageMetadata::staticMetaObject.newInstance());
    const auto* item = qobject_cast<const CxMatlabImageMetadata*>(object.get());
    QVERIFY(item);
    QCOMPARE(item->reverseRows, false);
    QCOMPARE(item->origChannels, 0);
    QCOMPARE(item->savedChannels, 0);
    QVERIFY(!item->parent());
}

void CxMatlabImageMetadataTest::cloneIsIndependent()
{
    CxMatlabImageMetadata source;
    source.reverseRows = true;
    source.origChannels = 3;
    source.savedChannels = 1;
    const std::unique_ptr<ep::IxMetadataItem> copy(source.clone());
    auto* clone = qobject_cast<CxMatlabImageMetadata*>(copy.get());
    QVERIFY(clone);
    QCOMPARE(clone->reverseRows, true);
    QCOMPARE(clone->origChannels, 3);
    QCOMPARE(clone->savedChannels, 1);

    clone->reverseRows = false;
    clone->origChannels = 7;
    clone->savedChannels = 8;
    QCOMPARE(source.reverseRows, true);
    QCOMPARE(source.origChannels, 3);
    QCOMPARE(source.savedChannels, 1);
}

void CxMatlabImageMetadataTest::cloneCarriesNothingElse()
{
    QObject parent;
    auto* source = new CxMatlabImageMetadata;
    source->setParent(&parent);
    source->setObjectName(QStringLiteral("named"));
    const std::unique_ptr<ep::IxMetadataItem> clone(source->clone());
    QVERIFY(!clone->parent());
    QVERIFY(clone->objectName().isEmpty());
}

void CxMatlabImageMetadataTest::metacast_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("answers");
    QTest::newRow("its own name") << QByteArray("orn::matlab::CxMatlabImageMetadata") << true;
    QTest::newRow("its base") << QByteArray("ep::IxMetadataItem") << true;
    QTest::newRow("every object") << QByteArray("QObject") << true;
    QTest::newRow("another class") << QByteArray("orn::matlab::CxMatlabImageLoader") << false;
    QTest::newRow("a null name") << QByteArray() << false;
}

void CxMatlabImageMetadataTest::metacast()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, answers);
    CxMatlabImageMetadata item;
    QCOMPARE(item.qt_metacast(name.isNull() ? nullptr : name.constData()),
             answers ? static_cast<void*>(&item) : nullptr);
}

void CxMatlabImageMetadataTest::theContainerOwnsTheItem()
{
    QPointer<CxMatlabImageMetadata> item(new CxMatlabImageMetadata);
    {
        ep::CxMetadata metadata;
        metadata.addMetadata(item);
        QVERIFY(item);
    }
    QVERIFY(!item);
}

void CxMatlabImageMetadataTest::theFirstItemOfTheClassIsFound()
{
    ep::CxMetadata metadata;
    auto* first = new CxMatlabImageMetadata;
    metadata.addMetadata(first);
    metadata.addMetadata(new CxMatlabImageMetadata);
    QCOMPARE(metadata.findItem(CxMatlabImageMetadata::staticMetaObject), first);
}

QTEST_GUILESS_MAIN(CxMatlabImageMetadataTest)
#include "CxMatlabImageMetadataTest.moc"
