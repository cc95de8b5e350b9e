/**
 * @file
 * `orn info`.
 */
#pragma once

#include "Command.h"

/** Adds `orn info`; see AddCommand. */
void addInfoCommand(CLI::App& program, Output& output, ExitCode& exitCode);
