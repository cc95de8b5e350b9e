// A disk that fills up while an image is saved: the error is told, and the old file stays whole.

#include <orn/Init.h>

#include "TestImages.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QtTest>

#include <csignal>

#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

using Manager = ep::CxImageFormatManager;

namespace {

/** A file system of 64 KiB while it lives, where this process may mount one. */
class SmallDisk {
public:
    explicit SmallDisk(const QString& folder) : m_folder(QFile::encodeName(folder))
    {
        m_mounted = geteuid() == 0 && mount("tmpfs", m_folder.constData(), "tmpfs", 0, "size=64k") == 0;
    }
    ~SmallDisk()
    {
        if (m_mounted)
            umount2(m_folder.constData(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    bool isMounted() const { return m_mounted; }

private:
    QByteArray m_folder;
    bool m_mounted = false;
};

/** While it lives, this process can write no file past a size, and is told so by write() alone. */
class FileSizeLimit {
public:
    explicit FileSizeLimit(qint64 bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = static_cast<rlim_t>(bytes);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool save(const QString& path, const ep::SxImageBuf& image, ep::SxFileError* error = nullptr)
{
    ep::SxFileError ignored;
    return Manager::saveImageToFile(path, image, nullptr, nullptr, false, QString(), error ? error : &ignored);
}

}  // namespace

class MatFullDiskTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { orn::Init(); }
    void init();
    void aSmallDisk_data();
    void aSmallDisk();
    void aFileThatMayNotGrow_data();
    void aFileThatMayNotGrow();

private:
    void makeOldFile();
    void saveFailsAndLeavesTheOldFile(const ep::SxImageBuf& image);

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
    QByteArray m_oldContent;
};

void MatFullDiskTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    m_path = m_folder->filePath(QStringLiteral("image.mat"));
}

void MatFullDiskTest::makeOldFile()
{
    QVERIFY(save(m_path, testing::randomImage(testing::describe(ep::DataTypeUInt8, 20, 10)).image()));
    m_oldContent = contentOf(m_path);
    QVERIFY(!m_oldContent.isEmpty());
}

void MatFullDiskTest::saveFailsAndLeavesTheOldFile(const ep::SxImageBuf& image)
{
    ep::SxFileError error;
    QVERIFY(!save(m_path, image, &error));
    QVERIFY(error.kind == ep::ExFileError::Unwritable);
    QVERIFY(!error.reason.isEmpty());
    QVERIFY(contentOf(m_path) == m_oldContent);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("image.mat")));
}

void MatFullDiskTest::aSmallDisk_data()
{
    QTest::addColumn<int>("width");
    QTest::newRow("an image far too large") << 400;
    QTest::newRow("it fits, but not beside the old file") << 77;
}

void MatFullDiskTest::aSmallDisk()
{
    QFETCH(int, width);
    const SmallDisk disk(m_folder->path());
    if (!disk.isMounted())
        QSKIP("this process may not mount a file system");
    makeOldFile();
    saveFailsAndLeavesTheOldFile(testing::randomImage(testing::describe(ep::DataTypeDouble, width, 100)).image());
}

void MatFullDiskTest::aFileThatMayNotGrow_data()
{
    QTest::addColumn<qint64>("missingBytes");
    QTest::newRow("the last byte does not fit") << qint64(1);
    QTest::newRow("the metadata does not fit") << qint64(400);
    QTest::newRow("half of the samples do not fit") << qint64(8 * 60 * 40 / 2);
    QTest::newRow("everything fits") << qint64(0);
}

void MatFullDiskTest::aFileThatMayNotGrow()
{
    QFETCH(qint64, missingBytes);
    makeOldFile();
    const ep::CxScopedBuffer image = testing::randomImage(testing::describe(ep::DataTypeDouble, 60, 40));
    const QString other = m_folder->filePath(QStringLiteral("other.mat"));
    QVERIFY(save(other, image.image()));
    const qint64 size = QFileInfo(other).size();
    QVERIFY(QFile::remove(other));

    const FileSizeLimit limit(size - missingBytes);
    if (missingBytes > 0)
        saveFailsAndLeavesTheOldFile(image.image());
    else
        QVERIFY(save(m_path, image.image()));
}

QTEST_GUILESS_MAIN(MatFullDiskTest)
#include "MatFullDiskTest.moc"
