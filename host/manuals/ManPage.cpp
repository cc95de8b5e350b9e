#include "ManPage.h"

#include <cctype>
#include <sstream>

namespace {

/** @p text as it is printed, with the signs that shells know, which would else become typographic ones. */
std::string escaped(const std::string& text)
{
    std::string result;
    for (char c : text) {
        switch (c) {
        case '\\': result += "\\e"; break;
        case '-': result += "\\-"; break;
        case '\'': result += "\\(aq"; break;
        case '`': result += "\\(ga"; break;
        case '^': result += "\\(ha"; break;
        case '~': result += "\\(ti"; break;
        default: result += c;
        }
    }
    // Only what stands first in a line would be taken for a request.
    return result.rfind('.', 0) == 0 ? "\\&" + result : result;
}

/** @p text as lines of the page's source, which are no longer than people like to edit. */
std::string prose(const std::string& text)
{
    constexpr size_t longest = 79;
    std::istringstream words(text);
    std::string lines;
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && escaped(line + " " + word).size() > longest) {
            lines += escaped(line) + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return lines + escaped(line) + "\n";
}

std::string bold(const std::string& text)
{
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text)
{
    return "\\fI" + escaped(text) + "\\fR";
}

/** "A, B or C", a line each: the lines of a page are short. */
std::string joined(const std::vector<std::string>& words)
{
    std::string result;
    for (size_t i = 0; i < words.size(); ++i)
        result += (i == 0 ? "" : i + 1 < words.size() ? ",\n" : " or ") + bold(words[i]);
    return result;
}

/** "orn convert [OPTION]... IN OUT" */
std::string synopsis(const CommandTree& command)
{
    std::string line = bold(command.path);
    // Every command has the option of help; it alone is not worth a word.
    if (command.options.size() > 1)
        line += " [" + italic("OPTION") + "]...";
    if (!command.subcommands.empty())
        line += " " + italic("COMMAND");
    for (const Argument& argument : command.positionals) {
        const std::string label = italic(argument.label) + (argument.isRepeated ? "..." : "");
        line += argument.isRequired ? " " + label : " [" + label + "]";
    }
    return line;
}

std::string tagOf(const Argument& argument)
{
    std::string tag;
    for (const std::string& name : argument.names)
        tag += (tag.empty() ? "" : ", ") + bold(name);
    if (tag.empty())
        return italic(argument.label);
    return argument.label.empty() ? tag : tag + " " + italic(argument.label);
}

void writeArguments(const std::vector<Argument>& arguments, std::ostream& page)
{
    for (const Argument& argument : arguments) {
        page << ".TP\n" << tagOf(argument) << '\n' << prose(argument.description + ".");
        if (!argument.choices.empty())
            page << italic(argument.label) << " is " << joined(argument.choices) << ".\n";
        if (!argument.needs.empty())
            page << "Only together with " << joined(argument.needs) << ".\n";
        if (!argument.excludes.empty())
            page << "Not together with " << joined(argument.excludes) << ".\n";
    }
}

void writeExamples(const CommandTree& command, std::ostream& page)
{
    if (command.examples.empty())
        return;
    page << ".RS\n.nf\n";
    for (const std::string& example : command.examples)
        page << escaped(example) << '\n';
    page << ".fi\n.RE\n";
}

void writeCommand(const CommandTree& command, std::ostream& page)
{
    page << ".SS " << escaped(command.path) << '\n' << synopsis(command) << '\n';
    page << ".PP\n" << prose(command.description + ".");
    for (const std::string& note : command.notes)
        page << ".PP\n" << prose(note);
    writeArguments(command.positionals, page);
    writeArguments(command.options, page);
    if (!command.examples.empty())
        page << ".PP\nExamples:\n";
    writeExamples(command, page);
}

/** The rest of @p note when it begins with @p heading; else an empty text. */
std::string noteUnder(const std::string& heading, const std::string& note)
{
    return note.rfind(heading, 0) == 0 ? note.substr(heading.size()) : std::string();
}

constexpr const char* exitCodes = "Exit codes: ";

void writeProgram(const CommandTree& program, std::ostream& page)
{
    page << ".SH SYNOPSIS\n.nf\n";
    forEachCommand(program, [&page](const CommandTree& command) { page << synopsis(command) << '\n'; });
    page << ".fi\n.SH DESCRIPTION\n" << prose(program.description + ".");
    for (const std::string& note : program.notes)
        if (noteUnder(exitCodes, note).empty())
            page << ".PP\n" << prose(note);
    page << ".SH OPTIONS\n";
    writeArguments(program.options, page);
}

}  // namespace

std::string manPage(const CommandTree& program, const std::string& version, const std::string& date)
{
    std::ostringstream page;
    std::string title = program.name;
    for (char& c : title)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    page << ".TH " << title << " 1 " << date << " \"" << version << "\" \"User Commands\"\n";
    page << ".SH NAME\n" << program.name << " \\- " << escaped(program.description) << '\n';
    writeProgram(program, page);
    page << ".SH COMMANDS\n";
    forEachCommand(program, [&](const CommandTree& command) {
        if (&command != &program)
            writeCommand(command, page);
    });
    for (const std::string& note : program.notes)
        if (const std::string codes = noteUnder(exitCodes, note); !codes.empty())
            page << ".SH EXIT STATUS\n" << prose(codes + ".");
    page << ".SH EXAMPLES\n";
    writeExamples(program, page);
    return page.str();
}
