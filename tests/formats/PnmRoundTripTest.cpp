#include "PnmMaker.h"

#include <ep/SameSamples.h>

#include <QTemporaryDir>
#include <QtTest>

using namespace testing;

Q_DECLARE_METATYPE(ep::ExImageDataType)
Q_DECLARE_METATYPE(ep::ExImageLayout)

namespace {

/** An image with samples of at most @p depth bits, the largest among them; padding holds other bytes. */
ep::CxScopedBuffer imageOfDepth(ep::SxImageInfo info, int depth, quint32 seed = 1)
{
    info.bitDepth = depth;
    ep::CxScopedBuffer image = randomImage(info, seed);
    if (info.dataType == ep::DataTypeFloat)
        return image;
    const int largest = (1 << depth) - 1;
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            for (int c = 0; c < info.channels; ++c) {
                const int sample = x + y == 0 ? largest : numberAt(image.image(), x, y, c) & largest;
                if (info.dataType == ep::DataTypeUInt8)
                    setSample(image.image(), x, y, c, static_cast<quint8>(sample));
                else
                    setSample(image.image(), x, y, c, static_cast<quint16>(sample));
            }
    return image;
}

/** What saving gave. */
struct Saved {
    bool ok;
    QByteArray file;
    ep::SxFileError error;
};

Saved save(const ep::CxImageData& data, const QString& suffix, bool ascii = false)
{
    const auto saver = pnmSaver();
    saver->setFileName(QStringLiteral("image.") + suffix);
    saver->setOptions({{QStringLiteral("ascii"), ascii}});
    Saved saved{false, {}, {}};
    saved.ok = saver->saveToBuffer(&data, saved.file);
    saved.error = saver->lastError();
    return saved;
}

struct Case {
    const char* suffix;
    const char* magic;
    bool ascii;
    ep::ExImageDataType type;
    QList<int> channels;
    QList<int> depths;
};

const QList<Case> cases{
    {"pbm", "P4", false, ep::DataTypeUInt8, {1}, {1}},
    {"pbm", "P1", true, ep::DataTypeUInt8, {1}, {1}},
    {"pgm", "P5", false, ep::DataTypeUInt8, {1}, {1, 2, 7, 8}},
    {"pgm", "P5", false, ep::DataTypeUInt16, {1}, {9, 10, 12, 14, 16}},
    {"pgm", "P2", true, ep::DataTypeUInt8, {1}, {1, 2, 7, 8}},
    {"pgm", "P2", true, ep::DataTypeUInt16, {1}, {9, 10, 12, 14, 16}},
    {"ppm", "P6", false, ep::DataTypeUInt8, {3}, {1, 8}},
    {"ppm", "P6", false, ep::DataTypeUInt16, {3}, {10, 12, 16}},
    {"ppm", "P3", true, ep::DataTypeUInt8, {3}, {1, 8}},
    {"ppm", "P3", true, ep::DataTypeUInt16, {3}, {10, 12, 16}},
    {"pnm", "P5", false, ep::DataTypeUInt16, {1}, {12}},
    {"PNM", "P6", false, ep::DataTypeUInt8, {3}, {8}},
    {"pam", "P7", false, ep::DataTypeUInt8, {1, 2, 3, 4, 5}, {1, 8}},
    {"pam", "P7", false, ep::DataTypeUInt16, {1, 2, 3, 4, 5}, {12, 16}},
    {"pfm", "Pf", false, ep::DataTypeFloat, {1}, {32}},
    {"pfm", "PF", false, ep::DataTypeFloat, {3}, {32}},
    {"tmp", "P5", false, ep::DataTypeUInt8, {1}, {8}},
    {"tmp", "P6", false, ep::DataTypeUInt16, {3}, {16}},
    {"tmp", "P7", false, ep::DataTypeUInt8, {2, 4}, {8}},
    {"tmp", "PF", false, ep::DataTypeFloat, {3}, {32}},
};

}  // namespace

class PnmRoundTripTest : public QObject {
    Q_OBJECT
private slots:
    void samples_data();
    void samples();
    void maxval_data();
    void maxval();
    void reversedColours();
    void refusals_data();
    void refusals();
    void refusesNoImage();
    void textLinesAreShort();
    void bitmapsAreFilledUp();
    void expectedFileSize();
    void unwritable();
};

void PnmRoundTripTest::samples_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("magic");
    QTest::addColumn<bool>("ascii");
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("depth");
    QTest::addColumn<ep::ExImageLayout>("layout");
    QTest::addColumn<int>("padding");
    QTest::addColumn<QSize>("size");
    for (const Case& one : cases)
        for (const int channels : one.channels)
            for (const int depth : one.depths)
                for (const ep::ExImageLayout layout : allLayouts)
                    for (const int padding : {0, 5})
                        for (const QSize& size : {QSize(1, 1), QSize(8, 2), QSize(13, 7)})
                            QTest::addRow("%s as %s, %d bits, %d channels, %s, %d bytes between rows, %dx%d",
                                          one.suffix, one.magic, depth, channels,
                                          layout == ep::LayoutPacked ? "packed" : "planar", padding, size.width(),
                                          size.height())
                                << QString::fromLatin1(one.suffix) << QByteArray(one.magic) << one.ascii << one.type
                                << channels << depth << layout << padding << size;
}

void PnmRoundTripTest::samples()
{
    QFETCH(QString, suffix);
    QFETCH(QByteArray, magic);
    QFETCH(bool, ascii);
    QFETCH(ep::ExImageDataType, type);
    QFETCH(int, channels);
    QFETCH(int, depth);
    QFETCH(ep::ExImageLayout, layout);
    QFETCH(int, padding);
    QFETCH(QSize, size);

    const auto data =
        imageDataOf(imageOfDepth(describe(type, size.width(), size.height(), channels, layout, padding), depth));
    const Saved saved = save(*data, suffix, ascii);
    QVERIFY2(saved.ok, qPrintable(saved.error.reason));
    QVERIFY(!saved.error);
    QVERIFY(saved.file.startsWith(magic + '\n'));

    const PnmLoaded loaded = loadMap(saved.file);
    QVERIFY2(loaded.data, qPrintable(loaded.error.reason));
    QVERIFY(ep::SameSamples(loaded.image(), data->image()));
    QCOMPARE(loaded.image().bitDepth, depth);
    QCOMPARE(loaded.image().layout, ep::LayoutPacked);
}

void PnmRoundTripTest::maxval_data()
{
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<int>("declared");
    QTest::addColumn<int>("used");
    QTest::addColumn<QString>("written");
    QTest::newRow("the declared depth gives it") << ep::DataTypeUInt16 << 12 << 12 << "4095";
    QTest::newRow("smaller samples change nothing") << ep::DataTypeUInt16 << 12 << 3 << "4095";
    QTest::newRow("a larger sample gives that of the type") << ep::DataTypeUInt16 << 10 << 12 << "65535";
    QTest::newRow("a larger 8-bit sample gives that of the type") << ep::DataTypeUInt8 << 4 << 5 << "255";
    QTest::newRow("no depth gives that of the type") << ep::DataTypeUInt16 << 0 << 12 << "65535";
    QTest::newRow("a depth past the type gives that of the type") << ep::DataTypeUInt8 << 16 << 3 << "255";
    QTest::newRow("16-bit samples stay 16-bit samples") << ep::DataTypeUInt16 << 8 << 8 << "511";
}

void PnmRoundTripTest::maxval()
{
    QFETCH(ep::ExImageDataType, type);
    QFETCH(int, declared);
    QFETCH(int, used);
    QFETCH(QString, written);
    ep::CxScopedBuffer image = imageOfDepth(describe(type, 5, 4), used);
    image->bitDepth = declared;
    const auto data = imageDataOf(std::move(image));
    const Saved saved = save(*data, QStringLiteral("pgm"));
    QVERIFY2(saved.ok, qPrintable(saved.error.reason));
    const PnmLoaded loaded = loadMap(saved.file);
    QCOMPARE(loaded.attribute("MAXVAL"), written);
    QVERIFY(ep::SameSamples(loaded.image(), data->image()));
}

void PnmRoundTripTest::reversedColours()
{
    for (const ep::ExImageLayout layout : allLayouts) {
        ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt8, 5, 4, 3, layout));
        image->formatCode = ep::FormatCodeReversedColors;
        const auto data = imageDataOf(std::move(image));
        const Saved saved = save(*data, QStringLiteral("ppm"));
        QVERIFY(saved.ok);
        const PnmLoaded loaded = loadMap(saved.file);
        QVERIFY(loaded.data);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 5; ++x)
                for (int c = 0; c < 3; ++c)
                    QCOMPARE(numberAt(loaded.image(), x, y, c), numberAt(data->image(), x, y, 2 - c));
    }
}

void PnmRoundTripTest::refusals_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<ep::ExImageDataType>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("ascii");
    QTest::addColumn<QString>("reason");

    for (const auto type : {ep::DataTypeInt8, ep::DataTypeInt16, ep::DataTypeInt32, ep::DataTypeUInt32,
                            ep::DataTypeDouble, ep::DataTypeComplex, ep::DataTypeInt64, ep::DataTypeUInt64})
        for (const char* suffix : {"pgm", "pam", "pfm", "tmp"})
            QTest::addRow("%s as %s", ep::sampleFacts(type).name, suffix)
                << QString::fromLatin1(suffix) << type << 1 << 8 << false
                << QString::fromLatin1(ep::sampleFacts(type).name);
    const auto u8 = ep::DataTypeUInt8;
    const auto u16 = ep::DataTypeUInt16;
    const auto f32 = ep::DataTypeFloat;
    QTest::newRow("float as graymap") << "pgm" << f32 << 1 << 32 << false << "a float map (.pfm)";
    QTest::newRow("integers as float map") << "pfm" << u16 << 1 << 16 << false << "uint16";
    QTest::newRow("float map of two channels") << "pfm" << f32 << 2 << 32 << false << "1 or 3 channels";
    QTest::newRow("float of two channels in no kind") << "tmp" << f32 << 2 << 32 << false << "float";
    QTest::newRow("graymap of three channels") << "pgm" << u8 << 3 << 8 << false << "1 channel and the image has 3";
    QTest::newRow("pixmap of one channel") << "ppm" << u8 << 1 << 8 << false << "3 channels and the image has 1";
    QTest::newRow("pixmap of four channels") << "ppm" << u8 << 4 << 8 << false << "3 channels and the image has 4";
    QTest::newRow("anymap of two channels") << "pnm" << u8 << 2 << 8 << false << ".pam";
    QTest::newRow("bitmap of three channels") << "pbm" << u8 << 3 << 1 << false << "1 channel and the image has 3";
    QTest::newRow("bitmap of 16-bit samples") << "pbm" << u16 << 1 << 1 << false << "uint16";
    QTest::newRow("bitmap of 8 bits") << "pbm" << u8 << 1 << 8 << false << "samples of 8 bits";
    QTest::newRow("arbitrary map as text") << "pam" << u8 << 1 << 8 << true << "no form in text";
    QTest::newRow("float map as text") << "pfm" << f32 << 1 << 32 << true << "no form in text";
    QTest::newRow("more channels than are read") << "pam" << u8 << 65536 << 8 << false << "up to 65535 channels";
}

void PnmRoundTripTest::refusals()
{
    QFETCH(QString, suffix);
    QFETCH(ep::ExImageDataType, type);
    QFETCH(int, channels);
    QFETCH(int, depth);
    QFETCH(bool, ascii);
    QFETCH(QString, reason);
    ep::CxScopedBuffer image = randomImage(describe(type, 3, 2, channels));
    image->bitDepth = depth;
    const Saved saved = save(*imageDataOf(std::move(image)), suffix, ascii);
    QVERIFY(!saved.ok);
    QVERIFY(saved.file.isEmpty());
    QCOMPARE(saved.error.kind, ep::ExFileError::Refused);
    QVERIFY2(saved.error.reason.contains(reason), qPrintable(saved.error.reason));
}

void PnmRoundTripTest::refusesNoImage()
{
    const auto saver = pnmSaver();
    QByteArray content;
    QVERIFY(!saver->saveImage(nullptr));
    QVERIFY(!saver->saveToBuffer(nullptr, content));
    QVERIFY(!save(ep::CxImageData(), QStringLiteral("pgm")).ok);

    // Declared as 1 bit, with a sample of 2.
    ep::CxScopedBuffer image = imageOfDepth(describe(ep::DataTypeUInt8, 2, 2), 2);
    image->bitDepth = 1;
    QVERIFY(!save(*imageDataOf(std::move(image)), QStringLiteral("pbm")).ok);
}

void PnmRoundTripTest::textLinesAreShort()
{
    for (const char* suffix : {"pbm", "pgm", "ppm"}) {
        const bool isBitmap = qstrcmp(suffix, "pbm") == 0;
        const int channels = qstrcmp(suffix, "ppm") == 0 ? 3 : 1;
        const auto info = describe(isBitmap ? ep::DataTypeUInt8 : ep::DataTypeUInt16, 211, 3, channels);
        const Saved saved =
            save(*imageDataOf(imageOfDepth(info, isBitmap ? 1 : 16)), QString::fromLatin1(suffix), true);
        QVERIFY(saved.ok);
        int longest = 0;
        for (const QByteArray& line : saved.file.split('\n')) {
            longest = qMax(longest, line.size());
            QVERIFY(line.trimmed() == line);
        }
        QVERIFY2(longest > 60 && longest <= 70, qPrintable(QString::number(longest)));
    }
}

void PnmRoundTripTest::bitmapsAreFilledUp()
{
    ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt8, 3, 2));
    const quint8 bits[2][3] = {{1, 0, 1}, {0, 1, 1}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            setSample(image.image(), x, y, 0, bits[y][x]);
    image->bitDepth = 1;
    QCOMPARE(save(*imageDataOf(std::move(image)), QStringLiteral("pbm")).file, QByteArray("P4\n3 2\n\xa0\x60"));
}

void PnmRoundTripTest::expectedFileSize()
{
    QTemporaryDir folder;
    const auto saver = pnmSaver();
    saver->setFileName(folder.filePath(QStringLiteral("image.pgm")));
    const auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt16, 7, 5)));
    QVERIFY2(saver->saveImage(data.get()), qPrintable(saver->lastError().reason));
    QCOMPARE(saver->expectedFileSize(), QByteArray("P5\n7 5\n65535\n").size() + 7 * 5 * 2);
    QCOMPARE(QFileInfo(saver->fileName()).size(), saver->expectedFileSize());
}

void PnmRoundTripTest::unwritable()
{
    const auto data = imageDataOf(randomImage(describe(ep::DataTypeUInt8, 700, 500)));
    for (const char* name : {"/nowhere/image.pgm", "/", "/dev/full"}) {
        const auto saver = pnmSaver();
        saver->setFileName(QString::fromLatin1(name));
        QVERIFY2(!saver->saveImage(data.get()), name);
        QCOMPARE(saver->lastError().kind, ep::ExFileError::Unwritable);
        QVERIFY(!saver->lastError().reason.isEmpty());
        QCOMPARE(saver->expectedFileSize(), qint64(0));
    }
}

QTEST_GUILESS_MAIN(PnmRoundTripTest)
#include "PnmRoundTripTest.moc"
