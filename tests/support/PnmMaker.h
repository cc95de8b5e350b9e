/**
 * @file
 * Portable maps for tests, put together byte by byte, and the loader and saver that are tested with them.
 */
#pragma once

#include "FormatPlugin.h"
#include "TestImages.h"

#include <ep/CxCommonImageMetadata.h>
#include <ep/CxImageData.h>
#include <ep/IxImageDataLoader.h>
#include <ep/IxImageDataSaver.h>

#include <QByteArray>

#include <memory>
#include <random>
#include <vector>

namespace testing {

/** A map of integers, "P1" to "P7". */
struct PnmMap {
    int digit;  ///< of the magic
    int width;
    int height;
    int channels;
    int maxval;
    std::vector<int> samples;  ///< row by row, pixel by pixel

    int at(int x, int y, int c) const { return samples[static_cast<size_t>((y * width + x) * channels + c)]; }
};

/** A map with samples from 0 to @p maxval, both among them where there is room. */
inline PnmMap makeMap(int digit, int width, int height, int channels, int maxval, quint32 seed = 1)
{
    PnmMap map{digit, width, height, channels, maxval, {}};
    std::mt19937 random(seed);
    for (int i = 0; i < width * height * channels; ++i)
        map.samples.push_back(static_cast<int>(random() % static_cast<quint32>(maxval + 1)));
    map.samples.front() = maxval;
    if (map.samples.size() > 1)
        map.samples.back() = 0;
    return map;
}

inline QByteArray mapHeader(const PnmMap& map)
{
    const QByteArray width = QByteArray::number(map.width);
    const QByteArray height = QByteArray::number(map.height);
    const QByteArray maxval = QByteArray::number(map.maxval);
    const QByteArray magic = 'P' + QByteArray::number(map.digit) + '\n';
    if (map.digit == 7)
        return magic + "WIDTH " + width + "\nHEIGHT " + height + "\nDEPTH " + QByteArray::number(map.channels)
               + "\nMAXVAL " + maxval + "\nENDHDR\n";
    return magic + width + ' ' + height + '\n' + (map.digit == 1 || map.digit == 4 ? QByteArray() : maxval + '\n');
}

inline QByteArray mapRaster(const PnmMap& map)
{
    QByteArray raster;
    const size_t rowSamples = static_cast<size_t>(map.width * map.channels);
    for (size_t i = 0; i < map.samples.size(); ++i) {
        const int sample = map.samples[i];
        const size_t column = i % rowSamples;
        if (map.digit <= 3) {
            raster += QByteArray::number(sample) + (column % 7 == 6 ? '\n' : ' ');
        } else if (map.digit == 4) {
            if (column % 8 == 0)
                raster += '\0';
            const int last = raster.size() - 1;
            raster[last] = static_cast<char>(raster.at(last) | (sample << (7 - column % 8)));
        } else {
            if (map.maxval > 255)
                raster += static_cast<char>(sample >> 8);
            raster += static_cast<char>(sample & 255);
        }
    }
    return raster;
}

inline QByteArray mapFile(const PnmMap& map)
{
    return mapHeader(map) + mapRaster(map);
}

inline std::unique_ptr<ep::IxImageDataLoader> pnmLoader()
{
    loadFormatPlugin(QStringLiteral("pnm"));
    return makeRegistered<ep::IxImageDataLoader>("ep::pnm::CxPnmImageLoader", "IxImageDataLoader");
}

inline std::unique_ptr<ep::IxImageDataSaver> pnmSaver()
{
    loadFormatPlugin(QStringLiteral("pnm"));
    return makeRegistered<ep::IxImageDataSaver>("ep::pnm::CxPnmImageSaver", "IxImageDataSaver");
}

/** What loading gave. */
struct PnmLoaded {
    std::unique_ptr<ep::CxImageData> data;  ///< null: not loaded
    ep::SxFileError error;

    /** The image; empty when not loaded. */
    ep::SxImageBuf image() const { return data ? data->image() : ep::emptyImage(); }
    /** The common metadata; those of an empty item when there are none. */
    const ep::CxCommonImageMetadata& common() const
    {
        static const ep::CxCommonImageMetadata none;
        auto* item = data ? data->metadata().findItem(ep::CxCommonImageMetadata::staticMetaObject) : nullptr;
        return item ? *static_cast<ep::CxCommonImageMetadata*>(item) : none;
    }
    QString attribute(const char* key) const { return common().attributes.value(QLatin1String(key)); }
};

/** Loads a map from memory. */
inline PnmLoaded loadMap(const QByteArray& content, qint64 memoryLimit = 0)
{
    const auto loader = pnmLoader();
    loader->setMemoryLimit(memoryLimit);
    loader->setBuffer(content, QStringLiteral("image.pnm"));
    PnmLoaded loaded;
    if (loader->open())
        loaded.data.reset(loader->imageData(0));
    loaded.error = loader->lastError();
    return loaded;
}

/** The number that a sample of an 8- or 16-bit unsigned image is. */
inline int numberAt(const ep::SxImageBuf& image, int x, int y, int c)
{
    return image.dataType == ep::DataTypeUInt8 ? sampleAt<quint8>(image, x, y, c) : sampleAt<quint16>(image, x, y, c);
}

/** True when @p image has the sizes and the numbers of @p map. */
inline bool holdsMap(const ep::SxImageBuf& image, const PnmMap& map)
{
    if (!image.data || image.width != map.width || image.height != map.height || image.channels != map.channels)
        return false;
    for (int y = 0; y < map.height; ++y)
        for (int x = 0; x < map.width; ++x)
            for (int c = 0; c < map.channels; ++c)
                if (numberAt(image, x, y, c) != map.at(x, y, c))
                    return false;
    return true;
}

}  // namespace testing
