/**
 * @file
 * `orn convert`.
 */
#pragma once

#include "Command.h"

/** Adds `orn convert`; see AddCommand. */
void addConvertCommand(const Command& program);
