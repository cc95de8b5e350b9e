/**
 * @file
 * One file, repaired, into another.
 */
#pragma once

#include "FileOutcome.h"
#include "RepairLevels.h"

#include <QString>

/** How `orn repair` repairs. */
struct RepairOptions {
    RepairLevelOptions levels;
    QString mask;
    QString map;
    QString replay;
    QString report;
    QString overlay;
    bool refuseReplace = false;
};

/** The options for one of many files: "{}" in their file names stands for the name of @p output. */
RepairOptions optionsOfOne(const RepairOptions& options, const QString& output);

/** Why these files would be the same ones for all of many files; empty when they would not. */
QString refusedForMany(const RepairOptions& options);

/** Why the options do not go together with each other and with the names of the files; empty when they do. */
QString refusedRepair(const RepairOptions& options, const QString& input, const QString& output);

/** Writes @p input, repaired, as @p output, for options that are not refused. Thread-safe; says nothing. */
FileOutcome repairFile(const RepairOptions& options, const QString& input, const QString& output);
