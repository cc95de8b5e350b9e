/**
 * @file
 * The command line of the program as a whole.
 */
#pragma once

#include "ExitCodes.h"

class Output;

namespace CLI {
class App;
}

/** Makes @p program the command line of `orn` with all its subcommands, which answer as AddCommand says. */
void describeCommandLine(CLI::App& program, Output& output, ExitCode& exitCode);
