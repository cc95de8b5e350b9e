#include "ZshCompletion.h"

#include <sstream>

namespace {

/** @p text as one word of the shell. */
std::string quoted(const std::string& text)
{
    std::string result = "'";
    for (char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

/** @p text for a place that a colon or a bracket would end. */
std::string escaped(const std::string& text)
{
    std::string result;
    for (char c : text)
        result += c == ':' || c == '[' || c == ']' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    return result;
}

/** "_orn_mat_list" for "orn mat list" */
std::string functionName(const CommandTree& command)
{
    std::string name = "_" + command.path;
    for (char& c : name)
        if (c == ' ' || c == '-')
            c = '_';
    return name;
}

/** What completes the value of @p argument: ":GRID:(RGGB BGGR)", ":FILE:_files". */
std::string valueAction(const Argument& argument)
{
    if (argument.label.empty())
        return std::string();
    std::string action = argument.isFile ? "_files" : " ";
    if (!argument.choices.empty()) {
        action.clear();
        for (const std::string& choice : argument.choices)
            action += (action.empty() ? "(" : " ") + choice;
        action += ")";
    }
    return ":" + escaped(argument.label) + ":" + action;
}

/** The options that go no more once @p option is given: itself, and those that it excludes. */
std::string excludedBy(const Argument& option)
{
    std::string names;
    for (const auto& list : {option.names, option.excludes})
        for (const std::string& name : list)
            names += (names.empty() ? "" : " ") + name;
    return "(" + names + ")";
}

constexpr const char* nextArgument = " \\\n        ";

void writeArguments(const CommandTree& command, std::ostream& script)
{
    for (const Argument& option : command.options)
        for (const std::string& name : option.names) {
            const bool isLong = name.rfind("--", 0) == 0;
            const std::string value = option.label.empty() ? "" : isLong ? "=" : "+";
            const std::string description = "[" + escaped(option.description) + "]";
            script << nextArgument << quoted(excludedBy(option) + name + value + description + valueAction(option));
        }
    int position = 1;
    for (const Argument& positional : command.positionals) {
        const std::string place = positional.isRepeated ? "*" : std::to_string(position++);
        script << nextArgument << quoted(place + valueAction(positional));
    }
}

void writeFunction(const CommandTree& command, std::ostream& script)
{
    script << functionName(command) << "()\n{\n";
    if (command.subcommands.empty()) {
        script << "    _arguments -s -S";
        writeArguments(command, script);
        script << "\n}\n\n";
        return;
    }
    script << "    local curcontext=$curcontext state line\n";
    script << "    local -a commands\n    commands=(\n";
    for (const CommandTree& subcommand : command.subcommands)
        script << "        " << quoted(subcommand.name + ":" + subcommand.description) << '\n';
    script << "    )\n    _arguments -C -s -S";
    writeArguments(command, script);
    script << " \\\n        '1: :->command' '*:: :->rest'\n";
    script << "    case $state in\n    command) _describe command commands ;;\n    rest)\n        case $words[1] in\n";
    for (const CommandTree& subcommand : command.subcommands)
        script << "        " << subcommand.name << ") " << functionName(subcommand) << " ;;\n";
    script << "        esac ;;\n    esac\n}\n\n";
}

}  // namespace

std::string zshCompletion(const CommandTree& program)
{
    std::ostringstream script;
    script << "#compdef " << program.name << '\n';
    script << "# Completion of " << program.name << " in zsh, made from the program's own options.\n\n";
    forEachCommand(program, [&script](const CommandTree& command) { writeFunction(command, script); });
    // Loaded by its name, the file is itself the function: the first call defines the others.
    script << functionName(program) << " \"$@\"\n";
    return script.str();
}
