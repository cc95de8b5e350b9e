/**
 * @file
 * Which levels `orn repair` is told to repair.
 */
#pragma once

#include <orn/orn_core.h>

#include <QString>
#include <QStringList>
#include <QVector>

#include <string>

/** The levels as the command line gives them: lists with commas, empty where an option is not given. */
struct RepairLevelOptions {
    std::string low;
    std::string high;
    std::string lowPercent;
    std::string highPercent;
    std::string valid;

    bool isEmpty() const { return low.empty() && high.empty() && valid.empty(); }
};

/** Why the options make no sense, whatever the image; empty when they do. */
QString refusedLevels(const RepairLevelOptions& options);

/**
 * Gives each of the planes called @p planes its levels.
 * @return why that cannot be, or nothing
 */
QString levelsOfPlanes(const RepairLevelOptions& options, const QStringList& planes,
                       QVector<orn::SxInvalidLevels>& levels);
