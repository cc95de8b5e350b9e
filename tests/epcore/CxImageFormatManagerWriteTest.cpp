// Writing through the format manager: what a saver is given, and where the file goes.

#include <ep/CxImageFormatManager.h>

#include "DumpFormat.h"
#include "FullMetadata.h"
#include "TestImages.h"
#include "UnsoundImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <limits>
#include <memory>

using ep::CxCommonImageMetadata;
using ep::CxScopedBuffer;
using ep::ExFileError;
using ep::SxFileError;
using Manager = ep::CxImageFormatManager;

/** Reads dumps and remembers the options. */
class DumpReader : public testing::DumpLoader {
    Q_OBJECT
public:
    Q_INVOKABLE DumpReader() = default;
    bool open() override
    {
        seenOptions = options();
        return DumpLoader::open();
    }

    static inline QMap<QString, QVariant> seenOptions;
};

/** Writes dumps and remembers what it was given. */
class RememberingSaver : public testing::DumpSaver {
    Q_OBJECT
public:
    Q_INVOKABLE RememberingSaver() = default;
    bool acceptsInterleavedChannels() const override { return acceptsInterleaved; }
    void setOptions(const QMap<QString, QVariant>& options) override { seenOptions = options; }
    bool saveImage(const ep::IxData* data) override
    {
        seen.reset(qobject_cast<ep::CxImageData*>(qobject_cast<const ep::CxImageData*>(data)->clone(0)));
        seenName = fileName();
        return DumpSaver::saveImage(data);
    }

    static inline bool acceptsInterleaved = true;
    static inline QMap<QString, QVariant> seenOptions;
    static inline QString seenName;
    static inline std::unique_ptr<ep::CxImageData> seen;
};

class CxImageFormatManagerWriteTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_folder;

    QString path(const char* name) const { return m_folder->filePath(QString::fromUtf8(name)); }
    QStringList entries() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    static QByteArray content(const QString& name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    static void write(const QString& name, const QByteArray& content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test file");
    }
    static SxFileError save(const QString& name, const ep::SxImageBuf& image, bool refuseReplace = false,
                            const char* format = "", const ep::CxMetadata* metadata = nullptr)
    {
        SxFileError error{ExFileError::Unsupported, QStringLiteral("of before")};
        if (Manager::saveImageToFile(name, image, metadata, nullptr, refuseReplace, QString::fromUtf8(format), &error)
            != !error)
            qFatal("the result and the error contradict each other");
        return error;
    }
    static CxScopedBuffer smallImage() { return testing::randomImage(testing::describe(ep::DataTypeUInt16, 5, 3)); }

private slots:
    void initTestCase()
    {
        testing::registerLoader<DumpReader>();
        testing::registerSaver<RememberingSaver>();
    }
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        RememberingSaver::acceptsInterleaved = true;
        RememberingSaver::seen.reset();
        Manager::instance()->setMemoryLimit(0);
    }

    void everyKindOfImageIsSaved_data()
    {
        QTest::addColumn<int>("type");
        for (const ep::ExImageDataType type : testing::allTypes)
            QTest::newRow(ep::sampleFacts(type).name) << int(type);
    }

    void everyKindOfImageIsSaved()
    {
        QFETCH(int, type);
        for (const ep::ExImageLayout layout : testing::allLayouts)
            for (int channels = 1; channels <= 5; ++channels)
                for (const bool interleaved : {true, false}) {
                    RememberingSaver::acceptsInterleaved = interleaved;
                    const CxScopedBuffer image =
                        testing::randomImage(testing::describe(ep::ExImageDataType(type), 7, 5, channels, layout, 3));
                    const CxScopedBuffer before = testing::copyOf(image.image());
                    const SxFileError error = save(path("image.dump"), image.image());
                    QVERIFY2(!error, qPrintable(error.reason));
                    QVERIFY(testing::sameStorage(image.image(), before.image()));
                    const ep::SxImageBuf& handed = RememberingSaver::seen->image();
                    QVERIFY(ep::SameSamples(handed, image.image()));
                    const bool isSplit = layout == ep::LayoutPacked && channels > 1 && !interleaved;
                    QCOMPARE(handed.layout, isSplit ? ep::LayoutPlanar : channels == 1 ? ep::LayoutPacked : layout);
                    CxScopedBuffer read;
                    QVERIFY(Manager::loadImageFromFile(path("image.dump"), read.image(), nullptr));
                    QVERIFY(ep::SameSamples(read.image(), image.image()));
                }
        QCOMPARE(entries(), QStringList{QStringLiteral("image.dump")});
    }

    void saverGetsCompleteMetadata_data()
    {
        QTest::addColumn<int>("ofImage");
        QTest::addColumn<int>("declared");
        QTest::addColumn<int>("expected");
        QTest::newRow("the depth of the image") << 14 << 0 << 14;
        QTest::newRow("the declared depth stays") << 14 << 12 << 12;
        QTest::newRow("no depth known") << 0 << 0 << 0;
    }

    void saverGetsCompleteMetadata()
    {
        QFETCH(int, ofImage);
        QFETCH(int, declared);
        QFETCH(int, expected);
        CxScopedBuffer image = smallImage();
        image->bitDepth = ofImage;
        ep::CxMetadata metadata = testing::fullMetadata();
        static_cast<CxCommonImageMetadata*>(metadata.items().first())->colorBitDepth = declared;
        const QString before = metadata.saveToXml(1);
        QVERIFY(!save(path("image.dump"), image.image(), false, "", &metadata));
        QCOMPARE(metadata.saveToXml(1), before);
        static_cast<CxCommonImageMetadata*>(metadata.items().first())->colorBitDepth = expected;
        QCOMPARE(RememberingSaver::seen->metadata().saveToXml(1), metadata.saveToXml(1));
    }

    void imageWithoutMetadataHasItsLayoutAndDepth()
    {
        CxScopedBuffer image = smallImage();
        image->bitDepth = 14;
        image->bayerGrid = ep::BayerGridGBRG;
        QVERIFY(!save(path("image.dump"), image.image()));
        const ep::CxMetadata& metadata = RememberingSaver::seen->metadata();
        QCOMPARE(metadata.items().size(), 1);
        const auto* common = qobject_cast<const CxCommonImageMetadata*>(metadata.items().first());
        QCOMPARE(common->bayerGrid, qint32(ep::BayerGridGBRG));
        QCOMPARE(common->colorBitDepth, 14);
    }

    void unsoundImagesAreNotSaved_data() { testing::addUnsoundImages(); }

    void unsoundImagesAreNotSaved()
    {
        const CxScopedBuffer image = smallImage();
        ep::SxImageBuf unsound = image.image();
        testing::currentUnsoundImage().spoil(unsound);
        const SxFileError error = save(path("image.dump"), unsound);
        QCOMPARE(error.kind, ExFileError::Unsupported);
        QCOMPARE(error.reason, QStringLiteral("there is no image to write"));
        QVERIFY(entries().isEmpty());
        QVERIFY(!RememberingSaver::seen);
    }

    void existingFileIsReplacedUnlessThatIsRefused()
    {
        const CxScopedBuffer image = smallImage();
        QVERIFY(!save(path("image.dump"), image.image(), true));
        const QByteArray first = content(path("image.dump"));
        const CxScopedBuffer other = testing::randomImage(testing::describe(ep::DataTypeUInt8, 3, 2), 2);
        RememberingSaver::seen.reset();
        const SxFileError error = save(path("image.dump"), other.image(), true);
        QCOMPARE(error.kind, ExFileError::Refused);
        QCOMPARE(error.reason, QStringLiteral("the file exists already"));
        QVERIFY(!RememberingSaver::seen);
        QCOMPARE(content(path("image.dump")), first);
        QVERIFY(!save(path("image.dump"), other.image()));
        QVERIFY(content(path("image.dump")) != first);
    }

    void formatCanBeForced_data()
    {
        QTest::addColumn<QString>("format");
        QTest::newRow("a suffix") << QStringLiteral("dump");
        QTest::newRow("with its dot") << QStringLiteral(".dump");
        QTest::newRow("in capitals") << QStringLiteral("DUMP");
    }

    void formatCanBeForced()
    {
        QFETCH(QString, format);
        const CxScopedBuffer image = smallImage();
        for (const char* name : {"image.other", "image", "image.dump.other"}) {
            const SxFileError error = save(path(name), image.image(), false, format.toUtf8());
            QVERIFY2(!error, qPrintable(error.reason));  // proved by the loader of the forced format
        }
    }

    void saverWritesBesideTheTarget()
    {
        const CxScopedBuffer image = smallImage();
        QVERIFY(QDir(m_folder->path()).mkdir(QString::fromUtf8("Größe 相機 📷")));
        const QString target = path("Größe 相機 📷/Bild 🖼.dump");
        const SxFileError error = save(target, image.image());
        QVERIFY2(!error, qPrintable(error.reason));
        QCOMPARE(QFileInfo(RememberingSaver::seenName).path(), QFileInfo(target).path());
        QCOMPARE(QFileInfo(RememberingSaver::seenName).suffix(), QStringLiteral("dump"));
        QVERIFY(RememberingSaver::seenName != target);
        CxScopedBuffer read;
        QVERIFY(Manager::loadImageFromFile(target, read.image(), nullptr));
        QVERIFY(ep::SameSamples(read.image(), image.image()));
    }

    void optionsReachTheSaverAndTheProof()
    {
        const CxScopedBuffer image = smallImage();
        const QMap<QString, QVariant> options{{QStringLiteral("key"), 7}};
        QVERIFY(Manager::saveImageToFile(path("image.dump"), image.image(), nullptr, &options, false, QString()));
        QCOMPARE(RememberingSaver::seenOptions, options);
        QCOMPARE(DumpReader::seenOptions, options);
        QVERIFY(!save(path("image.dump"), image.image()));
        QVERIFY(RememberingSaver::seenOptions.isEmpty());
    }

    void impossibleTargetsAreErrors_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        const QString folder = QStringLiteral("it is a folder, not a file");
        QTest::newRow("a folder") << QStringLiteral("folder.dump") << folder;
        QTest::newRow("a missing folder")
            << QStringLiteral("missing/image.dump") << QStringLiteral("its folder does not exist");
        QTest::newRow("a file for a folder")
            << QStringLiteral("file/image.dump") << QStringLiteral("its folder does not exist");
    }

    void impossibleTargetsAreErrors()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        QDir(m_folder->path()).mkdir(QStringLiteral("folder.dump"));
        write(path("file"), "old");
        const CxScopedBuffer image = smallImage();
        const SxFileError error = save(m_folder->filePath(name), image.image());
        QCOMPARE(error.kind, ExFileError::Unwritable);
        QCOMPARE(error.reason, reason);
        QCOMPARE(entries().size(), 2);
    }

    void memoryLimitIsForStrangersFiles()
    {
        const CxScopedBuffer image = smallImage();
        for (const qint64 limit : {qint64(1), std::numeric_limits<qint64>::max()}) {
            Manager::instance()->setMemoryLimit(limit);
            const SxFileError error = save(path("image.dump"), image.image());
            QVERIFY2(!error, qPrintable(error.reason));
        }
    }
};

QTEST_GUILESS_MAIN(CxImageFormatManagerWriteTest)
#include "CxImageFormatManagerWriteTest.moc"
