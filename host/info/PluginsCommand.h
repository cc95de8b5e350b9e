/**
 * @file
 * `orn plugins`.
 */
#pragma once

#include "Command.h"

/** Adds `orn plugins`; see AddCommand. */
void addPluginsCommand(CLI::App& program, Output& output, ExitCode& exitCode);
