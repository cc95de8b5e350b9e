/**
 * @file
 * The command line of the program as a whole.
 */
#pragma once

#include "CommandParser.h"

/** The command line of `orn` with all its subcommands. */
CommandParser commandLine();
