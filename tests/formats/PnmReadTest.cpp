#include "PnmMaker.h"

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <limits>

using namespace testing;

namespace {

int channelsOfDigit(int digit)
{
    return digit == 3 || digit == 6 ? 3 : 1;
}

/** A float map as a file: @p samples from the top row on. */
QByteArray floatMap(int width, int height, int channels, const QByteArray& scale, const std::vector<float>& samples)
{
    QByteArray file = (channels == 3 ? "PF\n" : "Pf\n") + QByteArray::number(width) + ' ' + QByteArray::number(height)
                      + '\n' + scale + '\n';
    const size_t rowSamples = static_cast<size_t>(width * channels);
    for (int y = height - 1; y >= 0; --y)
        for (size_t i = 0; i < rowSamples; ++i) {
            char bytes[4];
            const float sample = samples[static_cast<size_t>(y) * rowSamples + i];
            if (scale.startsWith('-'))
                qToLittleEndian(sample, bytes);
            else
                qToBigEndian(sample, bytes);
            file.append(bytes, 4);
        }
    return file;
}

}  // namespace

class PnmReadTest : public QObject {
    Q_OBJECT
private slots:
    void samples_data();
    void samples();
    void depth_data();
    void depth();
    void headers_data();
    void headers();
    void floats_data();
    void floats();
    void floatBitsAreKept();
    void metadata_data();
    void metadata();
    void manyChannels();
    void loaderHasOneFrame();
    void fileIsReadLikeMemory();
};

void PnmReadTest::samples_data()
{
    QTest::addColumn<int>("digit");
    QTest::addColumn<int>("maxval");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QSize>("size");

    const QList<QSize> sizes{{1, 1}, {3, 2}, {8, 1}, {17, 5}, {1, 9}, {9, 33}};
    for (int digit = 1; digit <= 7; ++digit)
        for (const int maxval : {1, 2, 3, 100, 255, 256, 1000, 1023, 4095, 16383, 65534, 65535})
            for (const int channels : {1, 2, 3, 4, 7})
                for (const QSize& size : sizes) {
                    const bool isBitmap = digit == 1 || digit == 4;
                    if ((isBitmap && maxval != 1) || (digit != 7 && channels != channelsOfDigit(digit)))
                        continue;
                    QTest::addRow("P%d of %dx%d, %d channels, largest sample %d", digit, size.width(), size.height(),
                                  channels, maxval)
                        << digit << maxval << channels << size;
                }
}

void PnmReadTest::samples()
{
    QFETCH(int, digit);
    QFETCH(int, maxval);
    QFETCH(int, channels);
    QFETCH(QSize, size);

    const PnmMap map = makeMap(digit, size.width(), size.height(), channels, maxval, 7);
    const PnmLoaded loaded = loadMap(mapFile(map));
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    QVERIFY(holdsMap(loaded.image(), map));
    QCOMPARE(loaded.image().dataType, maxval < 256 ? ep::DataTypeUInt8 : ep::DataTypeUInt16);
    QCOMPARE(loaded.image().layout, ep::LayoutPacked);
    QCOMPARE(loaded.image().bayerGrid, ep::BayerGridNone);
    QCOMPARE(loaded.image().formatCode, qint32(ep::FormatCodeInOrder));
}

void PnmReadTest::depth_data()
{
    QTest::addColumn<int>("maxval");
    QTest::addColumn<int>("depth");
    QTest::newRow("1 is 1 bit") << 1 << 1;
    QTest::newRow("2 is 2 bits") << 2 << 2;
    QTest::newRow("3 is 2 bits") << 3 << 2;
    QTest::newRow("4 is 3 bits") << 4 << 3;
    QTest::newRow("255 is 8 bits") << 255 << 8;
    QTest::newRow("256 is 9 bits") << 256 << 9;
    QTest::newRow("1000 is 10 bits") << 1000 << 10;
    QTest::newRow("1023 is 10 bits") << 1023 << 10;
    QTest::newRow("1024 is 11 bits") << 1024 << 11;
    QTest::newRow("4095 is 12 bits") << 4095 << 12;
    QTest::newRow("16383 is 14 bits") << 16383 << 14;
    QTest::newRow("65535 is 16 bits") << 65535 << 16;
}

void PnmReadTest::depth()
{
    QFETCH(int, maxval);
    QFETCH(int, depth);
    const PnmLoaded loaded = loadMap(mapFile(makeMap(5, 4, 3, 1, maxval)));
    QVERIFY(loaded.data);
    QCOMPARE(loaded.image().bitDepth, depth);
    QCOMPARE(loaded.common().colorBitDepth, depth);
    QCOMPARE(loaded.attribute("MAXVAL"), QString::number(maxval));
}

void PnmReadTest::headers_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("samples");

    QTest::newRow("one blank after the header belongs to it, the next is a sample")
        << QByteArray("P5 2 1 255  \n") << "32 10";
    QTest::newRow("any blank separates") << QByteArray("P5\t2\r1\v255\fab") << "97 98";
    QTest::newRow("Windows line ends in text") << QByteArray("P2\r\n2 1\r\n255\r\n1\r\n2\r\n") << "1 2";
    QTest::newRow("comment after the magic") << QByteArray("P5#c\n2 1 255\nab") << "97 98";
    QTest::newRow("comment lines between the fields")
        << QByteArray("P5\n# a 9 9\n2 # b\n#\n1\n# c\n255\nab") << "97 98";
    QTest::newRow("comment ends a number") << QByteArray("P5 2#9\n1 255\nab") << "97 98";
    QTest::newRow("comment before the raster is the separator") << QByteArray("P5 2 1 255# c\nab") << "97 98";
    QTest::newRow("number sign after the separator is a sample") << QByteArray("P5 2 1 255\n#\n") << "35 10";
    QTest::newRow("comment up to a carriage return") << QByteArray("P5 # c\r2 1 255\nab") << "97 98";
    QTest::newRow("comments between samples") << QByteArray("P2 # a\n3 1 9 # b\n1 # 7\n#8\n2#9\n3") << "1 2 3";
    QTest::newRow("leading zeros") << QByteArray("P2 0002 01 0255 007 0000000000000000000001") << "7 1";
    QTest::newRow("bits without blanks") << QByteArray("P1 3 2 101010") << "1 0 1 0 1 0";
    QTest::newRow("bits with blanks and comments") << QByteArray("P1\n3 2\n1 0#1\n1\n01 0") << "1 0 1 0 1 0";
    QTest::newRow("padding bits are not looked at") << QByteArray("P4 3 2 \xbf\x5f") << "1 0 1 0 1 0";
    QTest::newRow("text after a text raster") << QByteArray("P2 1 1 9 5 and more") << "5";
    QTest::newRow("a second image after the first") << QByteArray("P5 1 1 9 \5P5 1 1 9 \6") << "5";
    QTest::newRow("PAM fields in any order")
        << QByteArray("P7\nMAXVAL 9\nDEPTH 1\nHEIGHT 1\nTUPLTYPE GRAYSCALE\nWIDTH 2\nENDHDR\n\1\2") << "1 2";
    QTest::newRow("PAM with comments, blanks and empty lines")
        << QByteArray("P7\n# a\n\n  WIDTH \t 2  \nHEIGHT 1\n#WIDTH 5\nDEPTH 1\nMAXVAL 9\n\nENDHDR\n\1\2") << "1 2";
    QTest::newRow("PAM with Windows line ends")
        << QByteArray("P7\r\nWIDTH 2\r\nHEIGHT 1\r\nDEPTH 1\r\nMAXVAL 9\r\nENDHDR\r\n\1\2") << "1 2";
    QTest::newRow("PAM raster that begins with a line end")
        << QByteArray("P7\nWIDTH 2\nHEIGHT 1\nDEPTH 1\nMAXVAL 99\nENDHDR\n\n\2") << "10 2";
}

void PnmReadTest::headers()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, samples);
    const PnmLoaded loaded = loadMap(file);
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    QStringList found;
    const ep::SxImageBuf image = loaded.image();
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            found << QString::number(numberAt(image, x, y, 0));
    QCOMPARE(found.join(QLatin1Char(' ')), samples);
}

void PnmReadTest::floats_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<QByteArray>("scale");
    QTest::addColumn<QString>("unit");
    for (const int channels : {1, 3}) {
        QTest::addRow("%d channels, little-endian", channels) << channels << QByteArray("-1.0") << QString();
        QTest::addRow("%d channels, big-endian", channels) << channels << QByteArray("1.0") << QString();
        QTest::addRow("%d channels, little-endian with a unit", channels)
            << channels << QByteArray("-0.5") << QStringLiteral("0.5");
        QTest::addRow("%d channels, big-endian with a unit", channels)
            << channels << QByteArray("2.5e2") << QStringLiteral("250");
    }
}

void PnmReadTest::floats()
{
    QFETCH(int, channels);
    QFETCH(QByteArray, scale);
    QFETCH(QString, unit);
    std::vector<float> samples;
    for (int i = 0; i < 5 * 3 * channels; ++i)
        samples.push_back(static_cast<float>(i) * 1.25f - 7);

    const PnmLoaded loaded = loadMap(floatMap(5, 3, channels, scale, samples));
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    const ep::SxImageBuf image = loaded.image();
    QCOMPARE(image.dataType, ep::DataTypeFloat);
    QCOMPARE(image.channels, channels);
    QCOMPARE(image.bitDepth, 32);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < channels; ++c)
                QCOMPARE(sampleAt<float>(image, x, y, c), samples[static_cast<size_t>((y * 5 + x) * channels + c)]);
    QCOMPARE(loaded.attribute("SCALE"), unit);
}

void PnmReadTest::floatBitsAreKept()
{
    const quint32 patterns[] = {0x7fc00001, 0xffffffff, 0x7f800000, 0x80000000, 0x00000001};
    for (const bool isLittle : {true, false}) {
        QByteArray file = QByteArray("Pf 5 1 ") + (isLittle ? "-1\n" : "1\n");
        for (const quint32 pattern : patterns) {
            char bytes[4];
            if (isLittle)
                qToLittleEndian(pattern, bytes);
            else
                qToBigEndian(pattern, bytes);
            file.append(bytes, 4);
        }
        const PnmLoaded loaded = loadMap(file);
        QVERIFY(loaded.data);
        for (int x = 0; x < 5; ++x)
            QCOMPARE(sampleAt<quint32>(loaded.image(), x, 0), patterns[x]);
    }
}

void PnmReadTest::metadata_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("a bitmap says what 0 is") << QByteArray("P1 1 1 0") << QByteArray("PHOTOMETRIC") << "0 is white";
    QTest::newRow("a graymap does not") << QByteArray("P2 1 1 1 0") << QByteArray("PHOTOMETRIC") << QString();
    QTest::newRow("largest sample") << QByteArray("P2 1 1 1000 0") << QByteArray("MAXVAL") << "1000";
    QTest::newRow("comments of the header")
        << QByteArray("P2\n# one\n1 1 #two\n9\n5") << QByteArray("COMMENT") << "one\ntwo";
    QTest::newRow("UTF-8 in a comment") << QByteArray("P2\n# \xc3\xa4\n1 1 9 5") << QByteArray("COMMENT")
                                        << QString(QChar(0xe4));
    QTest::newRow("tuple type") << QByteArray(
        "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 2\nMAXVAL 9\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n\1\2")
                                << QByteArray("TUPLTYPE") << "GRAYSCALE_ALPHA";
    QTest::newRow("tuple type of several lines")
        << QByteArray("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 1\nMAXVAL 9\nTUPLTYPE near\nTUPLTYPE infrared\nENDHDR\n\1")
        << QByteArray("TUPLTYPE") << "near infrared";
}

void PnmReadTest::metadata()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, key);
    QFETCH(QString, value);
    const PnmLoaded loaded = loadMap(file);
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    QCOMPARE(loaded.attribute(key.constData()), value);
}

void PnmReadTest::manyChannels()
{
    const PnmMap map = makeMap(7, 2, 2, 65535, 1023);
    const PnmLoaded loaded = loadMap(mapFile(map));
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    QVERIFY(holdsMap(loaded.image(), map));
}

void PnmReadTest::loaderHasOneFrame()
{
    const auto loader = pnmLoader();
    QVERIFY(loader->supportsLoadFromBuffer());
    QVERIFY(!loader->imageData(0));
    const PnmMap map = makeMap(5, 3, 3, 1, 255);
    QVERIFY(loader->setBuffer(mapFile(map) + mapFile(map), QStringLiteral("two.pgm")));
    QVERIFY(loader->open());
    QVERIFY(loader->isOpen());
    QCOMPARE(loader->frameCount(), 1);
    QCOMPARE(loader->fileName(), QStringLiteral("two.pgm"));
    QVERIFY(!loader->imageData(1));
    QVERIFY(!loader->imageData(-1));
    for (int i = 0; i < 3; ++i) {
        const std::unique_ptr<ep::CxImageData> data(loader->imageData(0));
        QVERIFY(data && holdsMap(data->image(), map));
    }
    loader->close();
    QVERIFY(!loader->isOpen());
    QVERIFY(!loader->imageData(0));
}

void PnmReadTest::fileIsReadLikeMemory()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("large.ppm"));
    // Rows longer than any buffer on the way, and a header that is not aligned to anything.
    const PnmMap map = makeMap(6, 40001, 3, 3, 4095);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(mapFile(map));
    file.close();
    const auto loader = pnmLoader();
    loader->setFileName(path);
    QVERIFY2(loader->open(), qPrintable(loader->lastError().reason));
    const std::unique_ptr<ep::CxImageData> data(loader->imageData(0));
    QVERIFY(data && holdsMap(data->image(), map));
}

QTEST_GUILESS_MAIN(PnmReadTest)
#include "PnmReadTest.moc"
