#include <orn/FileImageLoader.h>

#include "DumpFormat.h"
#include "Files.h"
#include "OwnedStorage.h"
#include "TestImages.h"

#include <orn/Init.h>
#include <orn/SaveImageToFile.h>

#include <ep/CxRtti.h>
#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using orn::FileImageLoader;
using orn::ImageLoader;

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

class FileImageLoaderTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void everyCallGivesAnObjectOfItsOwn();
    void isReachedThroughItsMetaObject();
    void metaObjectIsThatOfTheContract();
    void refusesWithAMessage_data();
    void refusesWithAMessage();
    void theMessageIsOptional();
    void readsEveryFormat_data();
    void readsEveryFormat();
    void aMatFileWithoutAMatrixLoadsNothing();
    void aFailureReleasesWhatTheRecordHeld_data();
    void aFailureReleasesWhatTheRecordHeld();

private:
    QString path(const QString& name) const { return m_folder.filePath(name); }
    static bool load(const QVariant& name, ep::SxImageBuf& image, QString* message)
    {
        const std::unique_ptr<ImageLoader> loader(ImageLoader::instance());
        return loader->loadImage({{QStringLiteral("filename"), name}}, image, message);
    }
    QTemporaryDir m_folder;
};

void FileImageLoaderTest::initTestCase()
{
    orn::Init();
    testing::registerLoader<DumpReader>();
    testing::registerSaver<DumpWriter>();
}

void FileImageLoaderTest::everyCallGivesAnObjectOfItsOwn()
{
    const std::unique_ptr<ImageLoader> first(ImageLoader::instance());
    const std::unique_ptr<ImageLoader> second(ImageLoader::instance());
    QVERIFY(first && second && first != second);
    auto* object = dynamic_cast<FileImageLoader*>(first.get());
    QVERIFY(object && !object->parent());
}

void FileImageLoaderTest::isReachedThroughItsMetaObject()
{
    const std::unique_ptr<QObject> object(FileImageLoader::staticMetaObject.newInstance());
    QVERIFY(object);
    auto* const self = static_cast<FileImageLoader*>(object.get());
    auto* const loader = static_cast<ImageLoader*>(object->qt_metacast("ImageLoader"));
    QCOMPARE(loader, static_cast<ImageLoader*>(self));
    QVERIFY(static_cast<void*>(loader) != static_cast<void*>(self));
    QCOMPARE(object->qt_metacast("orn::FileImageLoader"), static_cast<void*>(self));
    QCOMPARE(object->qt_metacast("QObject"), static_cast<void*>(object.get()));
    QCOMPARE(object->qt_metacast("orn::ImageLoader"), nullptr);
    QCOMPARE(qobject_cast<ImageLoader*>(object.get()), loader);
    ep::SxImageBuf image{};
    QVERIFY(!loader->loadImage({}, image, nullptr));
}

void FileImageLoaderTest::metaObjectIsThatOfTheContract()
{
    const QMetaObject& type = FileImageLoader::staticMetaObject;
    QCOMPARE(type.className(), "orn::FileImageLoader");
    QCOMPARE(type.superClass(), &QObject::staticMetaObject);
    QCOMPARE(type.methodCount() - type.methodOffset(), 0);
    QCOMPARE(type.propertyCount() - type.propertyOffset(), 0);
    QCOMPARE(type.constructorCount(), 1);
    QCOMPARE(type.classInfoCount() - type.classInfoOffset(), 1);
    QCOMPARE(ep::CxRtti::displayName(type), QStringLiteral("File Image Loader"));
}

void FileImageLoaderTest::refusesWithAMessage_data()
{
    QTest::addColumn<QVariantMap>("parameters");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* name, const QVariantMap& parameters, const char* message) {
        QTest::newRow(name) << parameters << QString::fromLatin1(message);
    };
    const QString key = QStringLiteral("filename");
    row("no parameter", {}, "File name is not specified.");
    row("another parameter", {{QStringLiteral("Filename"), QStringLiteral("@a.dump")}}, "File name is not specified.");
    row("an empty name", {{key, QString()}}, "Filename  does not exist.");
    row("a value that is no text", {{key, QVariant()}}, "Filename  does not exist.");
    row("a number as the name", {{key, 31415}}, "Filename 31415 does not exist.");
    row("a file that is missing", {{key, QStringLiteral("@missing.txt")}}, "Filename @missing.txt does not exist.");
    row("a name with a place marker", {{key, QStringLiteral("@%1 %2.mat")}}, "Filename @%1 %2.mat does not exist.");
    row("a format that nobody knows", {{key, QStringLiteral("@letter.odd")}}, "Cannot load the @letter.odd.");
    row("a broken file of a known format", {{key, QStringLiteral("@broken.dump")}}, "Cannot load the @broken.dump.");
    row("a broken MAT file", {{key, QStringLiteral("@broken.mat")}}, "Cannot load the @broken.mat.");
    row("a broken text file", {{key, QStringLiteral("@broken.txt")}}, "Cannot load the @broken.txt.");
    row("a folder", {{key, QStringLiteral("@folder.txt")}}, "Cannot load the @folder.txt.");
    row("a name without a suffix", {{key, QStringLiteral("@txt")}}, "Cannot load the @txt.");
}

void FileImageLoaderTest::refusesWithAMessage()
{
    QFETCH(QVariantMap, parameters);
    QFETCH(QString, message);
    for (const char* name : {"letter.odd", "broken.dump", "broken.mat", "broken.txt", "txt"})
        QVERIFY(testing::writeFile(path(QLatin1String(name)), "1,2\n3\n"));
    QDir(m_folder.path()).mkdir(QStringLiteral("folder.txt"));
    for (QVariant& value : parameters)
        if (value.type() == QVariant::String)
            value = value.toString().replace(QLatin1Char('@'), m_folder.path() + QLatin1Char('/'));
    QString said;
    ep::SxImageBuf image{};
    const std::unique_ptr<ImageLoader> loader(ImageLoader::instance());
    QVERIFY(!loader->loadImage(parameters, image, &said));
    QCOMPARE(said, message.replace(QLatin1Char('@'), m_folder.path() + QLatin1Char('/')));
    QVERIFY(!image.data);
}

void FileImageLoaderTest::theMessageIsOptional()
{
    ep::SxImageBuf image{};
    QVERIFY(!load(path(QStringLiteral("missing.txt")), image, nullptr));
    QVERIFY(testing::writeFile(path(QStringLiteral("numbers.txt")), "1\n"));
    QString kept = QStringLiteral("kept");
    ep::CxScopedBuffer loaded;
    QVERIFY(load(path(QStringLiteral("numbers.txt")), loaded.image(), &kept));
    QCOMPARE(kept, QStringLiteral("kept"));
}

void FileImageLoaderTest::readsEveryFormat_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a format of the manager") << QStringLiteral("a.dump");
    QTest::newRow("MAT") << QStringLiteral("a.mat");
    QTest::newRow("MAT in capitals") << QStringLiteral("b.MAT");
}

void FileImageLoaderTest::readsEveryFormat()
{
    QFETCH(QString, name);
    const auto image = testing::randomImage(testing::describe(ep::DataTypeDouble, 7, 5));
    QVERIFY(orn::SaveImageToFile(path(name), image.image(), nullptr, nullptr));
    ep::CxScopedBuffer read;
    QString message;
    QVERIFY2(load(path(name), read.image(), &message), qPrintable(message));
    QVERIFY(ep::SameSamples(read.image(), image.image()));
}

void FileImageLoaderTest::aMatFileWithoutAMatrixLoadsNothing()
{
    // 128 bytes of header and no variable.
    const QByteArray header = QByteArray("MATLAB 5.0 MAT-file").leftJustified(124, ' ') + QByteArray("\x00\x01IM", 4);
    QVERIFY(testing::writeFile(path(QStringLiteral("none.mat")), header));
    ep::SxImageBuf image{};
    QString message;
    QVERIFY2(load(path(QStringLiteral("none.mat")), image, &message), qPrintable(message));
    QVERIFY(!image.data);
}

void FileImageLoaderTest::aFailureReleasesWhatTheRecordHeld_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("an empty text file") << QStringLiteral("empty.txt") << QByteArray();
    QTest::newRow("a text file that cannot be opened") << QStringLiteral("folder.txt") << QByteArray();
    QTest::newRow("a MAT file that is none") << QStringLiteral("broken.mat") << QByteArray("no MAT file");
}

void FileImageLoaderTest::aFailureReleasesWhatTheRecordHeld()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    if (name.startsWith(QLatin1String("folder")))
        QDir(m_folder.path()).mkdir(name);
    else
        QVERIFY(testing::writeFile(path(name), content));
    ep::SxImageBuf image = testing::ownedImage();
    QCOMPARE(testing::ownedStorages(), 1);
    QVERIFY(!load(path(name), image, nullptr));
    QVERIFY(!image.data);
    QCOMPARE(testing::ownedStorages(), 0);
}

QTEST_GUILESS_MAIN(FileImageLoaderTest)
#include "FileImageLoaderTest.moc"
