/**
 * @file
 * `orn split`.
 */
#pragma once

#include "Command.h"

/** Adds `orn split`; see AddCommand. */
void addSplitCommand(CLI::App& program, Output& output, ExitCode& exitCode);
