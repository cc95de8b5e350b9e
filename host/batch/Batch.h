/**
 * @file
 * One command on many files.
 */
#pragma once

#include "BatchPlan.h"
#include "BatchReport.h"
#include "FileOutcome.h"

#include <functional>
#include <string>
#include <vector>

/** What a command line says of many files. */
struct BatchOptions {
    std::string folder;  ///< where the outputs go; empty: this is no batch
    std::string suffix;
    InputListOptions inputs;
    std::string log;
    int jobs = 0;  ///< files in work at once; 0: one per processor
    bool resume = false;
    bool quiet = false;

    bool isBatch() const { return !folder.empty(); }
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

/** The two files of a command that is no batch; throws what the parser throws when there are not two. */
InputAndOutput inputAndOutput(const std::vector<std::string>& files);

/** Adds the options of batches to @p command: --out-dir and what goes with it. */
void addBatchOptions(CLI::App& command, BatchOptions& options);

/**
 * Does @p work for the files that are named on the command line and in the list. A file that fails does not stop the
 * rest; an interrupt lets the files in work end and begins no other. Throws CLI::ValidationError when the command line
 * makes no sense: before anything is written.
 */
ExitCode runBatch(const std::vector<std::string>& files, const BatchOptions& options, const BatchWork& work,
                  Output& output);
