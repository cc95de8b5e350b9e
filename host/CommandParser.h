/**
 * @file
 * What makes sense of a command line.
 */
#pragma once

#include "Command.h"

#include <memory>
#include <string>

/** Parses the command line of a program, answers --help and --version, and runs the subcommand that it names. */
class CommandParser {
public:
    /** A program whose help text ends in @p examples, as of Command::subcommand(). */
    CommandParser(const char* name, const char* description, const char* version, const char* examples);
    ~CommandParser();
    CommandParser(CommandParser&& other) noexcept;
    CommandParser(const CommandParser&) = delete;
    CommandParser& operator=(const CommandParser&) = delete;

    /** The program, which gets options and subcommands. */
    Command program() const;

    /** Does what the arguments of main() say, or says what is wrong with them. Once only. */
    ExitCode run(int argc, char** argv, Output& output);

    /** What --version says. */
    std::string version() const;
    /** What was described, for manuals. */
    const CLI::App& app() const { return *m_app; }

private:
    std::unique_ptr<CLI::App> m_app;
    std::unique_ptr<CommandWork> m_work;  // of the subcommand that the line names
};
