/**
 * @file
 * `orn formats`.
 */
#pragma once

#include "Command.h"

/** Adds `orn formats`; see AddCommand. */
void addFormatsCommand(const Command& program);
