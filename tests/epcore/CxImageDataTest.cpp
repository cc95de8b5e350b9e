#include <ep/CxImageData.h>

#include "TestImages.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/SameSamples.h>

#include <QtTest>

#include <memory>

using ep::CxImageData;

class CxImageDataTest : public QObject {
    Q_OBJECT

private:
    static ep::SxImageBuf makeImage(quint32 seed)
    {
        return testing::randomImage(testing::describe(ep::DataTypeUInt16, 7, 5, 3), seed).take();
    }

private slots:
    void freshObjectHasNoImage()
    {
        const CxImageData data;
        QVERIFY(!data.image().data);
        QCOMPARE(data.image().bayerGrid, ep::BayerGridNone);
        QCOMPARE(data.image().formatCode, 1);
        QVERIFY(data.metadata().isEmpty());
        QVERIFY(!data.parent());
    }

    void imageIsTakenOverWithoutCopying()
    {
        CxImageData data;
        const ep::SxImageBuf image = makeImage(1);
        const QDateTime now = QDateTime::currentDateTime();
        data.setImageShallow(image, 3, 4000000000, now);
        QCOMPARE(data.image().data, image.data);
        QCOMPARE(data.frame(), 3);
        QCOMPARE(data.timestamp(), 4000000000);
        QCOMPARE(data.dateTime(), now);
    }

    void imageHeldBeforeIsReleased()
    {
        CxImageData data;
        data.setImageShallow(makeImage(1), 0, 0, QDateTime());
        const ep::SxImageBuf second = makeImage(2);  // the leak checker sees what becomes of the first
        data.setImageShallow(second, 0, 0, QDateTime());
        QCOMPARE(data.image().data, second.data);
        data.setImageShallow(data.image(), 1, 0, QDateTime());
        QCOMPARE(data.image().data, second.data);
        QCOMPARE(testing::sampleAt<quint16>(data.image(), 0, 0), testing::sampleAt<quint16>(second, 0, 0));
    }

    void imageCanBeGivenAway()
    {
        CxImageData data;
        data.setImageShallow(makeImage(1), 0, 0, QDateTime());
        ep::CxScopedBuffer taken;
        taken.reset(data.takeImage());
        QVERIFY(taken->data);
        QVERIFY(!data.image().data);
        QVERIFY(!data.takeImage().data);
    }

    void cloneIsADeepCopy()
    {
        CxImageData data;
        data.setImageShallow(makeImage(1), 3, 4, QDateTime::currentDateTime());
        ep::CxMetadata metadata;
        auto* item = new ep::CxCommonImageMetadata;
        item->iso = 100;
        metadata.addMetadata(item);
        data.setMetadata(metadata);

        const std::unique_ptr<ep::IxData> clone(data.clone(0));
        const auto* copy = qobject_cast<CxImageData*>(clone.get());
        QVERIFY(copy);
        QVERIFY(!copy->parent());
        QVERIFY(copy->image().data != data.image().data);
        QVERIFY(ep::SameSamples(copy->image(), data.image()));
        QCOMPARE(copy->frame(), 3);
        QCOMPARE(copy->timestamp(), 4);
        QCOMPARE(copy->dateTime(), data.dateTime());
        QCOMPARE(copy->metadata().items().size(), 1);
        QVERIFY(copy->metadata().items().first() != data.metadata().items().first());
        QCOMPARE(qobject_cast<ep::CxCommonImageMetadata*>(copy->metadata().items().first())->iso, 100.0);
    }

    void cloneOfAnObjectWithoutImageHasNone()
    {
        const CxImageData data;
        const std::unique_ptr<ep::IxData> clone(data.clone(0));
        QVERIFY(clone);
        QVERIFY(!qobject_cast<CxImageData*>(clone.get())->image().data);
    }

    void metadataIsCopiedOrTakenOver()
    {
        CxImageData data;
        ep::CxMetadata metadata;
        metadata.addMetadata(new ep::CxCommonImageMetadata);
        const ep::IxMetadataItem* item = metadata.items().first();
        data.setMetadata(metadata);
        QVERIFY(data.metadata().items().first() != item);
        data.setMetadata(std::move(metadata));
        QCOMPARE(data.metadata().items().first(), item);
    }
};

QTEST_GUILESS_MAIN(CxImageDataTest)
#include "CxImageDataTest.moc"
