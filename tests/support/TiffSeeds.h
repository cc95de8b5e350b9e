/**
 * @file
 * Sound TIFF files of every kind, from which damaged ones are made.
 */
#pragma once

#include "Files.h"
#include "FormatPlugin.h"
#include "TestImages.h"
#include "TiffMaker.h"

#include <QTemporaryDir>

#include <vector>

namespace testing {

inline TiffKind seedKind(int bits, int compression, int predictor = PREDICTOR_NONE)
{
    TiffKind kind;
    kind.width = 45;
    kind.height = 34;
    kind.rowsPerStrip = 16;
    kind.bits = bits;
    kind.compression = compression;
    kind.predictor = predictor;
    return kind;
}

inline QByteArray tiffSeed(const TiffKind& kind, int pages = 1)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file.tif"));
    return makeTiff(path, kind, mixed, {}, pages) ? readFile(path) : QByteArray();
}

inline QByteArray tiffSeedOf(const char* mode, int planarConfig, int tileSize, int channels)
{
    TiffKind kind = seedKind(16, COMPRESSION_NONE);
    kind.mode = mode;
    kind.planarConfig = planarConfig;
    kind.tileSize = tileSize;
    kind.channels = channels;
    kind.photometric = channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    return tiffSeed(kind, 2);
}

inline QByteArray halfFloatSeed()
{
    TiffKind kind = seedKind(16, COMPRESSION_ADOBE_DEFLATE, PREDICTOR_FLOATINGPOINT);
    kind.format = SAMPLEFORMAT_IEEEFP;
    return tiffSeed(kind);
}

/** A file of our own with every directory and tag that the saver knows. */
inline QByteArray savedTiffSeed(const QString& compression)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file.tif"));
    ep::SxImageInfo info = describe(ep::DataTypeUInt16, 40, 30);
    info.bayerGrid = ep::BayerGridRGGB;
    auto* common = new ep::CxCommonImageMetadata;
    common->cameraMake = QStringLiteral("Make");
    common->exposureTime = 0.25;
    common->iso = 200;
    common->orientation = 3;
    common->captureTime = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58));
    common->attributes.insert(QStringLiteral("LensModel"), QStringLiteral("35/2"));
    common->attributes.insert(QStringLiteral("Software"), QStringLiteral("tests"));
    const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::tiff::CxTiffImageSaver", "IxImageDataSaver");
    saver->setFileName(path);
    saver->setOptions({{QStringLiteral("compression"), compression}});
    return saver->saveImage(imageDataOf(randomImage(info), common).get()) ? readFile(path) : QByteArray();
}

/** A file and what is special of it. */
struct TiffSeed {
    const char* kind;
    QByteArray bytes;
};

inline std::vector<TiffSeed> tiffSeeds()
{
    return {
        {"8 bits", tiffSeed(seedKind(8, COMPRESSION_NONE))},
        {"12 bits", tiffSeed(seedKind(12, COMPRESSION_NONE))},
        {"Deflate", tiffSeed(seedKind(16, COMPRESSION_ADOBE_DEFLATE, PREDICTOR_HORIZONTAL))},
        {"LZW", tiffSeed(seedKind(32, COMPRESSION_LZW, PREDICTOR_HORIZONTAL))},
        {"LZW of 14 bits", tiffSeed(seedKind(14, COMPRESSION_LZW))},
        {"PackBits", tiffSeed(seedKind(8, COMPRESSION_PACKBITS))},
        {"Zstandard", tiffSeed(seedKind(16, COMPRESSION_ZSTD))},
        {"LZMA", tiffSeed(seedKind(8, COMPRESSION_LZMA))},
        {"JPEG", tiffSeed(seedKind(8, COMPRESSION_JPEG))},
        {"fax group 3", tiffSeed(seedKind(1, COMPRESSION_CCITTFAX3))},
        {"fax group 4", tiffSeed(seedKind(1, COMPRESSION_CCITTFAX4))},
        {"half floats", halfFloatSeed()},
        {"64 bits", tiffSeed(seedKind(64, COMPRESSION_NONE))},
        {"big-endian planes", tiffSeedOf("wb", PLANARCONFIG_SEPARATE, 0, 3)},
        {"tiles", tiffSeedOf("wl", PLANARCONFIG_CONTIG, 16, 3)},
        {"BigTIFF, tiled planes", tiffSeedOf("w8", PLANARCONFIG_SEPARATE, 32, 2)},
        {"our own", savedTiffSeed(QStringLiteral("none"))},
        {"our own, Deflate", savedTiffSeed(QStringLiteral("deflate"))},
    };
}

}  // namespace testing
