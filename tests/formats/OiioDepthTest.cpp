// Samples of fewer bits than their type, and what foreign programs make of our files and we of theirs.
#include "DicomFile.h"
#include "FormatPlugin.h"
#include "Program.h"
#include "TestImages.h"

#include <ep/CxImageFormatManager.h>

#include <QTemporaryDir>
#include <QtTest>

#include <zlib.h>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

QByteArray bigEndian(quint32 value)
{
    QByteArray bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

QByteArray chunk(const QByteArray& name, const QByteArray& content)
{
    const QByteArray body = name + content;
    const auto sum = static_cast<quint32>(
        crc32(0, reinterpret_cast<const Bytef*>(body.constData()), static_cast<uInt>(body.size())));
    return bigEndian(static_cast<quint32>(content.size())) + body + bigEndian(sum);
}

/** A grey PNG file of one row of 16 samples of @p bits bits: 0, 1, 2 and so on, in turns. */
QByteArray pngOfBits(int bits)
{
    QByteArray row(1, '\0');
    int used = 8;
    for (int x = 0; x < 16; ++x) {
        if (used == 8) {
            row += '\0';
            used = 0;
        }
        used += bits;
        const int last = row.size() - 1;
        row[last] = static_cast<char>(row.at(last) | (x % (1 << bits)) << (8 - used));
    }
    const QByteArray header = bigEndian(16) + bigEndian(1) + static_cast<char>(bits) + QByteArray(4, '\0');
    return QByteArray("\x89PNG\r\n\x1a\n") + chunk("IHDR", header) + chunk("IDAT", qCompress(row).mid(4))
           + chunk("IEND", QByteArray());
}

/** A DICOM file of 2 x 2 samples of 12 bits in 16. */
QByteArray dicom(const char* meaning, bool isSigned)
{
    return dicomFile({2, 2}, {0, 1, 100, 4095}, meaning, isSigned);
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write a test file");
}

ProgramRun python(const char* script, const QString& path)
{
    return runProgram(QStringLiteral(ORN_PYTHON), {QStringLiteral("-c"), QLatin1String(script), path});
}

}  // namespace

class OiioDepthTest : public QObject {
    Q_OBJECT
private slots:
    void smallPngSamplesAreNotScaled_data();
    void smallPngSamplesAreNotScaled();
    void scaledSamplesComeBack_data();
    void scaledSamplesComeBack();
    void dicomSamplesAreNotScaled();
    void dicomThatWouldBeChangedIsRefused();
    void colorsThatWouldBeChangedAreRefused_data();
    void colorsThatWouldBeChangedAreRefused();
    void theyReadOur16Bits();
    void weReadTheirs_data();
    void weReadTheirs();
};

void OiioDepthTest::smallPngSamplesAreNotScaled_data()
{
    QTest::addColumn<int>("bits");
    for (const int bits : {1, 2, 4, 8})
        QTest::addRow("%d bits", bits) << bits;
}

void OiioDepthTest::smallPngSamplesAreNotScaled()
{
    QFETCH(int, bits);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("small.png"));
    writeFile(path, pngOfBits(bits));
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY2(Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error), qPrintable(error.reason));
    QCOMPARE(image->bitDepth, bits);
    for (int x = 0; x < 16; ++x)
        QCOMPARE(int(sampleAt<quint8>(image.image(), x, 0)), x % (1 << bits));
}

void OiioDepthTest::scaledSamplesComeBack_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<int>("bits");
    QTest::newRow("DPX of 10 bits") << "dpx" << 10;
    QTest::newRow("DPX of 12 bits") << "dpx" << 12;
    QTest::newRow("JPEG 2000 of 10 bits") << "jp2" << 10;
    QTest::newRow("JPEG 2000 of 12 bits") << "jp2" << 12;
}

void OiioDepthTest::scaledSamplesComeBack()
{
    QFETCH(QString, suffix);
    QFETCH(int, bits);
    // Another program makes the file: it takes the upper bits of 16.
    QTemporaryDir folder;
    ep::CxScopedBuffer source(describe(ep::DataTypeUInt16, 64, 64, 3));
    QVERIFY(!ep::failed(source.allocate()));
    for (int i = 0; i < 64 * 64 * 3; ++i) {
        const int number = i % (1 << bits);
        setSample(source.image(), i / 3 % 64, i / 192, i % 3,
                  static_cast<quint16>(number << (16 - bits) | number >> (2 * bits - 16)));
    }
    const QString png = folder.filePath(QStringLiteral("source.png"));
    QVERIFY(Manager::saveImageToFile(png, source.image(), nullptr, nullptr, false, QString()));
    const QString path = folder.filePath(QStringLiteral("image.") + suffix);
    const ProgramRun run =
        runProgram(QStringLiteral("oiiotool"),
                   {png, QStringLiteral("-d"), QStringLiteral("uint%1").arg(bits), QStringLiteral("-o"), path});
    QVERIFY2(run.code == 0, run.all().constData());
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY2(Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error), qPrintable(error.reason));
    QCOMPARE(image->bitDepth, bits);
    for (int i = 0; i < 64 * 64 * 3; ++i)
        QCOMPARE(int(sampleAt<quint16>(image.image(), i / 3 % 64, i / 192, i % 3)), i % (1 << bits));
}

void OiioDepthTest::dicomSamplesAreNotScaled()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("scan.dcm"));
    writeFile(path, dicom("MONOCHROME2", false));
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY2(Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error), qPrintable(error.reason));
    QCOMPARE(image->bitDepth, 12);
    const int expected[] = {0, 1, 100, 4095};
    for (int i = 0; i < 4; ++i)
        QCOMPARE(int(sampleAt<quint16>(image.image(), i % 2, i / 2)), expected[i]);
}

void OiioDepthTest::dicomThatWouldBeChangedIsRefused()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("scan.dcm"));
    for (const QByteArray& content : {dicom("MONOCHROME1", false), dicom("MONOCHROME2", true)}) {
        writeFile(path, content);
        ep::CxScopedBuffer image;
        ep::SxFileError error;
        QVERIFY(!Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error));
        QCOMPARE(error.kind, ep::ExFileError::Unsupported);
    }
}

void OiioDepthTest::colorsThatWouldBeChangedAreRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("mode");
    QTest::newRow("WebP with opacity") << "theirs.webp"
                                       << "RGBA";
    QTest::newRow("JPEG of four inks") << "theirs.jpg"
                                       << "CMYK";
}

void OiioDepthTest::colorsThatWouldBeChangedAreRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, mode);
    QTemporaryDir folder;
    const QString path = folder.filePath(name);
    const QByteArray script = "import sys\nfrom PIL import Image\nImage.new('" + mode.toLatin1()
                              + "', (40, 40), (200, 100, 50, 128)).save(sys.argv[1])\n";
    const ProgramRun run = python(script.constData(), path);
    QVERIFY2(run.code == 0, run.all().constData());
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY(!Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error));
    QCOMPARE(error.kind, ep::ExFileError::Unsupported);
    QVERIFY(error.reason.contains(QStringLiteral("OpenImageIO would")));
}

void OiioDepthTest::theyReadOur16Bits()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("ours.png"));
    const ep::CxScopedBuffer image = randomImage(describe(ep::DataTypeUInt16, 37, 29));
    QVERIFY(Manager::saveImageToFile(path, image.image(), nullptr, nullptr, false, QString()));
    const ProgramRun run = python("import sys, numpy\n"
                                  "from PIL import Image\n"
                                  "print(*numpy.array(Image.open(sys.argv[1])).ravel())",
                                  path);
    QVERIFY2(run.code == 0, run.all().constData());
    const QStringList numbers = run.out.trimmed().split(QLatin1Char(' '));
    QCOMPARE(numbers.size(), 37 * 29);
    for (int i = 0; i < numbers.size(); ++i)
        QCOMPARE(numbers[i].toInt(), int(sampleAt<quint16>(image.image(), i % 37, i / 37)));
}

void OiioDepthTest::weReadTheirs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("mode");
    QTest::newRow("16-bit PNG") << "theirs.png"
                                << "I;16";
    QTest::newRow("grey PNG") << "theirs.png"
                              << "L";
    QTest::newRow("PNG with opacity") << "theirs.png"
                                      << "RGBA";
    QTest::newRow("colour BMP") << "theirs.bmp"
                                << "RGB";
    QTest::newRow("Targa with opacity") << "theirs.tga"
                                        << "RGBA";
    QTest::newRow("lossless WebP") << "theirs.webp"
                                   << "RGB";
    QTest::newRow("JPEG 2000") << "theirs.jp2"
                               << "RGB";
    QTest::newRow("JPEG") << "theirs.jpg"
                          << "RGB";
}

void OiioDepthTest::weReadTheirs()
{
    QFETCH(QString, name);
    QFETCH(QString, mode);
    QTemporaryDir folder;
    const QString path = folder.filePath(name);
    // It writes noise, with colours where nothing is opaque, and prints what it reads back of it.
    const QByteArray script =
        "import sys, numpy\n"
        "from PIL import Image\n"
        "mode = '"
        + mode.toLatin1()
        + "'\n"
          "channels = len(mode) if mode.isalpha() else 1\n"
          "random = numpy.random.default_rng(1)\n"
          "shape = (33, 40, channels) if channels > 1 else (33, 40)\n"
          "wide = mode == 'I;16'\n"
          "pixels = random.integers(0, 65536 if wide else 256, shape).astype('uint16' if wide else 'uint8')\n"
          "pixels[:8] = pixels[:1]\n"
          "image = Image.fromarray(pixels, mode)\n"
          "image.save(sys.argv[1], **({'lossless': True, 'exact': True} if 'webp' in sys.argv[1] else {}))\n"
          "print(*numpy.array(Image.open(sys.argv[1])).ravel())\n";
    const ProgramRun run = python(script.constData(), path);
    QVERIFY2(run.code == 0, run.all().constData());
    const QStringList numbers = run.out.trimmed().split(QLatin1Char(' '));
    ep::CxScopedBuffer image;
    ep::SxFileError error;
    QVERIFY2(Manager::loadImageFromFile(path, image.image(), nullptr, nullptr, &error), qPrintable(error.reason));
    QCOMPARE(numbers.size(), 33 * 40 * image->channels);
    for (int i = 0; i < numbers.size(); ++i) {
        const int pixel = i / image->channels;
        const int x = pixel % 40, y = pixel / 40, channel = i % image->channels;
        const int sample = image->dataType == ep::DataTypeUInt8 ? sampleAt<quint8>(image.image(), x, y, channel)
                                                                : sampleAt<quint16>(image.image(), x, y, channel);
        QCOMPARE(sample, numbers[i].toInt());
    }
}

QTEST_GUILESS_MAIN(OiioDepthTest)
#include "OiioDepthTest.moc"
