#include "CommandTree.h"

#include "../CommandParser.h"

#include <CLI/CLI.hpp>

#include <sstream>

namespace {

/** The choices of "GRID:{RGGB,BGGR}", which is how the parser names the type of such a value. */
std::vector<std::string> choicesOf(const std::string& typeName)
{
    const size_t open = typeName.find('{');
    const size_t close = typeName.find('}', open);
    if (close == std::string::npos)
        return {};
    return CLI::detail::split(typeName.substr(open + 1, close - open - 1), ',');
}

std::vector<std::string> namesOf(const std::set<CLI::Option*>& options)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : options)
        names.push_back(option->get_name());
    return names;
}

Argument argumentOf(const CLI::Option& option)
{
    Argument argument;
    for (const std::string& name : option.get_snames())
        argument.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        argument.names.push_back("--" + name);
    argument.description = option.get_description();
    argument.choices = choicesOf(option.get_type_name());
    argument.excludes = namesOf(option.get_excludes());
    argument.needs = namesOf(option.get_needs());
    argument.isRequired = option.get_required();
    argument.isRepeated = option.get_items_expected_max() > 1;
    const std::string typeName = option.get_type_name();
    if (argument.names.empty())
        argument.label = option.get_name();
    else if (option.get_items_expected_max() > 0)
        argument.label = typeName.substr(0, typeName.find(':'));
    // The program works on files: what stands alone names one, unless it is one of a few words.
    argument.isFile =
        argument.choices.empty() && (argument.names.empty() || argument.label == "FILE" || argument.label == "DIR");
    return argument;
}

/** Takes the help text that follows the options apart: examples, and paragraphs with their lines joined. */
void readFooter(const std::string& footer, CommandTree& command)
{
    std::istringstream lines(footer + "\n\n");
    std::string paragraph;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("  ", 0) == 0) {
            command.examples.push_back(CLI::detail::trim(line));
        } else if (line.empty() || line == "Examples:") {
            if (!paragraph.empty())
                command.notes.push_back(paragraph);
            paragraph.clear();
        } else {
            paragraph += (paragraph.empty() ? "" : " ") + line;
        }
    }
}

CommandTree commandOf(const CLI::App& app, const std::string& parentPath)
{
    CommandTree command;
    command.name = app.get_name();
    command.path = parentPath.empty() ? command.name : parentPath + " " + command.name;
    command.description = app.get_description();
    readFooter(app.get_footer(), command);
    for (const CLI::Option* option : app.get_options()) {
        const bool isHidden = option->get_group().empty();
        if (!isHidden)
            (option->nonpositional() ? command.options : command.positionals).push_back(argumentOf(*option));
    }
    for (const CLI::App* subcommand : app.get_subcommands([](const CLI::App*) { return true; }))
        if (!subcommand->get_group().empty())
            command.subcommands.push_back(commandOf(*subcommand, command.path));
    return command;
}

}  // namespace

CommandTree commandTree(const CommandParser& program)
{
    return commandOf(program.app(), "");
}
