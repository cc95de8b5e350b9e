/**
 * @file
 * `orn defects`: hot, dead and stuck pixels, from dark or flat frames.
 */
#pragma once

#include "Command.h"

/** Adds `orn defects`; see AddCommand. */
void addDefectsCommand(const Command& program);
