/**
 * @file
 * DNG files of captures, written by the saver under test.
 */
#pragma once

#include "CameraImages.h"
#include "FormatPlugin.h"

#include <QStringList>

namespace testing {

/** Loads the modules that write and read DNG files. */
inline void loadDngPlugins()
{
    loadFormatPlugin(QStringLiteral("tiff"));
    loadFormatPlugin(QStringLiteral("raw"));
}

/** The compressions of DNG files. */
inline const QStringList& dngCompressions()
{
    static const QStringList list{QStringLiteral("none"), QStringLiteral("deflate")};
    return list;
}

/** Saves @p data; the failure, or none. */
inline ep::SxFileError saveDng(const QString& path, const ep::CxImageData& data,
                               const QString& compression = QStringLiteral("none"))
{
    const auto saver = makeRegistered<ep::IxImageDataSaver>("ep::tiff::CxDngImageSaver", "IxImageDataSaver");
    saver->setFileName(path);
    saver->setOptions({{QStringLiteral("compression"), compression}});
    return saver->saveImage(&data) ? ep::SxFileError() : saver->lastError();
}

/** Loads a file with the RAW loader. */
inline LoadedFrame loadRaw(const QString& path, qint64 memoryLimit = 0)
{
    return loadFrame("ep::raw::CxRawImageLoader", path, 0, memoryLimit);
}

/** Loads a DNG file with the loader that serves its compression. */
inline LoadedFrame loadDng(const QString& path, const QString& compression = QStringLiteral("none"))
{
    return loadFrame(compression == QStringLiteral("none") ? "ep::raw::CxRawImageLoader" : "ep::tiff::CxDngImageLoader",
                     path);
}

/** Image data of @p image with @p metadata. */
inline std::unique_ptr<ep::CxImageData> captureOf(ep::CxScopedBuffer image, const ep::CxMetadata& metadata)
{
    auto data = imageDataOf(std::move(image));
    data->setMetadata(metadata);
    return data;
}

/** A capture as a camera makes it: mosaic and metadata. */
inline std::unique_ptr<ep::CxImageData> capture(ep::ExBayerGrid grid, int width, int height, int bits = 14)
{
    auto mosaic = cameraMosaic(grid, width, height, bits);
    const ep::CxMetadata metadata = cameraMetadata(mosaic.image());
    return captureOf(std::move(mosaic), metadata);
}

/** The grids of mosaics that DNG files are written for. */
constexpr ep::ExBayerGrid dngGrids[] = {ep::BayerGridBGGR, ep::BayerGridRGGB, ep::BayerGridGBRG, ep::BayerGridGRBG,
                                        ep::BayerGridCell};

/** Their names. */
inline const char* gridName(ep::ExBayerGrid grid)
{
    constexpr const char* names[] = {"BGGR", "RGGB", "GBRG", "GRBG", "none", "X-Trans"};
    return names[grid];
}

}  // namespace testing
