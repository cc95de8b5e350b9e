// Files that end early, at every sixteenth byte: they are refused, or give the whole image.

#include "CameraImages.h"
#include "Files.h"
#include "MatSeeds.h"
#include "TestImages.h"
#include "TiffSeeds.h"

#include <ep/CxImageFormatManager.h>
#include <ep/SameSamples.h>
#include <orn/orn_core.h>

#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

constexpr int stepBytes = 16;
constexpr int side = 32;

ep::CxScopedBuffer picture(ep::ExImageDataType type, int channels)
{
    return plainNumbers(describe(type, side, side, channels));
}

QByteArray saved(const char* suffix, const ep::SxImageBuf& image, const char* compression = nullptr)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file.") + QLatin1String(suffix));
    QMap<QString, QVariant> options;
    if (compression)
        options.insert(QStringLiteral("compression"), QLatin1String(compression));
    ep::SxFileError error;
    if (!Manager::saveImageToFile(path, image, nullptr, &options, true, QString(), &error))
        qFatal("cannot save a %s file: %s", suffix, qPrintable(error.reason));
    return readFile(path);
}

/** Where the variables of a MAT file end. A file that is cut there is a sound one of fewer variables. */
QVector<int> endsOfVariables(const QByteArray& file)
{
    constexpr int headerBytes = 128;
    QVector<int> ends{headerBytes};
    while (ends.last() + 8 <= file.size())
        ends.append(ends.last() + 8 + int(qFromLittleEndian<quint32>(file.constData() + ends.last() + 4)));
    return ends;
}

bool isSame(const ep::SxImageBuf& a, const ep::SxImageBuf& b)
{
    return a.bitDepth == b.bitDepth && a.layout == b.layout && a.bayerGrid == b.bayerGrid && ep::SameSamples(a, b);
}

}  // namespace

class TruncationTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(orn::Init()); }
    void cutFiles_data();
    void cutFiles();
};

void TruncationTest::cutFiles_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QByteArray>("file");
    const auto row = [](const char* fact, const char* suffix, const QByteArray& file) {
        QTest::newRow(fact) << QString::fromLatin1(suffix) << file;
    };
    const auto mosaic = cameraMosaic(ep::BayerGridGBRG, side, side, 12);
    const auto bytes = picture(ep::DataTypeUInt8, 3);
    const auto words = picture(ep::DataTypeUInt16, 3);
    const auto reals = picture(ep::DataTypeFloat, 3);
    const auto withAlpha = picture(ep::DataTypeUInt8, 4);
    row("MAT, a mosaic", "mat", saved("mat", mosaic.image()));
    row("MAT, colours", "mat", saved("mat", words.image()));
    row("MAT, doubles", "mat", saved("mat", picture(ep::DataTypeDouble, 1).image()));
    row("MAT of version 7", "mat",
        MatSeed{matHeader(), {matText("text", "text").bytes(), seedPlane("A")}, true}.bytes());
    row("TIFF", "tif", saved("tif", words.image()));
    row("TIFF, Deflate", "tif", saved("tif", reals.image(), "deflate"));
    row("TIFF, LZW", "tif", tiffSeed(seedKind(32, COMPRESSION_LZW, PREDICTOR_HORIZONTAL)));
    row("TIFF, tiles", "tif", tiffSeedOf("wl", PLANARCONFIG_CONTIG, 16, 3));
    row("DNG", "dng", saved("dng", mosaic.image()));
    row("DNG, Deflate", "dng", saved("dng", mosaic.image(), "deflate"));
    row("FITS", "fits", saved("fits", words.image()));
    row("FITS, floats", "fits", saved("fits", reals.image()));
    row("PGM", "pgm", saved("pgm", mosaic.image()));
    row("PPM", "ppm", saved("ppm", bytes.image()));
    row("PAM", "pam", saved("pam", withAlpha.image()));
    row("PFM", "pfm", saved("pfm", reals.image()));
    row("JPEG", "jpg", saved("jpg", bytes.image()));
    row("BMP", "bmp", saved("bmp", bytes.image()));
    row("Targa", "tga", saved("tga", withAlpha.image()));
    row("GIF", "gif", saved("gif", withAlpha.image()));
}

void TruncationTest::cutFiles()
{
    QFETCH(QString, suffix);
    QFETCH(QByteArray, file);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file.") + suffix);
    QVERIFY(writeFile(path, file));
    ep::CxScopedBuffer whole;
    QVERIFY(Manager::loadImageFromFile(path, whole.image(), nullptr));
    const QVector<int> ends = suffix == QLatin1String("mat") ? endsOfVariables(file) : QVector<int>();
    int refused = 0;
    for (int size = 0; size < file.size(); size += stepBytes) {
        if (ends.contains(size))
            continue;
        QVERIFY(writeFile(path, file.left(size)));
        ep::CxScopedBuffer image;
        const bool isLoaded = Manager::loadImageFromFile(path, image.image(), nullptr);
        QCOMPARE(isLoaded, image->data != nullptr);
        QVERIFY2(!isLoaded || isSame(image.image(), whole.image()), qPrintable(QString::number(size)));
        refused += isLoaded ? 0 : 1;
    }
    QVERIFY(refused > 0);
}

QTEST_GUILESS_MAIN(TruncationTest)
#include "TruncationTest.moc"
