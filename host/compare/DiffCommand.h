/**
 * @file
 * `orn diff`.
 */
#pragma once

#include "Command.h"

/** Adds `orn diff`; see AddCommand. */
void addDiffCommand(const Command& program);
