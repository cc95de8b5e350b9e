// The TIFF loader hands out floats of every width.
#include "FormatPlugin.h"
#include "TestImages.h"
#include "TiffMaker.h"

#include <QtEndian>
#include <QtTest>

#include <cmath>
#include <limits>

using namespace testing;

namespace {

/** The value of a short float, from its definition. */
double shortFloat(quint32 bits, int exponentBits, int fractionBits)
{
    const int bias = (1 << (exponentBits - 1)) - 1;
    const int exponent = static_cast<int>(bits >> fractionBits & ((1u << exponentBits) - 1));
    const double fraction = std::ldexp(bits & ((1u << fractionBits) - 1), -fractionBits);
    const double sign = bits >> (exponentBits + fractionBits) & 1 ? -1 : 1;
    if (exponent == (1 << exponentBits) - 1)
        return fraction == 0 ? sign * std::numeric_limits<double>::infinity() : std::nan("");
    return sign * (exponent == 0 ? std::ldexp(fraction, 1 - bias) : std::ldexp(1 + fraction, exponent - bias));
}

}  // namespace

class TiffFloatTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString path() const { return m_folder.filePath(QStringLiteral("file.tif")); }

private slots:
    void initTestCase() { loadFormatPlugin(QStringLiteral("tiff")); }

    void shortFloats_data()
    {
        QTest::addColumn<int>("exponentBits");
        QTest::addColumn<int>("fractionBits");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<int>("predictor");
        for (const char* mode : {"wl", "wb"}) {
            for (int predictor : {PREDICTOR_NONE, PREDICTOR_FLOATINGPOINT}) {
                QTest::addRow("half, %s, predictor %d", mode, predictor)
                    << 5 << 10 << QString::fromLatin1(mode) << predictor;
                QTest::addRow("24 bits, %s, predictor %d", mode, predictor)
                    << 7 << 16 << QString::fromLatin1(mode) << predictor;
            }
        }
    }

    // All 65,536 half floats, and 65,536 of the 24-bit ones with every exponent.
    void shortFloats()
    {
        QFETCH(int, exponentBits);
        QFETCH(int, fractionBits);
        QFETCH(QString, mode);
        QFETCH(int, predictor);
        const QByteArray modeText = mode.toLatin1();
        TiffKind kind;
        kind.width = kind.height = 256;
        kind.bits = 1 + exponentBits + fractionBits;
        kind.format = SAMPLEFORMAT_IEEEFP;
        kind.mode = modeText.constData();
        kind.predictor = predictor;
        kind.compression = predictor == PREDICTOR_NONE ? COMPRESSION_NONE : COMPRESSION_LZW;
        const int spread = kind.bits - 16;
        const auto bits = [&](int x, int y, int) { return static_cast<quint64>(y * 256 + x) << spread | (x & spread); };
        // libtiff's writer swaps the bytes for big-endian files, but not so that this predictor needs them swapped.
        const bool isSwapped = predictor != PREDICTOR_NONE && mode == QLatin1String("wb");
        QVERIFY(makeTiff(path(), kind, [&](int x, int y, int c) {
            const quint64 sample = bits(x, y, c);
            return isSwapped ? qbswap(sample) >> (64 - kind.bits) : sample;
        }));
        const LoadedFrame loaded = loadFrame("ep::tiff::CxTiffImageLoader", path());
        QVERIFY2(loaded.data, qPrintable(loaded.loader->lastError().reason));
        QCOMPARE(int(loaded.image().dataType), int(ep::DataTypeFloat));
        QCOMPARE(loaded.image().bitDepth, 32);
        QCOMPARE(loaded.common()->colorBitDepth, kind.bits);
        for (int y = 0; y < 256; ++y) {
            for (int x = 0; x < 256; ++x) {
                const double expected = shortFloat(static_cast<quint32>(bits(x, y, 0)), exponentBits, fractionBits);
                const auto value = static_cast<double>(sampleAt<float>(loaded.image(), x, y));
                QVERIFY(std::isnan(expected) ? std::isnan(value) : value == expected);
                QCOMPARE(std::signbit(value), y >= 128);
            }
        }
    }

    void wideFloats()
    {
        TiffKind kind;
        kind.format = SAMPLEFORMAT_IEEEFP;
        for (int bits : {32, 64}) {
            kind.bits = bits;
            for (const char* mode : {"wl", "wb"}) {
                kind.mode = mode;
                QVERIFY(makeTiff(path(), kind, mixed));
                const LoadedFrame loaded = loadFrame("ep::tiff::CxTiffImageLoader", path());
                QVERIFY(loaded.data);
                QCOMPARE(int(loaded.image().dataType), int(bits == 32 ? ep::DataTypeFloat : ep::DataTypeDouble));
                const quint64 sample = mixed(6, 4, 0);
                const quint64 expected = bits == 32 ? static_cast<quint32>(sample) : sample;
                QCOMPARE(bits == 32 ? sampleAt<quint32>(loaded.image(), 6, 4) : sampleAt<quint64>(loaded.image(), 6, 4),
                         expected);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TiffFloatTest)
#include "TiffFloatTest.moc"
