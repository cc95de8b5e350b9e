/**
 * @file
 * What every subcommand is made of.
 *
 * A subcommand is a file NameCommand.cpp with one function of the type AddCommand, and a line in the list of
 * CommandLine.cpp.
 */
#pragma once

#include "ExitCodes.h"

#include <QString>

#include <string>

class Output;

namespace CLI {
class App;
}

/**
 * Adds a subcommand with its options to @p program. When the command line names it, it does its work, says what there
 * is to say through @p output and leaves its exit code in @p exitCode.
 */
using AddCommand = void (*)(CLI::App& program, Output& output, ExitCode& exitCode);

/** A subcommand of @p parent with a help text that ends in @p examples, one a line. */
CLI::App* addCommand(CLI::App& parent, const std::string& name, const std::string& description,
                     const std::string& examples);

/** Lets a command answer in JSON: the flag --json. */
void addJsonFlag(CLI::App& command, bool& json);

/** A command line argument as text, never null; arguments are UTF-8 wherever the program runs. */
QString text(const std::string& argument);

/** The code of a command that served @p files files, of which the last one that failed did so with @p lastFailure. */
ExitCode exitCodeOfFiles(size_t files, ExitCode lastFailure);
