/**
 * @file
 * `orn repair`.
 */
#pragma once

#include "Command.h"

/** Adds `orn repair`; see AddCommand. */
void addRepairCommand(const Command& program);
