// Damaged and hostile TIFF files are refused with a reason; nothing is made up, nothing huge is asked for.

#include "FormatPlugin.h"
#include "TestImages.h"
#include "TiffBytes.h"
#include "TiffMaker.h"
#include "WithoutPrivileges.h"

#include <QtTest>

#include <random>
#include <sys/stat.h>

using namespace testing;

namespace {

constexpr qint64 memoryLimit = 64 << 20;

LoadedFrame load(const QString& path)
{
    return loadFrame("ep::tiff::CxTiffImageLoader", path, 0, memoryLimit);
}

QByteArray noise(int bytes)
{
    std::mt19937 random(7);
    QByteArray result(bytes, '\0');
    for (char& byte : result)
        byte = static_cast<char>(random());
    return result;
}

/** The compressed bytes of the only strip of the file @p path. */
QByteArray onlyStrip(const QString& path)
{
    TIFF* file = TIFFOpen(path.toUtf8().constData(), "r");
    QByteArray bytes(1 << 16, '\0');
    const tmsize_t read = file ? TIFFReadRawStrip(file, 0, bytes.data(), bytes.size()) : 0;
    if (file)
        TIFFClose(file);
    return bytes.left(static_cast<int>(read));
}

}  // namespace

class TiffDamageTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString path() const { return m_folder.filePath(QStringLiteral("file.tif")); }

    /** A sound file with its samples at the end. */
    TiffBytes soundFile(int compression, int bits)
    {
        TiffKind kind;
        kind.width = 64;
        kind.height = kind.rowsPerStrip = 48;
        kind.bits = bits;
        kind.compression = compression;
        const QByteArray samples = noise(64 * 48);
        makeTiff(
            path(), kind,
            [&](int x, int y, int) { return static_cast<quint64>(static_cast<unsigned char>(samples[y * 64 + x])); },
            [&](TIFF* file) {
                if (compression == COMPRESSION_JPEG)
                    TIFFSetField(file, TIFFTAG_JPEGTABLESMODE, 0);
            });
        TiffBytes file(64, 48, static_cast<quint32>(bits), onlyStrip(path()));
        return file.set(TIFFTAG_COMPRESSION, static_cast<quint32>(compression));
    }

    static void addKinds()
    {
        addCompressedKinds();
        QTest::newRow("plain") << int(COMPRESSION_NONE) << 8;
        QTest::newRow("12 bits") << int(COMPRESSION_NONE) << 12;
    }

    static void addCompressedKinds()
    {
        QTest::addColumn<int>("compression");
        QTest::addColumn<int>("bits");
        QTest::newRow("Deflate") << int(COMPRESSION_ADOBE_DEFLATE) << 8;
        QTest::newRow("LZW of 12 bits") << int(COMPRESSION_LZW) << 12;
        QTest::newRow("PackBits") << int(COMPRESSION_PACKBITS) << 8;
        QTest::newRow("Zstandard") << int(COMPRESSION_ZSTD) << 8;
        QTest::newRow("LZMA") << int(COMPRESSION_LZMA) << 8;
        QTest::newRow("JPEG") << int(COMPRESSION_JPEG) << 8;
        QTest::newRow("fax group 3") << int(COMPRESSION_CCITTFAX3) << 1;
        QTest::newRow("fax group 4") << int(COMPRESSION_CCITTFAX4) << 1;
    }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }

    void aTruncatedFileIsUnreadable_data() { addKinds(); }
    void aTruncatedFileIsUnreadable()
    {
        QFETCH(int, compression);
        QFETCH(int, bits);
        const TiffBytes file = soundFile(compression, bits);
        const int size = file.bytes().size();
        for (int length = 0; length<size; length += length> 130 && length < size - 20 ? 7 : 1) {
            QVERIFY(file.write(path(), length));
            const LoadedFrame loaded = load(path());
            QVERIFY2(!loaded.loader->isOpen(), qPrintable(QString::number(length)));
            QCOMPARE(loaded.loader->lastError().kind, ep::ExFileError::Unreadable);
            QVERIFY(!loaded.loader->lastError().reason.isEmpty());
        }
        QVERIFY(file.write(path()));
        const LoadedFrame loaded = load(path());
        QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
    }

    // The file is whole, but its strip ends before the last row.
    void missingSamplesAreNeverMadeUp_data() { addCompressedKinds(); }
    void missingSamplesAreNeverMadeUp()
    {
        QFETCH(int, compression);
        QFETCH(int, bits);
        TiffBytes file = soundFile(compression, bits);
        const int samples = file.bytes().size() - (8 + 2 + 9 * 12 + 4);
        file.set(TIFFTAG_STRIPBYTECOUNTS, static_cast<quint32>(samples * 2 / 3));
        QVERIFY(file.write(path()));
        const LoadedFrame loaded = load(path());
        QVERIFY(!loaded.loader->isOpen());
        QCOMPARE(loaded.loader->lastError().kind, ep::ExFileError::Unreadable);
    }

    void impossibleSizesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("kind");
        const QByteArray some(64, '\1');
        const auto unreadable = int(ep::ExFileError::Unreadable);
        const auto tooLarge = int(ep::ExFileError::TooLarge);
        const auto zip = [](TiffBytes file) { return file.set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE); };
        QTest::newRow("more samples than bytes") << TiffBytes(1000, 1000, 8, some).bytes() << unreadable;
        QTest::newRow("more samples than Deflate can hold")
            << zip(TiffBytes(5000, 5000, 8, some)).bytes() << unreadable;
        QTest::newRow("past the memory limit") << TiffBytes(65535, 65535, 8, some).bytes() << tooLarge;
        QTest::newRow("past 32 bits") << TiffBytes(0xffffffff, 0xffffffff, 8, some).bytes() << unreadable;
        QTest::newRow("2^31 - 1 each way") << TiffBytes(0x7fffffff, 0x7fffffff, 64, some).bytes() << unreadable;
        QTest::newRow("65,535 channels") << TiffBytes(65535, 65535, 8, some).set(TIFFTAG_SAMPLESPERPIXEL, 65535).bytes()
                                         << tooLarge;
        QTest::newRow("a huge tile") << zip(TiffBytes(1, 1, 8, some).tile(1 << 20, 1 << 20)).bytes() << tooLarge;
        QTest::newRow("a tile past 64 bits")
            << zip(TiffBytes(1, 1, 8, some).tile(0xfffffff0, 0xfffffff0)).bytes() << unreadable;
        QTest::newRow("2^31 columns") << TiffBytes(0x80000000, 4, 8, some).bytes() << tooLarge;
        QTest::newRow("no channels") << TiffBytes(4, 4, 8, some).set(TIFFTAG_SAMPLESPERPIXEL, 0).bytes() << unreadable;
        QTest::newRow("a volume") << TiffBytes(4, 4, 8, some).set(TIFFTAG_IMAGEDEPTH, 2).bytes()
                                  << int(ep::ExFileError::Unsupported);
        QTest::newRow("no width") << TiffBytes(0, 4, 8, some).bytes() << unreadable;
        QTest::newRow("no height") << TiffBytes(4, 0, 8, some).bytes() << unreadable;
        QTest::newRow("strips of no rows")
            << TiffBytes(4, 4, 8, some).set(TIFFTAG_ROWSPERSTRIP, 0).bytes() << unreadable;
    }

    void impossibleSizesAreRefused()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, kind);
        QVERIFY(writeFile(path(), bytes));
        const LoadedFrame loaded = load(path());
        QVERIFY(!loaded.loader->isOpen());
        QVERIFY2(int(loaded.loader->lastError().kind) == kind, qPrintable(loaded.loader->lastError().reason));
    }

    void anImageOfExactlyTheMemoryLimitIsRead()
    {
        QVERIFY(TiffBytes(100, 100, 8, QByteArray(10000, '\3')).write(path()));
        QVERIFY(loadFrame("ep::tiff::CxTiffImageLoader", path(), 0, 10000).data);
        const LoadedFrame refused = loadFrame("ep::tiff::CxTiffImageLoader", path(), 0, 9999);
        QVERIFY(!refused.data);
        QCOMPARE(refused.loader->lastError().kind, ep::ExFileError::TooLarge);
    }

    void aChainThatBitesItsTailEnds()
    {
        QVERIFY(TiffBytes(4, 4, 8, QByteArray(16, '\3')).next(8).write(path()));
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        QCOMPARE(loaded.loader->frameCount(), 1);
    }

    void aChainIntoNowhereEnds()
    {
        QVERIFY(TiffBytes(4, 4, 8, QByteArray(16, '\3')).next(100000).write(path()));
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        QVERIFY(!loaded.loader->imageData(1));
        QVERIFY(loaded.loader->lastError().reason.isEmpty() || loaded.loader->frameCount() == 2);
    }

    // A chain of empty directories, six bytes each.
    void aMillionDirectoriesCostLittle()
    {
        QByteArray bytes = TiffBytes(4, 4, 8, QByteArray(16, '\3')).next(200).bytes().leftJustified(200, '\0');
        for (quint32 i = 1; i <= 1000000; ++i) {
            char next[4];
            qToLittleEndian(200 + 6 * i, next);
            bytes.append(2, '\0').append(next, 4);
        }
        QVERIFY(writeFile(path(), bytes));
        QElapsedTimer timer;
        timer.start();
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        QCOMPARE(loaded.loader->frameCount(), 65535);
        QVERIFY(!loaded.loader->imageData(65534));
        QCOMPARE(loaded.loader->lastError().kind, ep::ExFileError::Unreadable);
        qInfo("opened in %lld ms", timer.elapsed());
    }

    void foreignFilesAreNoTiffFiles_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("one byte") << QByteArray("I");
        QTest::newRow("a GIF by mistake") << QByteArray("GIF89a, by mistake");
        QTest::newRow("text that begins like one") << QByteArray("II is how many people begin a sentence");
        QTest::newRow("another version") << QByteArray("II\x2c\0\x08\0\0\0\0\0\0\0\0\0\0\0", 16);
        QTest::newRow("mixed byte order") << QByteArray("MM\x2a\0\x08\0\0\0\0\0\0\0\0\0\0\0", 16);
        QTest::newRow("a header without pages") << QByteArray("II\x2a\0\0\0\0\0\0\0\0\0\0\0\0\0", 16);
        QTest::newRow("BigTIFF with offsets of 4 bytes") << QByteArray("II\x2b\0\4\0\0\0\x10\0\0\0\0\0\0\0", 16);
        QTest::newRow("noise") << noise(4096);
        QTest::newRow("zeros") << QByteArray(4096, '\0');
    }

    void foreignFilesAreNoTiffFiles()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(writeFile(path(), bytes));
        const LoadedFrame loaded = load(path());
        QVERIFY(!loaded.loader->isOpen());
        QCOMPARE(loaded.loader->lastError().kind, ep::ExFileError::Unreadable);
        QVERIFY2(loaded.loader->lastError().reason.contains(QStringLiteral("TIFF")),
                 qPrintable(loaded.loader->lastError().reason));
    }

    void whatIsNoFileIsSaid_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        QTest::newRow("a missing file") << QStringLiteral("absent.tif") << QStringLiteral("No such file or directory");
        QTest::newRow("a folder") << QString() << QStringLiteral("it is not a regular file");
        QTest::newRow("a pipe that nobody writes")
            << QStringLiteral("pipe") << QStringLiteral("it is not a regular file");
        QTest::newRow("a file without permission")
            << QStringLiteral("secret.tif") << QStringLiteral("Permission denied");
    }

    void whatIsNoFileIsSaid()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        const QString secret = m_folder.filePath(QStringLiteral("secret.tif"));
        QVERIFY(TiffBytes(4, 4, 8, QByteArray(16, '\3')).write(secret));
        QVERIFY(load(secret).data);
        QVERIFY(QFile::setPermissions(secret, QFile::Permissions()));
        mkfifo(QFile::encodeName(m_folder.filePath(QStringLiteral("pipe"))).constData(), 0600);
        LoadedFrame loaded;
        {
            const WithoutPrivileges here(m_folder.path());
            loaded = load(m_folder.filePath(name));
        }
        QVERIFY(!loaded.loader->isOpen());
        QCOMPARE(loaded.loader->lastError().kind, ep::ExFileError::Unreadable);
        QCOMPARE(loaded.loader->lastError().reason, reason);
    }
};

QTEST_GUILESS_MAIN(TiffDamageTest)
#include "TiffDamageTest.moc"
