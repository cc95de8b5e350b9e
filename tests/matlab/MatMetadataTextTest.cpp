// Every text that a program can hold comes back from the metadata of a MAT file.

#include <ep/CxImageFormatManager.h>
#include <orn/Init.h>

#include "TestImages.h"
#include "UnicodeTexts.h"

#include <ep/CxCommonImageMetadata.h>

#include <QTemporaryDir>
#include <QtTest>

using ep::CxCommonImageMetadata;
using Manager = ep::CxImageFormatManager;

class MatMetadataTextTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { orn::Init(); }
    void textsComeBack_data() { testing::addUnicodeTexts(20); }
    void textsComeBack();
};

void MatMetadataTextTest::textsComeBack()
{
    QFETCH(QString, text);
    auto* item = new CxCommonImageMetadata;
    item->cameraModel = text;
    item->attributes.insert(text.left(100), text.right(100));
    ep::CxMetadata metadata;
    metadata.addMetadata(item);
    const auto image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2, 2));
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.mat"));
    QVERIFY(Manager::saveImageToFile(path, image.image(), &metadata, nullptr, true, QString()));
    ep::CxScopedBuffer again;
    ep::CxMetadata read;
    QVERIFY(Manager::loadImageFromFile(path, again.image(), &read));
    const auto* found = qobject_cast<CxCommonImageMetadata*>(read.findItem(CxCommonImageMetadata::staticMetaObject));
    QVERIFY(found);
    // Not QCOMPARE, which prints what differs.
    QVERIFY(found->cameraModel == text);
    QVERIFY(found->attributes == item->attributes);
}

QTEST_GUILESS_MAIN(MatMetadataTextTest)
#include "MatMetadataTextTest.moc"
