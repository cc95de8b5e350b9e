// The TIFF loader hands out the numbers that stand in the file, however the file keeps them.

#include "FormatPlugin.h"
#include "TestImages.h"
#include "TiffMaker.h"

#include <QtTest>

#include <cmath>

using namespace testing;

namespace {

quint64 lowBits(quint64 value, int bits)
{
    return bits == 64 ? value : value & ((quint64(1) << bits) - 1);
}

/** The image sample as a 64-bit two's complement number. */
qint64 integerAt(const ep::SxImageBuf& image, int x, int y, int c)
{
    switch (image.dataType) {
    case ep::DataTypeInt8: return sampleAt<qint8>(image, x, y, c);
    case ep::DataTypeUInt8: return sampleAt<quint8>(image, x, y, c);
    case ep::DataTypeInt16: return sampleAt<qint16>(image, x, y, c);
    case ep::DataTypeUInt16: return sampleAt<quint16>(image, x, y, c);
    case ep::DataTypeInt32: return sampleAt<qint32>(image, x, y, c);
    case ep::DataTypeUInt32: return sampleAt<quint32>(image, x, y, c);
    default: return sampleAt<qint64>(image, x, y, c);
    }
}

/** The number that @p bits bits of a file mean. */
qint64 meaning(quint64 bits, const TiffKind& kind)
{
    const quint64 low = lowBits(bits, kind.bits);
    const bool isNegative = kind.format == SAMPLEFORMAT_INT && low >> (kind.bits - 1) & 1;
    return static_cast<qint64>(isNegative && kind.bits < 64 ? low - (quint64(1) << kind.bits) : low);
}

LoadedFrame load(const QString& path)
{
    return loadFrame("ep::tiff::CxTiffImageLoader", path);
}

void compareIntegers(const ep::SxImageBuf& image, const TiffKind& kind)
{
    QCOMPARE(image.width, kind.width);
    QCOMPARE(image.height, kind.height);
    QCOMPARE(image.channels, kind.channels);
    QCOMPARE(image.bitDepth, kind.bits);
    QCOMPARE(int(image.layout), kind.planarConfig == PLANARCONFIG_SEPARATE ? 1 : 0);
    for (int y = 0; y < kind.height; ++y)
        for (int x = 0; x < kind.width; ++x)
            for (int c = 0; c < kind.channels; ++c)
                QCOMPARE(integerAt(image, x, y, c), meaning(mixed(x, y, c), kind));
}

}  // namespace

class TiffLoaderTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString path() const { return m_folder.filePath(QStringLiteral("file.tif")); }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }

    void integersOfEveryWidth_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("format");
        for (int bits = 1; bits <= 33; ++bits) {
            const int width = bits == 33 ? 64 : bits;
            QTest::addRow("unsigned %d bits", width) << width << int(SAMPLEFORMAT_UINT);
            QTest::addRow("signed %d bits", width) << width << int(SAMPLEFORMAT_INT);
        }
    }

    // Strips and tiles with cut edges, 1 to 3 channels, contiguous and separate, both byte orders, BigTIFF, with and
    // without compression.
    void integersOfEveryWidth()
    {
        TiffKind kind;
        QFETCH(int, bits);
        QFETCH(int, format);
        kind.bits = bits;
        kind.format = format;
        kind.width = 21;
        kind.height = 19;
        for (kind.channels = 1; kind.channels <= 3; ++kind.channels) {
            for (int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
                for (int tile : {0, 16}) {
                    for (const char* mode : {"wl", "wb", "w8"}) {
                        kind.planarConfig = planar;
                        kind.tileSize = tile;
                        kind.mode = mode;
                        kind.compression = kind.channels == 2 ? COMPRESSION_ADOBE_DEFLATE : COMPRESSION_NONE;
                        QVERIFY(makeTiff(path(), kind, mixed));
                        const LoadedFrame loaded = load(path());
                        QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
                        compareIntegers(loaded.image(), kind);
                        QCOMPARE(loaded.common()->colorBitDepth, bits);
                    }
                }
            }
        }
    }

    void everyLosslessCompression_data()
    {
        QTest::addColumn<int>("compression");
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("predictor");
        QTest::newRow("PackBits") << int(COMPRESSION_PACKBITS) << 16 << 1;
        QTest::newRow("LZW") << int(COMPRESSION_LZW) << 16 << 1;
        QTest::newRow("LZW with differences") << int(COMPRESSION_LZW) << 16 << 2;
        QTest::newRow("LZW of 12 bits") << int(COMPRESSION_LZW) << 12 << 1;
        QTest::newRow("Deflate by its old number") << int(COMPRESSION_DEFLATE) << 8 << 1;
        QTest::newRow("Deflate with differences of 32 bits") << int(COMPRESSION_ADOBE_DEFLATE) << 32 << 2;
        QTest::newRow("Deflate with differences of 64 bits") << int(COMPRESSION_ADOBE_DEFLATE) << 64 << 2;
        QTest::newRow("LZMA") << int(COMPRESSION_LZMA) << 16 << 1;
        QTest::newRow("Zstandard") << int(COMPRESSION_ZSTD) << 16 << 1;
        QTest::newRow("fax group 3") << int(COMPRESSION_CCITTFAX3) << 1 << 1;
        QTest::newRow("fax group 4") << int(COMPRESSION_CCITTFAX4) << 1 << 1;
    }

    void everyLosslessCompression()
    {
        QFETCH(int, compression);
        QFETCH(int, bits);
        QFETCH(int, predictor);
        TiffKind kind;
        kind.width = 37;
        kind.height = 11;
        kind.compression = compression;
        kind.bits = bits;
        kind.predictor = predictor;
        QVERIFY(TIFFIsCODECConfigured(static_cast<uint16_t>(compression)));
        for (const char* mode : {"wl", "wb"}) {
            kind.mode = mode;
            QVERIFY(makeTiff(path(), kind, mixed));
            const LoadedFrame loaded = load(path());
            QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
            compareIntegers(loaded.image(), kind);
        }
    }

    void bitOrderIsUndone()
    {
        TiffKind kind;
        kind.bits = 12;
        kind.fillOrder = FILLORDER_LSB2MSB;
        QVERIFY(makeTiff(path(), kind, mixed));
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        compareIntegers(loaded.image(), kind);
    }

    void samplesAreNotInterpreted_data()
    {
        QTest::addColumn<int>("photometric");
        QTest::addColumn<QString>("name");
        QTest::newRow("palette") << int(PHOTOMETRIC_PALETTE) << QStringLiteral("Palette");
        QTest::newRow("white is zero") << int(PHOTOMETRIC_MINISWHITE) << QStringLiteral("MinIsWhite");
    }

    void samplesAreNotInterpreted()
    {
        QFETCH(int, photometric);
        QFETCH(QString, name);
        TiffKind kind;
        kind.bits = 4;
        kind.photometric = photometric;
        std::vector<uint16_t> ramp(16, 0x8000);
        QVERIFY(makeTiff(path(), kind, mixed, [&](TIFF* file) {
            if (photometric == PHOTOMETRIC_PALETTE)
                TIFFSetField(file, TIFFTAG_COLORMAP, ramp.data(), ramp.data(), ramp.data());
        }));
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        compareIntegers(loaded.image(), kind);
        QCOMPARE(loaded.common()->attributes.value(QStringLiteral("PhotometricInterpretation")), name);
    }

    void jpegColoursBecomeRgb()
    {
        TiffKind kind;
        kind.width = kind.height = 32;
        kind.rowsPerStrip = 16;
        kind.channels = 3;
        kind.bits = 8;
        kind.compression = COMPRESSION_JPEG;
        kind.photometric = PHOTOMETRIC_YCBCR;
        const int color[] = {200, 60, 30};
        QVERIFY(makeTiff(
            path(), kind, [&](int, int, int c) { return static_cast<quint64>(color[c]); },
            [](TIFF* file) { TIFFSetField(file, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB); }));
        const LoadedFrame loaded = load(path());
        QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
        for (int c = 0; c < 3; ++c)
            QVERIFY(std::abs(sampleAt<quint8>(loaded.image(), 17, 17, c) - color[c]) < 6);
    }

    void whatIsNotServedIsSaid_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("photometric");
        QTest::addColumn<QString>("reason");
        const int grey = PHOTOMETRIC_MINISBLACK;
        QTest::newRow("40-bit integers") << 40 << int(SAMPLEFORMAT_UINT) << grey
                                         << QStringLiteral("integer samples of 40 bits are not served");
        QTest::newRow("8-bit floats") << 8 << int(SAMPLEFORMAT_IEEEFP) << grey
                                      << QStringLiteral("float samples of 8 bits are not served");
        QTest::newRow("complex numbers") << 64 << int(SAMPLEFORMAT_COMPLEXIEEEFP) << grey
                                         << QStringLiteral("complex samples of 64 bits are not served");
        QTest::newRow("subsampled colours outside JPEG")
            << 8 << int(SAMPLEFORMAT_UINT) << int(PHOTOMETRIC_YCBCR)
            << QStringLiteral("subsampled colour differences are only served within JPEG");
    }

    void whatIsNotServedIsSaid()
    {
        QFETCH(int, bits);
        QFETCH(int, format);
        QFETCH(int, photometric);
        QFETCH(QString, reason);
        TiffKind kind;
        kind.bits = bits;
        kind.format = format;
        kind.photometric = photometric;
        kind.channels = photometric == PHOTOMETRIC_YCBCR ? 3 : 1;
        kind.width = kind.height = kind.rowsPerStrip = 4;
        // Subsampled, 2 x 2 pixels take 6 samples: the strip made here is longer than it must be.
        QVERIFY(makeTiff(path(), kind, mixed));
        const LoadedFrame loaded = load(path());
        QVERIFY(!loaded.loader->isOpen());
        QCOMPARE(loaded.loader->lastError().kind, ep::ExFileError::Unsupported);
        QCOMPARE(loaded.loader->lastError().reason, reason);
    }

    void pagesAreFrames()
    {
        TiffKind kind;
        kind.channels = 2;
        QVERIFY(makeTiff(path(), kind, mixed, {}, 3));
        LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        QCOMPARE(loaded.loader->frameCount(), 3);
        QCOMPARE(loaded.loader->frameName(0), QStringLiteral("file.tif [1]"));
        QCOMPARE(loaded.loader->index(QStringLiteral("file.tif [3]")), 2);
        QVERIFY(loaded.loader->hasRandomAccess());
        for (int frame : {2, 0, 1, 1}) {
            loaded.data.reset(loaded.loader->imageData(frame));
            QVERIFY(loaded.data);
            QCOMPARE(loaded.data->frame(), frame);
            QCOMPARE(sampleAt<quint16>(loaded.image(), 6, 4, 1), static_cast<quint16>(mixed(6, 4, 1 + 1000 * frame)));
        }
        QVERIFY(!loaded.loader->imageData(3));
        QVERIFY(!loaded.loader->imageData(-1));
        loaded.loader->close();
        QVERIFY(!loaded.loader->isOpen());
        QCOMPARE(loaded.loader->frameCount(), 0);
        QVERIFY(!loaded.loader->imageData(0));
    }

    void smallerVersionsAreNoPages()
    {
        TiffKind kind;
        int page = 0;
        QVERIFY(makeTiff(
            path(), kind, mixed,
            [&](TIFF* file) {
                TIFFSetField(file, TIFFTAG_SUBFILETYPE, page++ == 0 ? FILETYPE_REDUCEDIMAGE : FILETYPE_PAGE);
            },
            2));
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        QCOMPARE(loaded.loader->frameCount(), 1);
        QCOMPARE(loaded.loader->frameName(0), QStringLiteral("file.tif"));
        QCOMPARE(sampleAt<quint16>(loaded.image(), 6, 4), static_cast<quint16>(mixed(6, 4, 1000)));
    }

    void depthIsTakenFromTheLargestSample_data()
    {
        QTest::addColumn<int>("maximum");
        QTest::addColumn<int>("depth");
        QTest::newRow("4095 says 12 bits") << 4095 << 12;
        QTest::newRow("255 says 8 bits") << 255 << 8;
        QTest::newRow("65535 says 16 bits") << 65535 << 16;
        QTest::newRow("4000 says nothing") << 4000 << 16;
        QTest::newRow("0 says nothing") << 0 << 16;
    }

    void depthIsTakenFromTheLargestSample()
    {
        QFETCH(int, maximum);
        QFETCH(int, depth);
        QVERIFY(makeTiff(
            path(), TiffKind(), [](int x, int, int) { return static_cast<quint64>(x); },
            [&](TIFF* file) { TIFFSetField(file, TIFFTAG_MAXSAMPLEVALUE, maximum); }));
        const LoadedFrame loaded = load(path());
        QVERIFY(loaded.data);
        QCOMPARE(loaded.image().bitDepth, depth);
    }
};

QTEST_GUILESS_MAIN(TiffLoaderTest)
#include "TiffLoaderTest.moc"
