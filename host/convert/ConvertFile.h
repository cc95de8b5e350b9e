/**
 * @file
 * One file into another.
 */
#pragma once

#include "FileOutcome.h"

#include <QString>

/** How `orn convert` converts. */
struct ConvertOptions {
    QString variable;
    QString name;
    QString entropyPrefix;
    QString grid;
    QString compression;
    bool keepRowOrder = false;
    bool lossy = false;
    bool refuseReplace = false;
};

/** Why the options do not go together with each other and with the names of the files; empty when they do. */
QString refusedConversion(const ConvertOptions& options, const QString& input, const QString& output);

/** Writes @p input as @p output, for options that are not refused. Thread-safe; says nothing. */
FileOutcome convertFile(const ConvertOptions& options, const QString& input, const QString& output);
