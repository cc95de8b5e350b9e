/**
 * @file
 * Which files a command is to serve.
 */
#pragma once

#include <ep/SxFileError.h>

#include <QStringList>

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/** Where files are named besides the command line, and which of them are this run's. */
struct InputListOptions {
    std::string listFile;  ///< "-" is standard input; empty: none
    bool endWithNul = false;
    std::string shard;  ///< "I/N"; empty: all
};

/** Adds --files-from, --null and --shard; each works only with @p needed when that is given. */
void addInputListOptions(CLI::App& command, InputListOptions& options, CLI::Option* needed = nullptr);

/**
 * All files that a command names: on its line and after them in its list. False, with @p error set, when the list
 * cannot be read. Throws CLI::RequiredError when neither is given.
 */
bool readInputList(const std::vector<std::string>& arguments, const InputListOptions& options, QStringList& files,
                   ep::SxFileError& error);

/** Of @p files those at every N-th place from the I-th on: all shards together are the whole, in which each is once. */
QStringList shardOf(const QStringList& files, const InputListOptions& options);
