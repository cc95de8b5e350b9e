// Mosaics of DNG files as other programs write them: cells, margins, packing, levels. What is no mosaic is left alone.

#include "DngFiles.h"
#include "TiffMaker.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

namespace {

constexpr int width = 52;
constexpr int height = 44;

/** A sample that tells its place, of @p bits bits. */
quint64 placeSample(int x, int y, int bits)
{
    return (quint64(y) * 97 + quint64(x) * 3 + 1) & ((1u << bits) - 1);
}

TiffKind mosaicKind(int bits, const char* mode = "wl")
{
    TiffKind kind;
    kind.width = width;
    kind.height = height;
    kind.bits = bits;
    kind.photometric = PHOTOMETRIC_CFA;
    kind.rowsPerStrip = height;
    kind.mode = mode;
    return kind;
}

/** Sets the least tags of a DNG file. */
void setDng(TIFF* file)
{
    TIFFSetField(file, TIFFTAG_DNGVERSION, "\1\4\0\0");
    TIFFSetField(file, TIFFTAG_DNGBACKWARDVERSION, "\1\1\0\0");
    TIFFSetField(file, TIFFTAG_UNIQUECAMERAMODEL, "Stranger 1");
    TIFFSetField(file, TIFFTAG_MAKE, "Stranger");
    TIFFSetField(file, TIFFTAG_MODEL, "One");
    TIFFSetField(file, TIFFTAG_SUBFILETYPE, 0);
}

void setCell(TIFF* file, int columns, int rows, const char* colors)
{
    const quint16 repeat[2] = {quint16(rows), quint16(columns)};
    QByteArray codes;
    for (const char* letter = colors; *letter; ++letter)
        codes.append(static_cast<char>(QByteArray("RGBCMYW").indexOf(*letter)));
    TIFFSetField(file, TIFFTAG_CFAREPEATPATTERNDIM, repeat);
    TIFFSetField(file, TIFFTAG_CFAPATTERN, codes.size(), codes.constData());
}

}  // namespace

class RawLoaderTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString path() const { return m_folder.filePath(QStringLiteral("stranger.dng")); }

    bool make(const TiffKind& kind, const TiffTags& tags)
    {
        return makeTiff(
            path(), kind, [&](int x, int y, int) { return placeSample(x, y, kind.bits); },
            [&](TIFF* file) {
                setDng(file);
                tags(file);
            });
    }

    /** Compares the image with the part of the sensor from (@p left, @p top) on. */
    static void compareSamples(const ep::SxImageBuf& image, int bits, int left = 0, int top = 0)
    {
        QCOMPARE(int(image.dataType), int(ep::DataTypeUInt16));
        QCOMPARE(image.channels, 1);
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                QCOMPARE(quint64(sampleAt<quint16>(image, x, y)), placeSample(left + x, top + y, bits));
    }

private slots:
    void initTestCase() { loadDngPlugins(); }

    void packedSamplesKeepTheirValueAndDepth_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QString>("mode");
        for (const int bits : {8, 10, 12, 14, 16})
            for (const char* mode : {"wl", "wb"})
                QTest::addRow("%d bits, %s", bits, mode) << bits << QString::fromLatin1(mode);
    }

    void packedSamplesKeepTheirValueAndDepth()
    {
        QFETCH(int, bits);
        QFETCH(QString, mode);
        const QByteArray latin = mode.toLatin1();
        QVERIFY(make(mosaicKind(bits, latin.constData()), [](TIFF* file) { setCell(file, 2, 2, "RGGB"); }));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        compareSamples(frame.image(), bits);
        QCOMPARE(frame.image().bitDepth, bits);
        QCOMPARE(frame.common()->colorBitDepth, bits);
        QCOMPARE(frame.common()->whiteLevel, double((1 << bits) - 1));
    }

    void cellGivesTheGrid_data()
    {
        QTest::addColumn<int>("columns");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QString>("colors");
        QTest::addColumn<int>("grid");
        QTest::newRow("BGGR") << 2 << 2 << "BGGR" << 0;
        QTest::newRow("RGGB") << 2 << 2 << "RGGB" << 1;
        QTest::newRow("GBRG") << 2 << 2 << "GBRG" << 2;
        QTest::newRow("GRBG") << 2 << 2 << "GRBG" << 3;
        QTest::newRow("X-Trans") << 6 << 6 << xTransColors() << 5;
        QTest::newRow("four by four") << 4 << 4 << "RRGGRRGGGGBBGGBB" << 5;
        QTest::newRow("two by four") << 2 << 4 << "RGGBGRBG" << 5;
        QTest::newRow("three stripes") << 3 << 1 << "RGB" << 5;
        QTest::newRow("cyan, magenta, yellow") << 2 << 2 << "CMYG" << 5;
    }

    void cellGivesTheGrid()
    {
        QFETCH(int, columns);
        QFETCH(int, rows);
        QFETCH(QString, colors);
        QFETCH(int, grid);
        const QByteArray letters = colors.toLatin1();
        QVERIFY(make(mosaicKind(14), [&](TIFF* file) { setCell(file, columns, rows, letters.constData()); }));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        compareSamples(frame.image(), 14);
        QCOMPARE(int(frame.image().bayerGrid), grid);
        QCOMPARE(frame.image().patternWidth, columns);
        QCOMPARE(frame.image().patternHeight, rows);
        QCOMPARE(frame.common()->bayerGrid, grid);
        QCOMPARE(frame.common()->patternWidth, columns);
        QCOMPARE(frame.common()->patternHeight, rows);
        QCOMPARE(frame.common()->patternColors, colors);
    }

    void unknownPatternIsNotGuessed()
    {
        QVERIFY(make(mosaicKind(14), [](TIFF*) {}));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        compareSamples(frame.image(), 14);
        QCOMPARE(int(frame.image().bayerGrid), int(ep::BayerGridNone));
        QCOMPARE(frame.common()->attributes.value(QStringLiteral("warning")),
                 QStringLiteral("the file does not tell its colour-filter pattern"));
    }

    void patternsThatAreNoCellAreNotGuessed_data()
    {
        QTest::addColumn<int>("columns");
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("layout");
        QTest::addColumn<int>("colors");
        QTest::newRow("no rows") << 2 << 0 << 1 << 0;
        QTest::newRow("no columns") << 0 << 2 << 1 << 0;
        QTest::newRow("fewer colours than places") << 2 << 2 << 1 << 3;
        QTest::newRow("more colours than places") << 2 << 2 << 1 << 5;
        QTest::newRow("too large a cell") << 17 << 2 << 1 << 34;
        QTest::newRow("one colour") << 2 << 2 << 1 << 0;
        QTest::newRow("staggered rows") << 2 << 2 << 4 << 4;
    }

    void patternsThatAreNoCellAreNotGuessed()
    {
        QFETCH(int, columns);
        QFETCH(int, rows);
        QFETCH(int, layout);
        QFETCH(int, colors);
        QVERIFY(make(mosaicKind(14), [&](TIFF* file) {
            setCell(file, columns, rows,
                    colors == 0 ? "GGGG" : QByteArray("RGGB").repeated(9).left(colors).constData());
            TIFFSetField(file, TIFFTAG_CFALAYOUT, layout);
        }));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        QCOMPARE(int(frame.image().bayerGrid), int(ep::BayerGridNone));
        QVERIFY(frame.common()->attributes.contains(QStringLiteral("warning")));
    }

    void marginsAreCutAndTold_data()
    {
        QTest::addColumn<int>("left");
        QTest::addColumn<int>("top");
        for (const int left : {0, 3, 4})
            for (const int top : {0, 2, 5})
                QTest::addRow("%d left, %d above", left, top) << left << top;
    }

    // The pattern of a DNG file begins at the picture's corner, odd or even, and so do the grid and the levels.
    void marginsAreCutAndTold()
    {
        QFETCH(int, left);
        QFETCH(int, top);
        const quint32 area[4] = {quint32(top), quint32(left), height - 6, width - 4};  // top, left, bottom, right
        const quint16 repeat[2] = {2, 2};
        const float black[4] = {500, 501, 502, 503};
        QVERIFY(make(mosaicKind(14), [&](TIFF* file) {
            setCell(file, 2, 2, "GRBG");
            TIFFSetField(file, TIFFTAG_ACTIVEAREA, area);
            TIFFSetField(file, TIFFTAG_BLACKLEVELREPEATDIM, repeat);
            TIFFSetField(file, TIFFTAG_BLACKLEVEL, 4, black);
        }));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        QCOMPARE(frame.image().width, width - 4 - left);
        QCOMPARE(frame.image().height, height - 6 - top);
        compareSamples(frame.image(), 14, left, top);
        QCOMPARE(int(frame.image().bayerGrid), int(ep::BayerGridGRBG));
        QCOMPARE(frame.common()->patternColors, QStringLiteral("GRBG"));
        QCOMPARE(frame.common()->blackLevels, QVector<double>({501, 500, 502, 503}));
        QCOMPARE(frame.common()->sensorWidth, width);
        QCOMPARE(frame.common()->sensorHeight, height);
        QCOMPARE(frame.common()->leftMargin, left);
        QCOMPARE(frame.common()->topMargin, top);
    }

    void levelsAndColoursAreTold()
    {
        const quint16 repeat[2] = {2, 2};
        const float black[4] = {500, 501, 502, 503};
        const quint32 white = 15000;
        const float neutral[3] = {0.5F, 1.0F, 0.8F};
        QVERIFY(make(mosaicKind(14), [&](TIFF* file) {
            setCell(file, 2, 2, "BGGR");
            TIFFSetField(file, TIFFTAG_BLACKLEVELREPEATDIM, repeat);
            TIFFSetField(file, TIFFTAG_BLACKLEVEL, 4, black);
            TIFFSetField(file, TIFFTAG_WHITELEVEL, 1, &white);
            TIFFSetField(file, TIFFTAG_ASSHOTNEUTRAL, 3, neutral);
        }));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        // R, G1 beside red, B, G2 beside blue.
        QCOMPARE(frame.common()->blackLevels, QVector<double>({503, 502, 500, 501}));
        QCOMPARE(frame.common()->whiteLevel, 15000.0);
        QCOMPARE(frame.common()->whiteBalance, QVector<double>({2, 1, 1.25}));
        QCOMPARE(frame.common()->cameraMake, QStringLiteral("Stranger"));
        QCOMPARE(frame.common()->cameraModel, QStringLiteral("One"));
        compareSamples(frame.image(), 14);
    }

    void curveOfTheFileIsUndone()
    {
        quint16 curve[256];
        for (int i = 0; i < 256; ++i)
            curve[i] = quint16(i * i / 4);
        QVERIFY(make(mosaicKind(8), [&](TIFF* file) {
            setCell(file, 2, 2, "RGGB");
            TIFFSetField(file, TIFFTAG_LINEARIZATIONTABLE, 256, curve);
        }));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                QCOMPARE(int(sampleAt<quint16>(frame.image(), x, y)), int(curve[placeSample(x, y, 8)]));
        QCOMPARE(frame.image().bitDepth, 14);
    }

    void orientationIsToldAndNotApplied()
    {
        QVERIFY(make(mosaicKind(14), [](TIFF* file) {
            setCell(file, 2, 2, "RGGB");
            TIFFSetField(file, TIFFTAG_ORIENTATION, 8);
        }));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        QCOMPARE(frame.image().width, width);
        compareSamples(frame.image(), 14);
        QCOMPARE(frame.common()->orientation, 8);
    }

    void finishedColoursAreLeftToOthers()
    {
        constexpr int photometricLinearRaw = 34892;
        TiffKind kind = mosaicKind(16);
        kind.channels = 3;
        kind.photometric = photometricLinearRaw;
        QVERIFY(make(kind, [](TIFF*) {}));
        const LoadedFrame frame = loadRaw(path());
        QVERIFY(!frame.data);
        QCOMPARE(int(frame.loader->lastError().kind), int(ep::ExFileError::Unsupported));
        QVERIFY(!frame.loader->lastError().reason.isEmpty());
    }

    void whatLibRawDoesNotDecodeGoesThroughLibTiff_data()
    {
        QTest::addColumn<int>("compression");
        QTest::addColumn<int>("tileSize");
        QTest::newRow("deflated strips") << int(COMPRESSION_ADOBE_DEFLATE) << 0;
        QTest::newRow("deflated tiles") << int(COMPRESSION_ADOBE_DEFLATE) << 16;
        QTest::newRow("plain tiles") << int(COMPRESSION_NONE) << 16;
    }

    void whatLibRawDoesNotDecodeGoesThroughLibTiff()
    {
        QFETCH(int, compression);
        QFETCH(int, tileSize);
        TiffKind kind = mosaicKind(16);
        kind.compression = compression;
        kind.tileSize = tileSize;
        const quint32 area[4] = {3, 5, height - 2, width - 1};
        const quint32 white = 4000;
        QVERIFY(make(kind, [&](TIFF* file) {
            setCell(file, 2, 2, "GBRG");
            TIFFSetField(file, TIFFTAG_ACTIVEAREA, area);
            TIFFSetField(file, TIFFTAG_WHITELEVEL, 1, &white);
        }));
        const LoadedFrame raw = loadRaw(path());
        QVERIFY(!raw.data);
        QCOMPARE(int(raw.loader->lastError().kind), int(ep::ExFileError::Unsupported));
        const LoadedFrame frame = loadDng(path(), QStringLiteral("deflate"));
        QVERIFY2(frame.data, qPrintable(frame.loader->lastError().reason));
        QCOMPARE(frame.image().width, width - 6);
        QCOMPARE(frame.image().height, height - 5);
        compareSamples(frame.image(), 16, 5, 3);
        QCOMPARE(int(frame.image().bayerGrid), int(ep::BayerGridGBRG));
        QCOMPARE(frame.image().patternWidth, 2);
        QCOMPARE(frame.common()->patternColors, QStringLiteral("GBRG"));
        QCOMPARE(frame.common()->whiteLevel, 4000.0);
        QCOMPARE(frame.common()->cameraModel, QStringLiteral("One"));
        QCOMPARE(frame.common()->sensorWidth, width);
        QCOMPARE(frame.common()->leftMargin, 5);
        QCOMPARE(frame.common()->topMargin, 3);
    }
};

QTEST_GUILESS_MAIN(RawLoaderTest)
#include "RawLoaderTest.moc"
