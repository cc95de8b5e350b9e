/**
 * @file
 * `orn split`.
 */
#pragma once

#include "Command.h"

/** Adds `orn split`; see AddCommand. */
void addSplitCommand(const Command& program);
