/**
 * @file
 * Repairs plane by plane, of images whose samples are known.
 */
#pragma once

#include "CameraImages.h"

#include <orn/RepairPlanes.h>

#include <QMetaType>

Q_DECLARE_METATYPE(ep::ExImageDataType)
Q_DECLARE_METATYPE(ep::ExImageLayout)

namespace testing {

/** The number at column x, row y, channel c, whatever its type. */
inline int numberAt(const ep::SxImageBuf& image, int x, int y, int c = 0)
{
    switch (image.dataType) {
    case ep::DataTypeInt8: return sampleAt<qint8>(image, x, y, c);
    case ep::DataTypeUInt8: return sampleAt<quint8>(image, x, y, c);
    case ep::DataTypeInt16: return sampleAt<qint16>(image, x, y, c);
    default: return sampleAt<quint16>(image, x, y, c);
    }
}

inline void setNumber(ep::SxImageBuf& image, int x, int y, int c, int number)
{
    if (ep::sampleFacts(image.dataType).bytes == 1)
        setSample(image, x, y, c, static_cast<quint8>(number));
    else
        setSample(image, x, y, c, static_cast<quint16>(number));
}

/** An image in which sample x, y of channel c is @p number(x, y, c). */
template <typename Number>
ep::CxScopedBuffer made(const ep::SxImageInfo& info, Number&& number)
{
    auto image = randomImage(info);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x)
            for (int c = 0; c < info.channels; ++c)
                setNumber(image.image(), x, y, c, number(x, y, c));
    return image;
}

inline orn::SxRepairRequest below(int low)
{
    orn::SxInvalidLevels levels;
    levels.low = low;
    return {{levels}, {}};
}

struct Repair {
    unsigned int status = 0;
    QVector<orn::SxRepairedSample> samples;
    int planeWithoutSource = 0;
};

inline Repair repair(ep::CxScopedBuffer& image, const orn::SxRepairRequest& request,
                     const ep::SxImageBuf& mask = ep::emptyImage())
{
    Repair result;
    result.status = orn::RepairPlanes(image.image(), mask, request, result.samples, result.planeWithoutSource);
    return result;
}

/** True when the records are exactly what @p after differs in from @p before. */
inline bool tellsEveryChange(const Repair& repair, const ep::SxImageBuf& before, const ep::SxImageBuf& after)
{
    const auto planes = orn::ImagePlanes(before);
    auto replayed = copyOf(before);
    for (const orn::SxRepairedSample& sample : repair.samples) {
        const int c = planes[sample.plane].channel;
        if (numberAt(before, sample.x, sample.y, c) != sample.oldValue
            || numberAt(after, sample.x, sample.y, c) != sample.newValue || sample.oldValue == sample.newValue)
            return false;
        setNumber(replayed.image(), sample.x, sample.y, c, sample.newValue);
    }
    return sameStorage(replayed.image(), after);
}

}  // namespace testing
