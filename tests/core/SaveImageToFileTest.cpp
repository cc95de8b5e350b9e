#include <orn/SaveImageToFile.h>

#include "DumpFormat.h"
#include "Files.h"
#include "TestImages.h"

#include <ep/CxMetadata.h>

#include <QTemporaryDir>
#include <QtTest>

/** Reads dumps. */
class DumpReader : public testing::DumpLoader {
    Q_OBJECT
public:
    Q_INVOKABLE DumpReader() = default;
};

/** Writes dumps. */
class DumpWriter : public testing::DumpSaver {
    Q_OBJECT
public:
    Q_INVOKABLE DumpWriter() = default;
};

class SaveImageToFileTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        testing::registerLoader<DumpReader>();
        testing::registerSaver<DumpWriter>();
    }
    void replacesAnExistingFile();
    void fails_data();
    void fails();

private:
    QTemporaryDir m_folder;
};

void SaveImageToFileTest::replacesAnExistingFile()
{
    const QString path = m_folder.filePath(QStringLiteral("a.dump"));
    QVERIFY(testing::writeFile(path, "old"));
    const auto image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 7, 5));
    const ep::CxMetadata metadata;
    QVERIFY(orn::SaveImageToFile(path, image.image(), &metadata, nullptr));
    QCOMPARE(QFileInfo(path).size(), qint64(sizeof(ep::SxImageInfo)) + testing::dumpedBytes(image.image()));
}

void SaveImageToFileTest::fails_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isEmpty");
    QTest::newRow("into a folder that is missing") << QStringLiteral("missing/a.dump") << false;
    QTest::newRow("in a format that nobody knows") << QStringLiteral("a.odd") << false;
    QTest::newRow("as a text image, which is only read") << QStringLiteral("a.txt") << false;
    QTest::newRow("an empty image") << QStringLiteral("kept.dump") << true;
}

void SaveImageToFileTest::fails()
{
    QFETCH(QString, name);
    QFETCH(bool, isEmpty);
    const QString kept = m_folder.filePath(QStringLiteral("kept.dump"));
    QVERIFY(testing::writeFile(kept, "old"));
    const auto image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 7, 5));
    const ep::SxImageBuf none = ep::emptyImage();
    QVERIFY(!orn::SaveImageToFile(m_folder.filePath(name), isEmpty ? none : image.image(), nullptr, nullptr));
    QCOMPARE(testing::readFile(kept), QByteArray("old"));
}

QTEST_GUILESS_MAIN(SaveImageToFileTest)
#include "SaveImageToFileTest.moc"
