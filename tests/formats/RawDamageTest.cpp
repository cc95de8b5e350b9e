// Files that are damaged, cut off, foreign or too large: a failure with a reason, and nothing printed.

#include "DngFiles.h"
#include "Files.h"
#include "StandardErrorCapture.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>

#include <QDir>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <tiffio.h>

using namespace testing;

namespace {

/** The two loaders that serve DNG files. */
const QStringList loaders{QStringLiteral("ep::raw::CxRawImageLoader"), QStringLiteral("ep::tiff::CxDngImageLoader")};

QByteArray dngBytes(const QString& compression)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("capture.dng"));
    return saveDng(path, *capture(ep::BayerGridRGGB, 60, 50), compression) ? QByteArray() : readFile(path);
}

}  // namespace

class RawDamageTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path() const { return m_folder.filePath(QStringLiteral("capture.dng")); }

private slots:
    void initTestCase() { loadDngPlugins(); }

    void whatIsNoRawFileIsRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("an empty file") << QByteArray();
        QTest::newRow("one byte") << QByteArray("I");
        QTest::newRow("text") << QByteArray("this is no picture\n").repeated(100);
        QTest::newRow("zeros") << QByteArray(100000, '\0');
        QTest::newRow("a header alone") << QByteArray("II*\0\x08\0\0\0", 8);
        QTest::newRow("a directory past the end") << QByteArray("II*\0\xff\xff\xff\x7f", 8);
    }

    void whatIsNoRawFileIsRefused()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(writeFile(path(), bytes));
        for (const QString& loader : loaders) {
            StandardErrorCapture printed;
            const LoadedFrame frame = loadFrame(loader.toLatin1().constData(), path());
            QCOMPARE(printed.text(), QByteArray());
            QVERIFY(!frame.data && !frame.loader->isOpen());
            QVERIFY(frame.loader->lastError());
            QVERIFY(!frame.loader->lastError().reason.isEmpty());
        }
    }

    void missingFilesAndFoldersAreUnreadable_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("no such file") << "none.dng";
        QTest::newRow("a folder") << "folder.dng";
    }

    void missingFilesAndFoldersAreUnreadable()
    {
        QFETCH(QString, name);
        QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("folder.dng")));
        for (const QString& loader : loaders) {
            const LoadedFrame frame = loadFrame(loader.toLatin1().constData(), m_folder.filePath(name));
            QVERIFY(!frame.data);
            QCOMPARE(int(frame.loader->lastError().kind), int(ep::ExFileError::Unreadable));
            QVERIFY(!frame.loader->lastError().reason.isEmpty());
        }
    }

    void cutFilesAreRefused_data()
    {
        QTest::addColumn<QString>("compression");
        for (const QString& compression : dngCompressions())
            QTest::newRow(qPrintable(compression)) << compression;
    }

    // Only the end of the tags can go without harm to the samples, where these are stored as they are.
    void cutFilesAreRefused()
    {
        QFETCH(QString, compression);
        const QByteArray whole = dngBytes(compression);
        QVERIFY(!whole.isEmpty());
        const auto complete = capture(ep::BayerGridRGGB, 60, 50);
        const QString loader = loaders[dngCompressions().indexOf(compression)];
        for (int length = 0; length < whole.size(); length += length < 64 ? 1 : 61) {
            QVERIFY(writeFile(path(), whole.left(length)));
            const LoadedFrame frame = loadFrame(loader.toLatin1().constData(), path());
            QVERIFY(frame.data ? ep::SameSamples(frame.image(), complete->image())
                               : !frame.loader->lastError().reason.isEmpty());
        }
    }

    // Else they would be what memory held.
    void metadataPastTheEndAreRefused()
    {
        QByteArray file = dngBytes(QStringLiteral("none"));
        const int entry = file.indexOf(QByteArray("\xbc\x02\x01\0", 4));
        QVERIFY(entry > 0);
        qToLittleEndian(quint32(file.size()), file.data() + entry + 4);
        QVERIFY(writeFile(path(), file));
        const LoadedFrame frame = loadFrame(loaders[0].toLatin1().constData(), path());
        QVERIFY(!frame.data);
        QVERIFY(frame.loader->lastError().reason.contains(QLatin1String("ends too early")));
    }

    void missingSamplesAreNoticed_data()
    {
        QTest::addColumn<QString>("compression");
        QTest::addColumn<int>("tag");
        QTest::newRow("plain") << "none" << int(TIFFTAG_STRIPOFFSETS);
        QTest::newRow("deflated") << "deflate" << int(TIFFTAG_TILEOFFSETS);
    }

    // The piece of the image that is last in the file lies past its end.
    void missingSamplesAreNoticed()
    {
        QFETCH(QString, compression);
        QFETCH(int, tag);
        QVERIFY(!saveDng(path(), *capture(ep::BayerGridRGGB, 60, 50), compression));
        TIFF* file = TIFFOpen(QFile::encodeName(path()).constData(), "r");
        QVERIFY(file);
        uint64_t* offsets = nullptr;
        QCOMPARE(TIFFGetField(file, uint32_t(tag), &offsets), 1);
        const auto first = static_cast<quint32>(offsets[0]);
        TIFFClose(file);
        QByteArray bytes = readFile(path());
        QByteArray place(4, '\0');
        qToLittleEndian(first, place.data());
        QByteArray past(4, '\0');
        qToLittleEndian(quint32(bytes.size() - 16), past.data());
        QVERIFY(bytes.lastIndexOf(place) > 0);
        bytes.replace(bytes.lastIndexOf(place), 4, past);
        QVERIFY(writeFile(path(), bytes));
        const LoadedFrame frame = loadDng(path(), compression);
        QVERIFY(!frame.data);
        QCOMPARE(int(frame.loader->lastError().kind), int(ep::ExFileError::Unreadable));
    }

    void memoryLimitHolds_data() { cutFilesAreRefused_data(); }

    void memoryLimitHolds()
    {
        QFETCH(QString, compression);
        QVERIFY(!saveDng(path(), *capture(ep::BayerGridRGGB, 1024, 1024), compression));
        const QString loader = loaders[dngCompressions().indexOf(compression)];
        const LoadedFrame refused = loadFrame(loader.toLatin1().constData(), path(), 0, 1 << 20);
        QVERIFY(!refused.data);
        QCOMPARE(int(refused.loader->lastError().kind), int(ep::ExFileError::TooLarge));
        QVERIFY(refused.loader->lastError().reason.contains(QStringLiteral("memory limit")));
        const LoadedFrame taken = loadFrame(loader.toLatin1().constData(), path(), 0, 32 << 20);
        QVERIFY2(taken.data, qPrintable(taken.loader->lastError().reason));
    }

    void hugeClaimsAreRefused()
    {
        QVERIFY(!saveDng(path(), *capture(ep::BayerGridRGGB, 60, 50)));
        TIFF* file = TIFFOpen(QFile::encodeName(path()).constData(), "r+");
        QVERIFY(file);
        TIFFSetField(file, TIFFTAG_IMAGEWIDTH, 60000);
        TIFFSetField(file, TIFFTAG_IMAGELENGTH, 60000);
        QCOMPARE(TIFFRewriteDirectory(file), 1);
        TIFFClose(file);
        for (const QString& loader : loaders) {
            const LoadedFrame frame = loadFrame(loader.toLatin1().constData(), path(), 0, qint64(64) << 30);
            QVERIFY(!frame.data);
            QVERIFY(!frame.loader->lastError().reason.isEmpty());
        }
    }

    void depthsThatNoSampleHasDoNotCount_data()
    {
        QTest::addColumn<QString>("compression");
        QTest::addColumn<QByteArray>("depth");
        for (const QString& compression : dngCompressions())
            for (const char* depth : {"00", "17", "86", "-1"})
                QTest::addRow("%s, %s", qPrintable(compression), depth) << compression << QByteArray(depth);
    }

    void depthsThatNoSampleHasDoNotCount()
    {
        QFETCH(QString, compression);
        QFETCH(QByteArray, depth);
        QByteArray bytes = dngBytes(compression);
        const QByteArray sound = "bitDepth=\"14\"";
        QVERIFY(bytes.contains(sound));
        QVERIFY(writeFile(path(), bytes.replace(sound, "bitDepth=\"" + depth + '"')));
        const LoadedFrame frame = loadDng(path(), compression);
        QVERIFY(frame.data);
        QCOMPARE(int(frame.image().dataType), int(ep::DataTypeUInt16));
        QVERIFY(frame.image().bitDepth >= 14 && frame.image().bitDepth <= 16);
    }

    void tagsOfUnknownTypeArePassedOver()
    {
        QByteArray bytes = dngBytes(QStringLiteral("deflate"));
        const auto directory = qFromLittleEndian<qint32>(bytes.constData() + 4);
        constexpr int countBytes = 2, entryBytes = 12, typeAt = 2;
        int entry = directory + countBytes;
        while (qFromLittleEndian<quint16>(bytes.constData() + entry) < TIFFTAG_MAKE)
            entry += entryBytes;
        QCOMPARE(int(qFromLittleEndian<quint16>(bytes.constData() + entry)), int(TIFFTAG_MAKE));
        qToLittleEndian(quint16(0x8081), bytes.data() + entry + typeAt);
        QVERIFY(writeFile(path(), bytes));
        const LoadedFrame frame = loadDng(path(), QStringLiteral("deflate"));
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
    }

    // The RAW loader's word on a file that only it serves is the one that counts.
    void managerTellsWhatIsWrong()
    {
        QVERIFY(!saveDng(path(), *capture(ep::BayerGridRGGB, 60, 50)));
        QVERIFY(writeFile(path(), readFile(path()).left(3000)));
        ep::CxScopedBuffer image;
        ep::SxFileError error;
        QVERIFY(!ep::CxImageFormatManager::loadImageFromFile(path(), image.image(), nullptr, nullptr, &error));
        QCOMPARE(int(error.kind), int(ep::ExFileError::Unreadable));
        QVERIFY(!error.reason.isEmpty());
        QVERIFY(!image->data);
    }

    void loaderIsUsedAgain()
    {
        const auto loader = makeRegistered<ep::IxImageDataLoader>("ep::raw::CxRawImageLoader", "IxImageDataLoader");
        for (const ep::ExBayerGrid grid : dngGrids) {
            QVERIFY(!saveDng(path(), *capture(grid, 60, 50)));
            loader->setFileName(path());
            QVERIFY(loader->open());
            QCOMPARE(loader->frameCount(), 1);
            const std::unique_ptr<ep::CxImageData> data(loader->imageData(0));
            QVERIFY(data);
            QCOMPARE(int(data->image().bayerGrid), int(grid));
            QVERIFY(!loader->imageData(1));
            QVERIFY(!loader->imageData(-1));
            QVERIFY(QFile::remove(path()));
            QVERIFY(!loader->open());
            QVERIFY(!loader->isOpen());
            QVERIFY(!loader->imageData(0));
        }
    }
};

QTEST_GUILESS_MAIN(RawDamageTest)
#include "RawDamageTest.moc"
