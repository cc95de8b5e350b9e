/**
 * @file
 * The command line program `orn`.
 */
#include "Cancellation.h"
#include "Command.h"
#include "CommandLine.h"
#include "Output.h"

#include <orn/orn_core.h>

#include <CLI/CLI.hpp>

#include <QTextCodec>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

/** A stream that came closed is taken, with an end that fails: else the next file opened would be written into. */
void occupyStandardStreams()
{
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1 && errno == EBADF)
            static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

/** File names are UTF-8 in every environment; a reader that went away and a file size limit are met where data is
 * written. */
void prepareProcess()
{
    occupyStandardStreams();
    std::setlocale(LC_CTYPE, "C.UTF-8");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    endCleanlyOnSignals();
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
        output.data(text(help.str()));
        return output.finish(ExitCode::Done);
    }
    const CLI::App* command = &program;
    std::string name = program.get_name();
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        name += " " + command->get_name();
    }
    output.problem(QString(), text(reasonOf(program, *command, error)));
    output.problem(QString(), QStringLiteral("try '%1 --help'").arg(text(name)));
    return ExitCode::Usage;
}

}  // namespace

int main(int argc, char** argv)
{
    prepareProcess();
    orn::Init();
    Output output;
    ExitCode exitCode = ExitCode::Done;
    CLI::App program;
    describeCommandLine(program, output, exitCode);
    try {
        program.parse(reversedArguments(argc, argv));
        exitCode = output.finish(exitCode);
    } catch (const CLI::ParseError& error) {
        exitCode = answer(program, error, output);
    }
    leaveToInterrupt();
    orn::Finish();
    return static_cast<int>(exitCode);
}
