/**
 * @file
 * From dark or flat frames to a map of defects.
 */
#pragma once

#include "FileOutcome.h"
#include "Output.h"

#include <ep/epcore.h>
#include <orn/orn_core.h>

#include <QStringList>
#include <QVector>

/** How `orn defects` searches, and what it writes. */
struct DefectsRequest {
    QStringList frames;
    QString out;  ///< a map, which gets a list beside it, or a list alone
    orn::SxDefectLimits limits;
    QString grid;                ///< the grid that the frames are taken to have; empty: as they say
    orn::SxSensorOrigin origin;  ///< where the frames lie on the sensor; not known: as they say
    orn::ExDefectCoordinates coordinates = orn::DefectCoordinatesImage;
    qint64 since = 0;
    QString merge;  ///< an older list or map; empty: none
    bool refuseReplace = false;
    bool quiet = false;
};

/** What was found in one colour or channel. */
struct DefectsOfPart {
    QString name;
    orn::SxDefectPlane found;  ///< of several planes of one colour, sums and means
};

/** What `orn defects` found, and where it wrote it. */
struct FoundDefects {
    ep::SxImageInfo frame = ep::emptyImage();
    QVector<DefectsOfPart> parts;
    orn::SxDefectList list;  ///< united with the older one
    qint64 found = 0;        ///< defects in the frames
    QString mapFile;         ///< empty when a list alone was asked for
    QString listFile;
};

/**
 * Reads the frames, searches them and writes what was found. Says nothing but its progress.
 * @return whether it worked, with notes; Usage for options that do not fit the frames
 */
FileOutcome mapDefects(const DefectsRequest& request, Output& output, FoundDefects& found);
