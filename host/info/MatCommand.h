/**
 * @file
 * `orn mat`.
 */
#pragma once

#include "Command.h"

/** Adds `orn mat`; see AddCommand. */
void addMatCommand(const Command& program);
