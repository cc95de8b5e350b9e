/**
 * @file
 * `orn repair`.
 */
#pragma once

#include "Command.h"

/** Adds `orn repair`; see AddCommand. */
void addRepairCommand(CLI::App& program, Output& output, ExitCode& exitCode);
