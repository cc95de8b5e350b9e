// A disk that is full at any place of a file, in every format: an error, the old file as it was, nothing left behind.

#include "CameraImages.h"
#include "FileSizeLimit.h"
#include "Files.h"
#include "LongTests.h"
#include "NumberedImages.h"
#include "TinyDisk.h"

#include <ep/CxImageFormatManager.h>
#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

struct Format {
    const char* suffix;
    ep::ExImageDataType type;
    int channels;
};

// Every saver, with an image that it keeps.
constexpr Format formats[] = {
    {"mat", ep::DataTypeUInt16, 3},  {"tif", ep::DataTypeUInt16, 3}, {"dng", ep::DataTypeUInt16, 1},
    {"fits", ep::DataTypeDouble, 1}, {"pam", ep::DataTypeUInt16, 4}, {"pfm", ep::DataTypeFloat, 1},
    {"png", ep::DataTypeUInt16, 3},  {"exr", ep::DataTypeFloat, 3},  {"dpx", ep::DataTypeUInt16, 3},
    {"jp2", ep::DataTypeUInt8, 3},   {"bmp", ep::DataTypeUInt8, 3},  {"tga", ep::DataTypeUInt8, 3},
    {"ico", ep::DataTypeUInt8, 4},   {"jpg", ep::DataTypeUInt8, 3},  {"webp", ep::DataTypeUInt8, 3},
    {"heic", ep::DataTypeUInt8, 3},  {"gif", ep::DataTypeUInt8, 4},  {"hdr", ep::DataTypeFloat, 3},
};

const QByteArray oldContent = "old\n";

QStringList entriesBeside(const QString& path)
{
    return QFileInfo(path).dir().entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

}  // namespace

class FullDiskTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { orn::Init(); }
    void aFileThatMayNotGrow_data() { addFormats(); }
    void aFileThatMayNotGrow();
    void aDiskOfEverySize_data() { addFormats(); }
    void aDiskOfEverySize();

private:
    static void addFormats();
    static bool save(const QString& path, const ep::SxImageBuf& image, ep::SxFileError& error);
    static ep::CxScopedBuffer imageFor(const Format& format);
    static QString flawOf(const QString& path, const ep::SxFileError& error);
};

void FullDiskTest::addFormats()
{
    QTest::addColumn<int>("index");
    int index = 0;
    for (const Format& format : formats)
        QTest::newRow(format.suffix) << index++;
}

ep::CxScopedBuffer FullDiskTest::imageFor(const Format& format)
{
    ep::CxScopedBuffer image = noise(format.type, ep::sampleFacts(format.type).bits, format.channels);
    if (qstrcmp(format.suffix, "dng") == 0)
        image->bayerGrid = ep::BayerGridGBRG;
    return image;
}

bool FullDiskTest::save(const QString& path, const ep::SxImageBuf& image, ep::SxFileError& error)
{
    const ep::CxMetadata metadata = cameraMetadata(image);
    return Manager::saveImageToFile(path, image, &metadata, nullptr, false, QString(), &error);
}

/** What is wrong after a save of @p path that failed; empty when nothing is. */
QString FullDiskTest::flawOf(const QString& path, const ep::SxFileError& error)
{
    if (error.kind != ep::ExFileError::Unwritable || error.reason.isEmpty())
        return QStringLiteral("kind %1, reason '%2'").arg(int(error.kind)).arg(error.reason);
    if (readFile(path) != oldContent)
        return QStringLiteral("the old file is lost");
    const QStringList entries = entriesBeside(path);
    return entries.size() == 1 ? QString() : QStringLiteral("left behind: ") + entries.join(QLatin1Char(' '));
}

void FullDiskTest::aFileThatMayNotGrow()
{
    QFETCH(int, index);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image.") + QLatin1String(formats[index].suffix));
    const ep::CxScopedBuffer image = imageFor(formats[index]);
    ep::SxFileError error;
    QVERIFY2(save(path, image.image(), error), qPrintable(error.reason));
    const qint64 size = QFileInfo(path).size();
    QVERIFY(writeFile(path, oldContent));
    constexpr qint64 usually = 40;
    for (const qint64 bytes : sampleOf(size, usually)) {
        bool saved = false;
        {
            const FileSizeLimit limit(bytes);
            saved = save(path, image.image(), error);
        }
        QVERIFY2(!saved, qPrintable(QStringLiteral("saved though only %1 of %2 bytes fit").arg(bytes).arg(size)));
        const QString flaw = flawOf(path, error);
        QVERIFY2(flaw.isEmpty(), qPrintable(QStringLiteral("%1 of %2 bytes: %3").arg(bytes).arg(size).arg(flaw)));
    }
    const FileSizeLimit limit(size);
    QVERIFY2(save(path, image.image(), error), qPrintable(error.reason));
}

void FullDiskTest::aDiskOfEverySize()
{
    QFETCH(int, index);
    const Format& format = formats[index];
    const QByteArray name = QByteArray("image.") + format.suffix;
    const ep::CxScopedBuffer image = imageFor(format);
    constexpr qint64 page = 4096;
    ep::SxFileError error;
    bool saved = false;
    // The first page is the old file's.
    for (qint64 pages = 1; !saved; ++pages) {
        const TinyDisk disk(pages * page);
        if (!disk.isMounted())
            QSKIP("this system lets nobody but root mount a file system");
        const QString path = disk.filePath(name.constData());
        QVERIFY(writeFile(path, oldContent));
        saved = save(path, image.image(), error);
        const qint64 size = QFileInfo(path).size();
        if (saved) {
            QVERIFY2(pages > size / page, qPrintable(QStringLiteral("%1 bytes on %2 pages").arg(size).arg(pages)));
            ep::CxScopedBuffer again;
            QVERIFY(Manager::loadImageFromFile(path, again.image(), nullptr));
            break;
        }
        const QString flaw = flawOf(path, error);
        QVERIFY2(flaw.isEmpty(), qPrintable(QStringLiteral("%1 pages: %2").arg(pages).arg(flaw)));
        QCOMPARE(error.reason, QStringLiteral("the disk is full"));
        QVERIFY(pages < 100);
    }
}

QTEST_GUILESS_MAIN(FullDiskTest)
#include "FullDiskTest.moc"
