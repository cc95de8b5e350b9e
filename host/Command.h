/**
 * @file
 * The command line as those see it who describe it: commands with their options and their work.
 *
 * A subcommand is a file NameCommand.cpp with one function of the type AddCommand, and a line in the list of
 * CommandLine.cpp. What parses is known to CommandParser.cpp alone: its header takes seconds to compile.
 */
#pragma once

#include "ExitCodes.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <initializer_list>

class Output;

namespace CLI {
class App;
class Option;
}  // namespace CLI

/**
 * What a subcommand does: says through @p output what there is to say, and gives back its exit code. Throws UsageError
 * before anything is written.
 */
using CommandWork = std::function<ExitCode(Output& output)>;

/** An option or a positional argument of a command, to which is added what else holds for it. */
class Option {
public:
    explicit Option(CLI::Option* option) : m_option(option) {}

    /** Nothing is done without it. */
    Option required() const;
    /** It goes only together with @p other, which the command has already. */
    Option needs(const char* other) const;
    /** It does not go together with @p other, which the command has already. */
    Option excludes(const char* other) const;

    /** Its number is above 0. */
    Option positive() const;
    /** Its number is 0 or more. */
    Option notNegative() const;
    /** Its value is one of @p words. */
    Option oneOf(std::initializer_list<const char*> words) const;
    /** As oneOf(), in capitals or not; the value becomes the word as it stands in @p words. */
    Option oneOfInAnyCase(std::initializer_list<const char*> words) const;
    /** Its value is one for which @p refused gives an empty text, and not the reason why it makes no sense. */
    Option accepted(const std::function<QString(const QString& value)>& refused) const;

private:
    CLI::Option* m_option;
};

/**
 * A command: the program itself or a subcommand. What a line gives is written to variables of those who describe the
 * command, which live as long as its CommandParser; what it does not give leaves them as they are. Arguments are UTF-8
 * wherever the program runs.
 *
 * Names are "--name" for options, "NAME" for positional arguments. A label says in the help what a value is: "FILE".
 */
class Command {
public:
    /** The command @p app; when it is named, what it does becomes @p chosen. */
    Command(CLI::App& app, CommandWork& chosen) : m_app(app), m_chosen(chosen) {}

    /** A subcommand, one of which has to be named; the help text ends in @p examples, one a line, and what follows. */
    Command subcommand(const char* name, const char* description, const char* examples) const;

    Option flag(const char* name, bool& isGiven, const char* description) const;
    Option value(const char* name, QString& text, const char* label, const char* description) const;
    Option value(const char* name, QStringList& texts, const char* label, const char* description) const;
    Option value(const char* name, int& number, const char* label, const char* description) const;
    Option value(const char* name, double& number, const char* label, const char* description) const;
    /** A value that @p take keeps; it throws UsageError for one that makes no sense. */
    Option value(const char* name, const std::function<void(const QString& value)>& take, const char* label,
                 const char* description) const;
    /** A number of bytes above 0, as in 512M and 2G. */
    Option size(const char* name, quint64& bytes, const char* label, const char* description) const;
    Option positional(const char* name, QString& text, const char* description) const;
    Option positional(const char* name, QStringList& texts, const char* description) const;

    /** What is done when the whole line makes sense, before the work of the subcommand begins. */
    void setPreparation(const std::function<void()>& prepare) const;
    /** What is done when the line names this command. */
    void setWork(const CommandWork& work) const;

private:
    CLI::App& m_app;
    CommandWork& m_chosen;
};

/** Adds a subcommand to @p program. */
using AddCommand = void (*)(const Command& program);
