// Writes the files that inputs are made from: a folder per entry, of what this library and other programs write.
#include "DicomFile.h"
#include "DngFiles.h"
#include "Files.h"
#include "FullMetadata.h"
#include "MatSeeds.h"
#include "PnmMaker.h"
#include "TiffSeeds.h"

#include <ep/CxImageFormatManager.h>
#include <orn/orn_core.h>

#include <QDir>
#include <QProcess>

#include <cstdio>
#include <numeric>

using namespace testing;
using Manager = ep::CxImageFormatManager;

namespace {

QString inFolder(const char* entry, const QString& name)
{
    return QLatin1String(entry) + QLatin1Char('/') + name;
}

void add(const char* entry, const QString& name, const QByteArray& bytes)
{
    if (bytes.isEmpty() || !writeFile(inFolder(entry, name), bytes))
        qFatal("cannot make %s for %s", qPrintable(name), entry);
}

/** Has the format manager save @p image. */
void save(const char* entry, const QString& name, const ep::SxImageBuf& image, const ep::CxMetadata* metadata = nullptr)
{
    ep::SxFileError error;
    if (!Manager::saveImageToFile(inFolder(entry, name), image, metadata, nullptr, false, QString(), &error))
        qFatal("cannot save %s: %s", qPrintable(name), qPrintable(error.reason));
}

void addMatFiles()
{
    int number = 0;
    const auto seeds = matSeeds();
    for (const MatSeed& seed : seeds)
        add("Mat", QStringLiteral("bytes%1.mat").arg(number++, 2, 10, QLatin1Char('0')), seed.bytes());
    const auto mosaic = cameraMosaic(ep::BayerGridRGGB, 12, 10);
    const ep::CxMetadata metadata = fullMetadata();
    save("Mat", QStringLiteral("mosaic.mat"), mosaic.image(), &metadata);
    save("Mat", QStringLiteral("colours.mat"), randomImage(describe(ep::DataTypeUInt8, 9, 7, 3)).image());
    save("Mat", QStringLiteral("doubles.mat"), plainNumbers(describe(ep::DataTypeDouble, 5, 4)).image());
    const auto entropy = plainNumbers(describe(ep::DataTypeDouble, 6, 4, 3, ep::LayoutPlanar));
    if (!orn::matlab::SaveEntropyImageToMat(entropy.image(), QStringLiteral("PIG"),
                                            inFolder("Mat", QStringLiteral("entropy.mat")), false))
        qFatal("cannot save an entropy image");
}

void addTexts()
{
    add("Xml", QStringLiteral("full.xml"), fullMetadata().saveToXml(2).toUtf8());
    add("Xml", QStringLiteral("tight.xml"), fullMetadata().saveToXml(-1).toUtf8());
    add("Xml", QStringLiteral("mat.xml"), OwnMetadata{4, true, 1, 1, 12}.xml().toUtf8());
    add("Xml", QStringLiteral("foreign.xml"),
        "<metadata><item class=\"v\"><!--c--><?do it?><![CDATA[<&]]> <x:a y='&#233;&amp;'>\xc3\xa9</x:a></item>"
        "<other/><item/></metadata>");
    add("Xml", QStringLiteral("type.xml"), "<!DOCTYPE metadata [<!ENTITY a \"b\">]><metadata>&a;</metadata>");
    add("TextImage", QStringLiteral("numbers.txt"), "1,2.5,-3e7\n4, 5 ,6\n");
    add("TextImage", QStringLiteral("odd.txt"), "nan,inf,1e999\r\n,x,0x10\r\n\xc3\xa9,\xff,-0");
    add("TextImage", QStringLiteral("wide.txt"),
        "\xff\xfe"
        "1\0,\0"
        "2\0\n\0");
    add("DefectList", QStringLiteral("plain.txt"), "16 50 0  # hot\n90 61 1700000000  # dead\n3 4\n");
    add("DefectList", QStringLiteral("sensor.txt"),
        "\xef\xbb\xbf# coordinates: sensor\r\n# image origin on the sensor: 12 8\r\n16 50 0 # stuck\r\n");
    add("RepairReport", QStringLiteral("report.csv"),
        "# orn repair report: 1\n# width: 32\n# height: 24\n# type: uint16\n# channels: 1\n# grid: RGGB\n"
        "# planes: R,G1,B,G2\n# repaired: 2\nx,y,plane,old,new\n6,2,R,0,812\n7,2,G1,65535,9\n");
    add("RepairReport", QStringLiteral("report.json"),
        "{\"schema\": 1, \"report\": \"repair\", \"version\": 1, \"image\": {\"width\": 32, \"height\": 24, \"type\": "
        "\"uint16\", \"channels\": 1, \"grid\": \"RGGB\", \"planes\": [\"R\", \"G1\", \"B\", \"G2\"]}, \"repaired\": "
        "1, "
        "\"samples\": [{\"x\": 6, \"y\": 2, \"plane\": \"R\", \"old\": 0, \"new\": 812}]}");
    add("Levels", QStringLiteral("bands.txt"), "0\n200\n50\n12.5\n\n2/8\n");
    add("Levels", QStringLiteral("lists.txt"), "off,3,-7\n99,off,1000000\n0,1e2,100\n33.3\n\n1/1\n");
    add("Levels", QStringLiteral("valid.txt"), "\n\n1\n1\n-10:250\n7/7\n");
}

void addPortableMaps()
{
    for (int digit = 1; digit <= 7; ++digit)
        for (const int maxval : {1, 200, 1000}) {
            const bool isBitmap = digit == 1 || digit == 4;
            const int channels = digit == 3 || digit == 6 ? 3 : digit == 7 ? 4 : 1;
            if (isBitmap == (maxval == 1))
                add("Pnm", QStringLiteral("P%1-%2").arg(digit).arg(maxval),
                    mapFile(makeMap(digit, 9, 3, channels, maxval)));
        }
    add("Pnm", QStringLiteral("colour-floats"), QByteArray("PF\n2 2\n-1.0\n") + QByteArray(2 * 2 * 3 * 4, 'x'));
    add("Pnm", QStringLiteral("floats"), QByteArray("Pf\n3 2\n1.0\n") + QByteArray(3 * 2 * 4, 'y'));
    const auto mosaic = cameraMosaic(ep::BayerGridGBRG, 8, 6, 12);
    const ep::CxMetadata metadata = fullMetadata();
    save("Pnm", QStringLiteral("mosaic.pgm"), mosaic.image(), &metadata);
}

void addImages()
{
    for (const TiffSeed& seed : tiffSeeds())
        add("Tiff", QString::fromLatin1(seed.kind).replace(QLatin1Char(' '), QLatin1Char('-')), seed.bytes);
    for (const ep::ExBayerGrid grid : {ep::BayerGridRGGB, ep::BayerGridGBRG, ep::BayerGridCell})
        for (const QString& compression : dngCompressions())
            for (const int bits : {12, 16}) {
                const QString name = QStringLiteral("grid%1-%2-%3.dng").arg(grid).arg(bits).arg(compression);
                if (saveDng(inFolder("Dng", name), *capture(grid, 30, 24, bits), compression))
                    qFatal("cannot save %s", qPrintable(name));
            }
    const ep::CxMetadata metadata = fullMetadata();
    save("Fits", QStringLiteral("words.fits"), randomImage(describe(ep::DataTypeUInt16, 12, 9)).image(), &metadata);
    save("Fits", QStringLiteral("mosaic.fits"), cameraMosaic(ep::BayerGridBGGR, 12, 8).image(), &metadata);
    save("Fits", QStringLiteral("floats.fits"), plainNumbers(describe(ep::DataTypeFloat, 7, 5, 3)).image());
}

/** An image that compresses well: noise is stored as it is, and no decoder sees it. */
ep::CxScopedBuffer smoothImage(ep::ExImageDataType type)
{
    auto image = randomImage(describe(type, 48, 40, 3));
    for (int y = 0; y < image->height; ++y)
        for (int x = 0; x < image->width; ++x)
            for (int c = 0; c < image->channels; ++c) {
                const int level = 3 * x + 2 * y + 20 * c;
                if (type == ep::DataTypeFloat)
                    setSample(image.image(), x, y, c, static_cast<float>(level) / 4);
                else
                    setSample(image.image(), x, y, c, static_cast<quint8>(level));
            }
    return image;
}

void addSmoothImages()
{
    save("Oiio", QStringLiteral("smooth.exr"), smoothImage(ep::DataTypeFloat).image());
    const auto bytes = smoothImage(ep::DataTypeUInt8);
    for (const char* suffix : {"png", "jpg", "jp2", "webp", "heic"})
        save("Oiio", QStringLiteral("smooth.") + QLatin1String(suffix), bytes.image());
}

void addOtherImages()
{
    addSmoothImages();
    const auto bytes = randomImage(describe(ep::DataTypeUInt8, 40, 34, 3));
    const auto words = randomImage(describe(ep::DataTypeUInt16, 40, 34, 3));
    const auto grey = randomImage(describe(ep::DataTypeUInt16, 40, 34));
    const auto see = randomImage(describe(ep::DataTypeUInt8, 40, 34, 4));
    const auto real = plainNumbers(describe(ep::DataTypeFloat, 40, 34, 3));
    const struct {
        const char* suffix;
        const ep::SxImageBuf& image;
    } files[] = {{"png", words.image()},  {"jpg", bytes.image()},  {"jp2", grey.image()},  {"exr", real.image()},
                 {"webp", bytes.image()}, {"heic", bytes.image()}, {"bmp", bytes.image()}, {"tga", see.image()},
                 {"dpx", words.image()},  {"gif", see.image()},    {"ico", see.image()},   {"hdr", real.image()}};
    for (const auto& file : files)
        save("Oiio", QStringLiteral("image.") + QLatin1String(file.suffix), file.image);
    QVector<int> samples(40 * 34);
    std::iota(samples.begin(), samples.end(), 0);
    add("Oiio", QStringLiteral("scan.dcm"), dicomFile({40, 34}, samples, "MONOCHROME2", false));
}

/** Has another program add what it writes. */
void run(const char* program, const char* script)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QLatin1String(program), {QLatin1String(script)});
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        qFatal("%s did not do its part", script);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    orn::Init();
    loadDngPlugins();
    const QString folder = QString::fromLocal8Bit(argv[1]);
    for (const char* entry :
         {"Mat", "Xml", "TextImage", "DefectList", "RepairReport", "Levels", "Pnm", "Tiff", "Dng", "Fits", "Oiio"}) {
        QDir old(folder + QLatin1Char('/') + QLatin1String(entry));
        old.removeRecursively();
        if (!old.mkpath(QStringLiteral(".")))
            qFatal("cannot make %s", qPrintable(old.path()));
    }
    QDir::setCurrent(folder);
    addMatFiles();
    addTexts();
    addPortableMaps();
    addImages();
    addOtherImages();
    run(ORN_PYTHON, ORN_FUZZ_SOURCES "/strangers.py");
    run(ORN_OCTAVE, ORN_FUZZ_SOURCES "/strangers.m");
    return 0;
}
