/**
 * @file
 * `orn info`.
 */
#pragma once

#include "Command.h"

/** Adds `orn info`; see AddCommand. */
void addInfoCommand(const Command& program);
