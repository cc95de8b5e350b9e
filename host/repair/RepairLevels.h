/**
 * @file
 * Which levels `orn repair` is told to repair.
 */
#pragma once

#include <orn/orn_core.h>

#include <QString>
#include <QStringList>
#include <QVector>

/** The levels as the command line gives them: lists with commas, empty where an option is not given. */
struct RepairLevelOptions {
    QString low;
    QString high;
    QString lowPercent;
    QString highPercent;
    QString valid;

    bool isEmpty() const { return low.isEmpty() && high.isEmpty() && valid.isEmpty(); }
};

/** Why the options make no sense, whatever the image; empty when they do. */
QString refusedLevels(const RepairLevelOptions& options);

/**
 * Gives each of the planes called @p planes its levels.
 * @return why that cannot be, or nothing
 */
QString levelsOfPlanes(const RepairLevelOptions& options, const QStringList& planes,
                       QVector<orn::SxInvalidLevels>& levels);
