/**
 * @file
 * A command line as plain values: what manuals and completions are written from.
 */
#pragma once

#include <string>
#include <vector>

class CommandParser;

/** An option or a positional argument of a command. */
struct Argument {
    std::vector<std::string> names;     ///< "-h", "--help"; none for a positional argument
    std::string label;                  ///< what stands for its value: "FILE"; empty for a flag
    std::string description;            ///< one line
    std::vector<std::string> choices;   ///< the values that are taken, where there are but a few
    std::vector<std::string> excludes;  ///< options that it does not go together with
    std::vector<std::string> needs;     ///< options that it does not go without
    bool isFile = false;                ///< the value is the name of a file
    bool isRequired = false;            ///< a positional argument that must be given
    bool isRepeated = false;            ///< a positional argument that can be given several times
};

/** A command with its arguments and its subcommands. */
struct CommandTree {
    std::string path;  ///< "orn mat list"
    std::string name;  ///< "list"
    std::string description;
    std::vector<std::string> notes;     ///< further paragraphs of its help
    std::vector<std::string> examples;  ///< command lines
    std::vector<Argument> options;
    std::vector<Argument> positionals;
    std::vector<CommandTree> subcommands;
};

/** What @p program parses. */
CommandTree commandTree(const CommandParser& program);

/** Calls @p visit with @p command and with all commands below it, in the order of their help. */
template <typename Visit>
void forEachCommand(const CommandTree& command, const Visit& visit)
{
    visit(command);
    for (const CommandTree& subcommand : command.subcommands)
        forEachCommand(subcommand, visit);
}
