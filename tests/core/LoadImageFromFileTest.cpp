#include <orn/LoadImageFromFile.h>

#include "DumpFormat.h"
#include "Files.h"
#include "TestImages.h"

#include <orn/SaveImageToFile.h>

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

/** Reads dumps. */
class DumpReader : public testing::DumpLoader {
    Q_OBJECT
public:
    Q_INVOKABLE DumpReader() = default;
};

/** Writes dumps, and keeps the options that it was given. */
class DumpWriter : public testing::DumpSaver {
    Q_OBJECT
public:
    Q_INVOKABLE DumpWriter() = default;
    void setOptions(const QMap<QString, QVariant>& options) override { s_options = options; }

    static inline QMap<QString, QVariant> s_options;
};

/** The two plain functions, which a file goes through in both directions. */
class LoadImageFromFileTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        testing::registerLoader<DumpReader>();
        testing::registerSaver<DumpWriter>();
    }
    void goesThroughAFile();
    void metadataIsOptional();
    void failsOnWhatIsNoImage_data();
    void failsOnWhatIsNoImage();

private:
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    QTemporaryDir m_folder;
};

void LoadImageFromFileTest::goesThroughAFile()
{
    const auto image = testing::randomImage(testing::describe(ep::DataTypeUInt16, 7, 5, 3));
    const QMap<QString, QVariant> options{{QStringLiteral("level"), 3}};
    QVERIFY(orn::SaveImageToFile(path("a.dump"), image.image(), nullptr, &options));
    QCOMPARE(DumpWriter::s_options.value(QStringLiteral("level")).toInt(), 3);
    ep::CxScopedBuffer read;
    ep::CxMetadata metadata;
    QVERIFY(orn::LoadImageFromFile(path("a.dump"), read.image(), &metadata));
    QVERIFY(ep::SameSamples(read.image(), image.image()));
    QVERIFY(!metadata.isEmpty());
}

void LoadImageFromFileTest::metadataIsOptional()
{
    const auto image = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 3));
    QVERIFY(orn::SaveImageToFile(path("b.dump"), image.image(), nullptr, nullptr));
    ep::CxScopedBuffer read;
    QVERIFY(orn::LoadImageFromFile(path("b.dump"), read.image(), nullptr));
    QVERIFY(ep::SameSamples(read.image(), image.image()));
}

void LoadImageFromFileTest::failsOnWhatIsNoImage_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a file that is missing") << QStringLiteral("missing.dump");
    QTest::newRow("a file that is none of its format") << QStringLiteral("broken.dump");
    QTest::newRow("a format that nobody knows") << QStringLiteral("letter.odd");
    QTest::newRow("a text file: only the file image loader reads those") << QStringLiteral("numbers.txt");
}

void LoadImageFromFileTest::failsOnWhatIsNoImage()
{
    QFETCH(QString, name);
    if (!name.startsWith(QLatin1String("missing")))
        QVERIFY(testing::writeFile(m_folder.filePath(name), "1,2\n3,4\n"));
    ep::CxScopedBuffer image;
    QVERIFY(!orn::LoadImageFromFile(m_folder.filePath(name), image.image(), nullptr));
    QVERIFY(!image->data);
}

QTEST_GUILESS_MAIN(LoadImageFromFileTest)
#include "LoadImageFromFileTest.moc"
