/**
 * @file
 * `orn depth`.
 */
#pragma once

#include "Command.h"

/** Adds `orn depth`; see AddCommand. */
void addDepthCommand(const Command& program);
