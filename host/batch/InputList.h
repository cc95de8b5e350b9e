/**
 * @file
 * Which files a command is to serve.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QStringList>

class Command;

/** Where files are named besides the command line, and which of them are this run's. */
struct InputListOptions {
    QString listFile;  ///< "-" is standard input; empty: none
    bool endWithNul = false;
    QString shard;  ///< "I/N"; empty: all
};

/** Adds --files-from, --null and --shard; each works only with the option @p needed when that is given. */
void addInputListOptions(const Command& command, InputListOptions& options, const char* needed = nullptr);

/**
 * All files that a command names: on its line and after them in its list. False, with @p error set, when the list
 * cannot be read. Throws UsageError when neither is given.
 */
bool readInputList(const QStringList& arguments, const InputListOptions& options, QStringList& files,
                   ep::SxFileError& error);

/** Why @p shard is no "I/N"; empty when it is. */
QString refusedShard(const QString& shard);

/** Of @p files those at every N-th place from the I-th on: all shards together are the whole, in which each is once. */
QStringList shardOf(const QStringList& files, const InputListOptions& options);
