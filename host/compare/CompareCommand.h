/**
 * @file
 * `orn compare`: are two images the same?
 */
#pragma once

#include "Command.h"

/** Adds `orn compare`; see AddCommand. */
void addCompareCommand(const Command& program);
