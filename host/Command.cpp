#include "Command.h"

#include <CLI/CLI.hpp>

CLI::App* addCommand(CLI::App& parent, const std::string& name, const std::string& description,
                     const std::string& examples)
{
    CLI::App* command = parent.add_subcommand(name, description);
    command->footer("Examples:\n" + examples);
    return command;
}

void addJsonFlag(CLI::App& command, bool& json)
{
    command.add_flag("--json", json, "Answer in JSON, for programs");
}

QString text(const std::string& argument)
{
    return QString::fromUtf8(argument.c_str(), static_cast<int>(argument.size()));
}

ExitCode exitCodeOfFiles(size_t files, ExitCode lastFailure)
{
    return files > 1 && lastFailure != ExitCode::Done ? ExitCode::SomeFailed : lastFailure;
}
