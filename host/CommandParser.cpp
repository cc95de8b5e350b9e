#include "CommandParser.h"

#include "Output.h"
#include "UsageError.h"

#include <CLI/CLI.hpp>

#include <sstream>
#include <vector>

namespace {

QString textOf(const std::string& argument)
{
    return QString::fromUtf8(argument.c_str(), static_cast<int>(argument.size()));
}

std::string withHeading(const char* examples)
{
    return std::string("Examples:\n") + examples;
}

std::vector<std::string> listOf(std::initializer_list<const char*> words)
{
    return {words.begin(), words.end()};
}

/** The arguments, last one first, as the parser wants them. */
std::vector<std::string> reversedArguments(int argc, char** argv)
{
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i) {
        const std::string argument = argv[i];
        // The parser would take a file of such a name for a list of files.
        const bool looksLikeList = !argument.empty() && argument.front() == '[' && argument.back() == ']';
        arguments.push_back(looksLikeList ? "./" + argument : argument);
    }
    return arguments;
}

/** The names of the subcommands of @p command: "info, convert, mat". */
std::string subcommandNames(const CLI::App& command)
{
    std::string names;
    for (const CLI::App* subcommand : command.get_subcommands([](const CLI::App*) { return true; }))
        names += (names.empty() ? "" : ", ") + subcommand->get_name();
    return names;
}

/** What is wrong with the line of @p program, in @p command; the parser's own words where they are plain. */
std::string reasonOf(const CLI::App& program, const CLI::App& command, const CLI::ParseError& error)
{
    constexpr bool ofSubcommandsToo = true;
    const std::vector<std::string> rest = program.remaining(ofSubcommandsToo);
    if (!rest.empty() && dynamic_cast<const CLI::ExtrasError*>(&error))
        return rest.front().front() == '-' ? "there is no option " + rest.front()
                                           : "'" + rest.front() + "' is one argument too many";
    if (command.get_require_subcommand_min() > 0) {
        if (rest.empty())
            return "a subcommand is missing; there are: " + subcommandNames(command);
        return rest.front().front() == '-'
                   ? "there is no option " + rest.front()
                   : "'" + rest.front() + "' is no subcommand; there are: " + subcommandNames(command);
    }
    return error.what();
}

/** Says what is wrong with a command line, or what was asked about it. */
ExitCode answer(const CLI::App& program, const CLI::ParseError& error, Output& output)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
        std::ostringstream help;
        program.exit(error, help, help);
        output.data(textOf(help.str()));
        return output.finish(ExitCode::Done);
    }
    const CLI::App* command = &program;
    std::string name = program.get_name();
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        name += " " + command->get_name();
    }
    output.problem(QString(), textOf(reasonOf(program, *command, error)));
    output.problem(QString(), QStringLiteral("try '%1 --help'").arg(textOf(name)));
    return ExitCode::Usage;
}

}  // namespace

Option Option::required() const
{
    m_option->required();
    return *this;
}

Option Option::needs(const char* other) const
{
    m_option->needs(other);
    return *this;
}

Option Option::excludes(const char* other) const
{
    m_option->excludes(other);
    return *this;
}

Option Option::positive() const
{
    m_option->check(CLI::PositiveNumber);
    return *this;
}

Option Option::notNegative() const
{
    m_option->check(CLI::NonNegativeNumber);
    return *this;
}

Option Option::oneOf(std::initializer_list<const char*> words) const
{
    m_option->check(CLI::IsMember(listOf(words)));
    return *this;
}

Option Option::oneOfInAnyCase(std::initializer_list<const char*> words) const
{
    m_option->transform(CLI::IsMember(listOf(words), CLI::ignore_case));
    return *this;
}

Option Option::accepted(const std::function<QString(const QString&)>& refused) const
{
    m_option->check(CLI::Validator([refused](std::string& value) { return refused(textOf(value)).toStdString(); }, ""));
    return *this;
}

Command Command::subcommand(const char* name, const char* description, const char* examples) const
{
    m_app.require_subcommand(1);
    CLI::App* command = m_app.add_subcommand(name, description);
    command->footer(withHeading(examples));
    return {*command, m_chosen};
}

Option Command::flag(const char* name, bool& isGiven, const char* description) const
{
    return Option(m_app.add_flag(name, isGiven, description));
}

Option Command::value(const char* name, QString& text, const char* label, const char* description) const
{
    return value(
        name, [&text](const QString& value) { text = value; }, label, description);
}

Option Command::value(const char* name, QStringList& texts, const char* label, const char* description) const
{
    const std::function<void(const std::vector<std::string>&)> take = [&texts](const std::vector<std::string>& values) {
        texts.clear();
        for (const std::string& value : values)
            texts << textOf(value);
    };
    return Option(m_app.add_option_function(name, take, description)->type_name(label));
}

Option Command::value(const char* name, int& number, const char* label, const char* description) const
{
    return Option(m_app.add_option(name, number, description)->type_name(label));
}

Option Command::value(const char* name, double& number, const char* label, const char* description) const
{
    return Option(m_app.add_option(name, number, description)->type_name(label));
}

Option Command::value(const char* name, const std::function<void(const QString&)>& take, const char* label,
                      const char* description) const
{
    const std::function<void(const std::string&)> takeText = [take](const std::string& value) { take(textOf(value)); };
    return Option(m_app.add_option_function(name, takeText, description)->type_name(label));
}

Option Command::size(const char* name, quint64& bytes, const char* label, const char* description) const
{
    // What the validators would say in the help is said by the label.
    return Option(m_app.add_option(name, bytes, description)
                      ->type_name(label)
                      ->transform(CLI::AsSizeValue(false).description(""))
                      ->check(CLI::PositiveNumber.description("")));
}

// Without a dash, a name is one of a positional argument to the parser.
Option Command::positional(const char* name, QString& text, const char* description) const
{
    return value(name, text, "", description);
}

Option Command::positional(const char* name, QStringList& texts, const char* description) const
{
    return value(name, texts, "", description);
}

void Command::setPreparation(const std::function<void()>& prepare) const
{
    m_app.parse_complete_callback(prepare);
}

void Command::setWork(const CommandWork& work) const
{
    m_app.callback([&chosen = m_chosen, work] { chosen = work; });
}

CommandParser::CommandParser(const char* name, const char* description, const char* version, const char* examples)
    : m_app(std::make_unique<CLI::App>(description, name)), m_work(std::make_unique<CommandWork>())
{
    m_app->set_version_flag("--version", version, "Print the version and exit");
    m_app->set_help_flag("-h,--help", "Print this help and exit");
    m_app->fallthrough();  // options of the program may stand behind the subcommand, too
    m_app->footer(withHeading(examples));
}

CommandParser::~CommandParser() = default;
CommandParser::CommandParser(CommandParser&& other) noexcept = default;

Command CommandParser::program() const
{
    return {*m_app, *m_work};
}

ExitCode CommandParser::run(int argc, char** argv, Output& output)
{
    try {
        m_app->parse(reversedArguments(argc, argv));
        return output.finish((*m_work)(output));
    } catch (const UsageError& error) {
        return answer(*m_app, CLI::ValidationError(error.what()), output);
    } catch (const CLI::ParseError& error) {
        return answer(*m_app, error, output);
    }
}

std::string CommandParser::version() const
{
    return m_app->version();
}
