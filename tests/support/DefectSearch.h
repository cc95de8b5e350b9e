/**
 * @file
 * Searches for defects in the frames of a generated sensor.
 */
#pragma once

#include "DefectFrames.h"

#include <orn/CxDefectSearch.h>

namespace testing {

struct Found {
    QVector<orn::SxDefect> defects;
    QVector<orn::SxDefectPlane> planes;
    unsigned int status = ep::StatusOk;
};

inline Found search(DefectiveSensor& sensor, int frames, const orn::SxDefectLimits& limits = {})
{
    orn::CxDefectSearch search;
    Found found;
    for (int i = 0; i < frames; ++i)
        found.status |= search.addFrame(sensor.takeFrame().image());
    found.status |= search.result(limits, found.defects, found.planes);
    return found;
}

inline SensorKind darkMosaic(int width, int height)
{
    SensorKind kind;
    kind.grid = ep::BayerGridRGGB;
    kind.width = width;
    kind.height = height;
    return kind;
}

}  // namespace testing
