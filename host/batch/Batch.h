/**
 * @file
 * One command on many files.
 */
#pragma once

#include "BatchPlan.h"
#include "BatchReport.h"
#include "FileOutcome.h"

#include <functional>

/** What a command line says of many files. */
struct BatchOptions {
    QString folder;  ///< where the outputs go; empty: this is no batch
    QString suffix;
    InputListOptions inputs;
    QString log;
    int jobs = 0;  ///< files in work at once; 0: one per processor
    bool resume = false;
    bool quiet = false;

    bool isBatch() const { return !folder.isEmpty(); }
};

/** What is done with each file. */
struct BatchWork {
    BatchWords words;
    /** Why the options do not fit two file names, or nothing. */
    std::function<QString(const QString& input, const QString& output)> refuse;
    /** The files that are made with an output; null: none. */
    std::function<QStringList(const QString& output)> besides;
    /** Makes one file; several threads call it at once. */
    std::function<FileOutcome(const QString& input, const QString& output)> serve;
};

/** What a command line names where it is no batch. */
struct InputAndOutput {
    QString input;
    QString output;
};

/** The two files of a command that is no batch; throws UsageError when there are not two. */
InputAndOutput inputAndOutput(const QStringList& files);

/** Adds the options of batches to @p command: --out-dir and what goes with it. */
void addBatchOptions(const Command& command, BatchOptions& options);

/**
 * Does @p work for the files that are named on the command line and in the list. A file that fails does not stop the
 * rest; an interrupt lets the files in work end and begins no other. Throws UsageError when the command line
 * makes no sense: before anything is written.
 */
ExitCode runBatch(const QStringList& files, const BatchOptions& options, const BatchWork& work, Output& output);
