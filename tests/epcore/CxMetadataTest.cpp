#include <ep/CxMetadata.h>

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxRtti.h>
#include <ep/IxMetadataItem.h>

#include <QtTest>

#include <utility>

using ep::CxCommonImageMetadata;
using ep::CxMetadata;
using ep::IxMetadataItem;

/** Counts its living objects, so that ownership can be seen. */
class CountedItem : public IxMetadataItem {
    Q_OBJECT
public:
    explicit CountedItem(int number = 0) : value(number) { ++living; }
    ~CountedItem() override { --living; }
    IxMetadataItem* clone() const override { return new CountedItem(value); }

    int value;
    static inline int living = 0;
};

class CxMetadataTest : public QObject {
    Q_OBJECT

private:
    static int valueOf(const CxMetadata& metadata, int index)
    {
        return qobject_cast<CountedItem*>(metadata.items().at(index))->value;
    }
    static CxMetadata twoItems()
    {
        CxMetadata metadata;
        metadata.addMetadata(new CountedItem(1));
        metadata.addMetadata(new CountedItem(2));
        return metadata;
    }

private slots:
    void cleanup() { QCOMPARE(CountedItem::living, 0); }

    void freshContainerIsEmpty()
    {
        CxMetadata metadata;
        QVERIFY(metadata.isEmpty());
        QVERIFY(metadata.items().isEmpty());
        QVERIFY(!metadata.findItem(IxMetadataItem::staticMetaObject));
    }

    void itemsStandInTheOrderInWhichTheyWereAdded()
    {
        const CxMetadata metadata = twoItems();
        QVERIFY(!metadata.isEmpty());
        QCOMPARE(metadata.items().size(), 2);
        QCOMPARE(valueOf(metadata, 0), 1);
        QCOMPARE(valueOf(metadata, 1), 2);
    }

    void addingNullIsIgnored()
    {
        CxMetadata metadata;
        metadata.addMetadata(nullptr);
        QVERIFY(metadata.isEmpty());
    }

    void firstItemOfATypeIsFound()
    {
        CxMetadata metadata;
        metadata.addMetadata(new CxCommonImageMetadata);
        metadata.addMetadata(new CountedItem(1));
        metadata.addMetadata(new CountedItem(2));
        QCOMPARE(metadata.findItem(CountedItem::staticMetaObject), metadata.items().at(1));
        QCOMPARE(metadata.findItem(IxMetadataItem::staticMetaObject), metadata.items().at(0));
        QVERIFY(!metadata.findItem(CxMetadataTest::staticMetaObject));
    }

    void containerDeletesItsItems()
    {
        {
            CxMetadata metadata = twoItems();
            QCOMPARE(CountedItem::living, 2);
            metadata.clear();
            QVERIFY(metadata.isEmpty());
            QCOMPARE(CountedItem::living, 0);
            metadata.addMetadata(new CountedItem);
        }
        QCOMPARE(CountedItem::living, 0);
    }

    void copiesAreDeep()
    {
        const CxMetadata source = twoItems();
        CxMetadata copy(source);
        QCOMPARE(copy.items().size(), 2);
        QVERIFY(copy.items().at(0) != source.items().at(0));
        qobject_cast<CountedItem*>(copy.items().at(0))->value = 7;
        QCOMPARE(valueOf(source, 0), 1);

        CxMetadata assigned;
        assigned.addMetadata(new CountedItem(9));
        assigned = source;
        QCOMPARE(assigned.items().size(), 2);
        QCOMPARE(valueOf(assigned, 1), 2);
        QVERIFY(assigned.items().at(1) != source.items().at(1));
    }

    void assigningAContainerToItselfKeepsIt()
    {
        CxMetadata metadata = twoItems();
        CxMetadata& same = metadata;
        metadata = same;
        QCOMPARE(metadata.items().size(), 2);
        metadata = std::move(same);
        QCOMPARE(metadata.items().size(), 2);
        QCOMPARE(valueOf(metadata, 0), 1);
    }

    void movesTakeTheItemsOver()
    {
        CxMetadata source = twoItems();
        const IxMetadataItem* item = source.items().at(0);
        CxMetadata moved(std::move(source));
        QCOMPARE(moved.items().at(0), item);
        QVERIFY(source.isEmpty());

        CxMetadata assigned;
        assigned.addMetadata(new CountedItem(9));
        assigned = std::move(moved);
        QCOMPARE(assigned.items().at(0), item);
        QVERIFY(moved.isEmpty());
        QCOMPARE(CountedItem::living, 2);
    }
};

QTEST_GUILESS_MAIN(CxMetadataTest)
#include "CxMetadataTest.moc"
