// Reading through the format manager: what is read, and what is told when it cannot be.

#include <ep/CxImageFormatManager.h>

#include "DumpFormat.h"
#include "TestImages.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <limits>
#include <new>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

using ep::CxScopedBuffer;
using ep::ExFileError;
using ep::SxFileError;
using Manager = ep::CxImageFormatManager;

/** Does what the current test says instead of reading a dump. */
class PliantLoader : public testing::DumpLoader {
    Q_OBJECT
    Q_CLASSINFO("CustomName", "Pliant Loader")
public:
    Q_INVOKABLE PliantLoader() = default;
    bool open() override
    {
        ++asked;
        seenOptions = options();
        seenLimit = memoryLimit();
        return behaviour ? behaviour(*this) : DumpLoader::open();
    }
    bool isOpen() const override { return claimsToBeOpen || DumpLoader::isOpen(); }
    ep::CxImageData* imageData(int frame) override
    {
        if (handsOutNothing)
            return new ep::CxImageData;
        return DumpLoader::imageData(frame);
    }
    using DumpLoader::fail;

    static inline std::function<bool(PliantLoader&)> behaviour;
    static inline bool claimsToBeOpen = false;
    static inline bool handsOutNothing = false;
    static inline int asked = 0;
    static inline QMap<QString, QVariant> seenOptions;
    static inline qint64 seenLimit = 0;
};

/** What a loader does instead of reading. */
using Behaviour = std::function<bool(PliantLoader&)>;
Q_DECLARE_METATYPE(Behaviour)

/** Another identity for its scope, when the process is root: root may read everything. */
class NobodyScope {
public:
    NobodyScope()
    {
        constexpr uid_t nobody = 65534;
        if (m_isRoot && setresuid(nobody, nobody, 0) != 0)
            qFatal("cannot become nobody");
    }
    ~NobodyScope()
    {
        if (m_isRoot && setresuid(0, 0, 0) != 0)
            qFatal("cannot become root again");
    }
    NobodyScope(const NobodyScope&) = delete;
    NobodyScope& operator=(const NobodyScope&) = delete;

private:
    const bool m_isRoot = geteuid() == 0;
};

class CxImageFormatManagerReadTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path(const QString& name) const { return m_folder.filePath(name); }
    static void write(const QString& name, const QByteArray& content)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test file");
    }
    /** A dump of @p image in the file @p name. */
    static void dump(const QString& name, const ep::SxImageBuf& image)
    {
        QByteArray content(reinterpret_cast<const char*>(static_cast<const ep::SxImageInfo*>(&image)),
                           sizeof(ep::SxImageInfo));
        content.append(static_cast<const char*>(image.data), int(testing::dumpedBytes(image)));
        write(name, content);
    }
    static CxScopedBuffer smallImage() { return testing::randomImage(testing::describe(ep::DataTypeUInt16, 5, 3)); }

private slots:
    void initTestCase()
    {
        testing::registerLoader<PliantLoader>();
        QVERIFY(QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7755)));
    }
    void init()
    {
        PliantLoader::behaviour = nullptr;
        PliantLoader::claimsToBeOpen = false;
        PliantLoader::handsOutNothing = false;
        PliantLoader::asked = 0;
        Manager::instance()->setMemoryLimit(0);
    }

    void thereIsOneManager() { QCOMPARE(Manager::instance(), Manager::instance()); }

    void namesOfEveryKindAreRead_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << QStringLiteral("image.dump");
        QTest::newRow("in many scripts") << QStringLiteral("Größe 相機 📷.dump");
        QTest::newRow("with what shells and formats mean by it") << QStringLiteral("a b%1*?[0]'\"\\.dump");
        QTest::newRow("in a folder outside ASCII") << QStringLiteral("Bilder ä/image.dump");
        QTest::newRow("a link") << QStringLiteral("link.dump");
    }

    void namesOfEveryKindAreRead()
    {
        QFETCH(QString, name);
        const CxScopedBuffer image = smallImage();
        QDir().mkpath(QFileInfo(path(name)).path());
        if (name == QLatin1String("link.dump"))
            QVERIFY(QFile::link(QStringLiteral("target"), path(name)));
        dump(path(name), image.image());
        CxScopedBuffer read;
        SxFileError error;
        QVERIFY2(Manager::loadImageFromFile(path(name), read.image(), nullptr, nullptr, &error),
                 qPrintable(error.reason));
        QVERIFY(ep::SameSamples(read.image(), image.image()));
        const QString before = QDir::currentPath();
        QDir::setCurrent(m_folder.path());
        CxScopedBuffer relative;
        const bool isRead = Manager::loadImageFromFile(name, relative.image(), nullptr);
        QDir::setCurrent(before);
        QVERIFY(isRead);
    }

    void everyKindOfImageIsReadAsItIs_data()
    {
        QTest::addColumn<int>("type");
        for (const ep::ExImageDataType type : testing::allTypes)
            QTest::newRow(ep::sampleFacts(type).name) << int(type);
    }

    void everyKindOfImageIsReadAsItIs()
    {
        QFETCH(int, type);
        for (const ep::ExImageLayout layout : testing::allLayouts)
            for (int channels = 1; channels <= 5; ++channels) {
                const CxScopedBuffer image =
                    testing::randomImage(testing::describe(ep::ExImageDataType(type), 7, 5, channels, layout, 3));
                dump(path(QStringLiteral("kind.dump")), image.image());
                CxScopedBuffer read;
                QVERIFY(Manager::loadImageFromFile(path(QStringLiteral("kind.dump")), read.image(), nullptr));
                QVERIFY(ep::SameSamples(read.image(), image.image()));
                QCOMPARE(read->layout, channels == 1 ? ep::LayoutPacked : layout);
                QCOMPARE(read->bayerGrid, ep::BayerGridNone);
            }
    }

    void whatIsNoFileIsNotGivenToALoader_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        const QString missing = QStringLiteral("the file does not exist");
        const QString folder = QStringLiteral("it is a folder, not a file");
        const QString special = QStringLiteral("it is not a regular file");
        QTest::newRow("missing") << QStringLiteral("missing.dump") << missing;
        QTest::newRow("in a missing folder") << QStringLiteral("missing/image.dump") << missing;
        QTest::newRow("no name") << QString() << missing;
        QTest::newRow("a folder") << QStringLiteral("folder.dump") << folder;
        QTest::newRow("the root folder") << QStringLiteral("/") << folder;
        QTest::newRow("a pipe, which nobody would fill") << QStringLiteral("pipe.dump") << special;
        QTest::newRow("a device") << QStringLiteral("/dev/null") << special;
        QTest::newRow("a link to nothing") << QStringLiteral("nothing.dump") << missing;
        QTest::newRow("a link to itself") << QStringLiteral("loop.dump") << missing;
        QTest::newRow("no permission") << QStringLiteral("secret.dump")
                                       << QStringLiteral("there is no permission to read it");
    }

    void whatIsNoFileIsNotGivenToALoader()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        QDir(m_folder.path()).mkdir(QStringLiteral("folder.dump"));
        mkfifo(QFile::encodeName(path(QStringLiteral("pipe.dump"))), 0600);
        QFile::link(QStringLiteral("nowhere"), path(QStringLiteral("nothing.dump")));
        QFile::link(QStringLiteral("loop.dump"), path(QStringLiteral("loop.dump")));
        QFile::remove(path(QStringLiteral("secret.dump")));
        dump(path(QStringLiteral("secret.dump")), smallImage().image());
        QCOMPARE(chmod(QFile::encodeName(path(QStringLiteral("secret.dump"))), 0), 0);
        const QString full = name.isEmpty() || name.startsWith(QLatin1Char('/')) ? name : path(name);

        CxScopedBuffer read;
        SxFileError error;
        const NobodyScope nobody;
        QVERIFY(!Manager::loadImageFromFile(full, read.image(), nullptr, nullptr, &error));
        QCOMPARE(error.kind, ExFileError::Unreadable);
        QCOMPARE(error.reason, reason);
        QCOMPARE(PliantLoader::asked, 0);
    }

    void unknownSuffixIsUnsupported_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a suffix of nobody's") << QStringLiteral("image.nobody");
        QTest::newRow("no suffix") << QStringLiteral("image");
        QTest::newRow("nothing after the dot") << QStringLiteral("image.");
    }

    void unknownSuffixIsUnsupported()
    {
        QFETCH(QString, name);
        write(path(name), "x");
        CxScopedBuffer read;
        SxFileError error;
        QVERIFY(!Manager::loadImageFromFile(path(name), read.image(), nullptr, nullptr, &error));
        QCOMPARE(error.kind, ExFileError::Unsupported);
        QCOMPARE(error.reason, QStringLiteral("the format is not known"));
    }

    void failedLoaderGivesTheReason_data()
    {
        QTest::addColumn<Behaviour>("behaviour");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("reason");
        const QString none = QStringLiteral("Pliant Loader finds no image in it");
        QTest::newRow("an empty file") << Behaviour() << int(ExFileError::Unreadable)
                                       << QStringLiteral("there is no dump in it");
        QTest::newRow("its own reason") << Behaviour(
            [](PliantLoader& loader) { return loader.fail(ExFileError::Unsupported, QStringLiteral("it is blue")); })
                                        << int(ExFileError::Unsupported) << QStringLiteral("it is blue");
        QTest::newRow("false without a reason")
            << Behaviour([](PliantLoader&) { return false; }) << int(ExFileError::Unreadable) << none;
        QTest::newRow("true without an image")
            << Behaviour([](PliantLoader&) { return true; }) << int(ExFileError::Unreadable) << none;
        QTest::newRow("open without an image")
            << Behaviour([](PliantLoader&) { return PliantLoader::claimsToBeOpen = true; })
            << int(ExFileError::Unreadable) << none;
        QTest::newRow("an image without samples") << Behaviour([](PliantLoader&) {
            return PliantLoader::claimsToBeOpen = PliantLoader::handsOutNothing = true;
        }) << int(ExFileError::Unreadable) << none;
        QTest::newRow("thrown") << Behaviour([](PliantLoader&) -> bool { throw std::runtime_error("thrown away"); })
                                << int(ExFileError::Unreadable) << QStringLiteral("thrown away");
        QTest::newRow("out of memory") << Behaviour([](PliantLoader&) -> bool { throw std::bad_alloc(); })
                                       << int(ExFileError::TooLarge) << QStringLiteral("there is not enough memory");
    }

    void failedLoaderGivesTheReason()
    {
        QFETCH(Behaviour, behaviour);
        QFETCH(int, kind);
        QFETCH(QString, reason);
        PliantLoader::behaviour = behaviour;
        write(path(QStringLiteral("empty.dump")), QByteArray());
        int samples = 0;
        ep::SxImageBuf image = smallImage().image();
        image.data = &samples;
        ep::CxMetadata metadata;
        metadata.addMetadata(new ep::CxCommonImageMetadata);
        SxFileError error;
        QVERIFY(!Manager::loadImageFromFile(path(QStringLiteral("empty.dump")), image, &metadata, nullptr, &error));
        QCOMPARE(int(error.kind), kind);
        QCOMPARE(error.reason, reason);
        QVERIFY(!image.data);
        QCOMPARE(image.width, 0);
        QCOMPARE(metadata.items().size(), 1);
        QVERIFY(!Manager::loadImageFromFile(path(QStringLiteral("empty.dump")), image, nullptr));  // nobody asks why
    }

    void optionsReachTheLoader()
    {
        dump(path(QStringLiteral("image.dump")), smallImage().image());
        const QMap<QString, QVariant> options{{QStringLiteral("key"), 7}};
        CxScopedBuffer read;
        QVERIFY(
            Manager::loadImageFromFile(path(QStringLiteral("image.dump")), read.image(), nullptr, &options, nullptr));
        QCOMPARE(PliantLoader::seenOptions, options);
        read.reset();
        QVERIFY(Manager::loadImageFromFile(path(QStringLiteral("image.dump")), read.image(), nullptr));
        QVERIFY(PliantLoader::seenOptions.isEmpty());
    }

    void imagesPastTheMemoryLimitAreRefused()
    {
        const qint64 bytes = 5 * 3 * 2;
        dump(path(QStringLiteral("image.dump")), smallImage().image());
        Manager* manager = Manager::instance();
        const qint64 usual = manager->memoryLimit();
        QVERIFY(usual > bytes);
        CxScopedBuffer read;
        SxFileError error;
        manager->setMemoryLimit(bytes - 1);
        QCOMPARE(manager->memoryLimit(), bytes - 1);
        QVERIFY(
            !Manager::loadImageFromFile(path(QStringLiteral("image.dump")), read.image(), nullptr, nullptr, &error));
        QCOMPARE(error.kind, ExFileError::TooLarge);
        QVERIFY(!read->data);
        for (const qint64 limit : {bytes, std::numeric_limits<qint64>::max(), qint64(0), qint64(-1)}) {
            manager->setMemoryLimit(limit);
            QCOMPARE(manager->memoryLimit(), limit > 0 ? limit : usual);
            QVERIFY(Manager::loadImageFromFile(path(QStringLiteral("image.dump")), read.image(), nullptr));
            QCOMPARE(PliantLoader::seenLimit, manager->memoryLimit());
            read.reset();
        }
    }
};

QTEST_GUILESS_MAIN(CxImageFormatManagerReadTest)
#include "CxImageFormatManagerReadTest.moc"
