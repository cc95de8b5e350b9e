/**
 * @file
 * Options that several subcommands have.
 */
#pragma once

#include "Command.h"

/** Lets a command answer in JSON: the flag --json. */
Option addJsonFlag(const Command& command, bool& json);

/** The flag --quiet. */
Option addQuietFlag(const Command& command, bool& quiet);

/** The flag --no-replace; its description says what is left alone. */
Option addNoReplaceFlag(const Command& command, bool& refuseReplace, const char* description);

/** The option --cfa, one of gridNames(); its description says what is taken for a mosaic. */
Option addGridOption(const Command& command, QString& grid, const char* description);
