// Several threads use the format manager at once.

#include <ep/CxImageFormatManager.h>

#include "DumpFormat.h"
#include "TestImages.h"
#include "Threads.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>

using ep::CxScopedBuffer;
using Manager = ep::CxImageFormatManager;

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

class CxImageFormatManagerThreadsTest : public QObject {
    Q_OBJECT

private:
    static constexpr int s_threadCount = 4;
    QTemporaryDir m_folder;

    static int failuresOf(const std::function<bool(int thread)>& work)
    {
        return testing::failuresInThreads(s_threadCount, work);
    }
    static CxScopedBuffer imageOf(int seed)
    {
        return testing::randomImage(testing::describe(ep::DataTypeUInt16, 40 + seed, 30, 3), quint32(seed + 1));
    }
    static bool save(const QString& path, const ep::SxImageBuf& image)
    {
        return Manager::saveImageToFile(path, image, nullptr, nullptr, false, QString());
    }
    static bool load(const QString& path, CxScopedBuffer& image)
    {
        image.reset();
        ep::CxMetadata metadata;
        return Manager::loadImageFromFile(path, image.image(), &metadata) && !metadata.isEmpty();
    }

private slots:
    void initTestCase()
    {
        testing::registerLoader<DumpReader>();
        testing::registerSaver<DumpWriter>();
    }

    // First, while the plug-in is not loaded yet: all threads need it at the same moment.
    void pluginIsLoadedOnce()
    {
        Manager::instance()->addPluginFolder(QStringLiteral(TEST_PLUGINS));
        const int before = ep::CxRtti::instance()->classes(QStringLiteral("IxImageDataLoader")).size();
        const int failures = failuresOf([&](int thread) {
            const QString path = m_folder.filePath(QStringLiteral("%1.late").arg(thread));
            CxScopedBuffer read;
            return save(path, imageOf(thread).image()) && load(path, read)
                   && ep::SameSamples(read.image(), imageOf(thread).image());
        });
        QCOMPARE(failures, 0);
        QCOMPARE(ep::CxRtti::instance()->classes(QStringLiteral("IxImageDataLoader")).size(), before + 1);
    }

    void separateFilesSideBySide()
    {
        const int failures = failuresOf([&](int thread) {
            const QString path = m_folder.filePath(QStringLiteral("%1.dump").arg(thread));
            for (int round = 0; round < 20; ++round) {
                const CxScopedBuffer image = imageOf(thread + round * s_threadCount);
                CxScopedBuffer read;
                if (!save(path, image.image()) || !load(path, read) || !ep::SameSamples(read.image(), image.image()))
                    return false;
            }
            return true;
        });
        QCOMPARE(failures, 0);
    }

    // Each sees one of the images, whole.
    void oneFileWrittenAndReadByAll()
    {
        const QString path = m_folder.filePath(QStringLiteral("shared.dump"));
        QVERIFY(save(path, imageOf(0).image()));
        const int failures = failuresOf([&](int thread) {
            for (int round = 0; round < 20; ++round) {
                CxScopedBuffer read;
                if (!save(path, imageOf(thread).image()) || !load(path, read))
                    return false;
                const int writer = read->width - 40;
                if (writer < 0 || writer >= s_threadCount || !ep::SameSamples(read.image(), imageOf(writer).image()))
                    return false;
            }
            return true;
        });
        QCOMPARE(failures, 0);
        QCOMPARE(QDir(m_folder.path()).entryList({QStringLiteral(".*")}, QDir::Files | QDir::Hidden), QStringList());
    }

    // One and only one of those that may not replace a file makes it.
    void onlyOneMakesTheFile()
    {
        for (int round = 0; round < 20; ++round) {
            const QString path = m_folder.filePath(QStringLiteral("first%1.dump").arg(round));
            const int failures = failuresOf([&](int thread) {
                return Manager::saveImageToFile(path, imageOf(thread).image(), nullptr, nullptr, true, QString());
            });
            QCOMPARE(failures, s_threadCount - 1);
            CxScopedBuffer read;
            QVERIFY(load(path, read));
            QVERIFY(ep::SameSamples(read.image(), imageOf(read->width - 40).image()));
        }
    }

    void listAndLimitWhileFilesAreRead()
    {
        const QString path = m_folder.filePath(QStringLiteral("read.dump"));
        QVERIFY(save(path, imageOf(0).image()));
        Manager* manager = Manager::instance();
        const int formatCount = manager->formats().size();
        const int failures = failuresOf([&](int thread) {
            for (int round = 0; round < 50; ++round) {
                CxScopedBuffer read;
                if (thread == 0 && manager->formats().size() != formatCount)
                    return false;
                if (thread == 1)
                    manager->setMemoryLimit(1000000 + round);
                if (thread == 2)
                    manager->addPluginFolder(QStringLiteral(TEST_PLUGINS));
                if (manager->memoryLimit() < 1000000 || !load(path, read))
                    return false;
            }
            return true;
        });
        manager->setMemoryLimit(0);
        QCOMPARE(failures, 0);
    }
};

QTEST_GUILESS_MAIN(CxImageFormatManagerThreadsTest)
#include "CxImageFormatManagerThreadsTest.moc"
