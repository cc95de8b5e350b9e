// A disk that fills up while an image is saved: the error is told, and the old file stays whole.

#include <orn/Init.h>

#include "FileSizeLimit.h"
#include "TestImages.h"
#include "TinyDisk.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QtTest>

using Manager = ep::CxImageFormatManager;

namespace {

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
    QCOMPARE(QFileInfo(m_path).dir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
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
    const testing::TinyDisk disk;
    if (!disk.isMounted())
        QSKIP("this system lets nobody but root mount a file system");
    m_path = disk.filePath("image.mat");
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

    const testing::FileSizeLimit limit(size - missingBytes);
    if (missingBytes > 0)
        saveFailsAndLeavesTheOldFile(image.image());
    else
        QVERIFY(save(m_path, image.image()));
}

QTEST_GUILESS_MAIN(MatFullDiskTest)
#include "MatFullDiskTest.moc"
