/**
 * @file
 * `orn plugins`.
 */
#pragma once

#include "Command.h"

/** Adds `orn plugins`; see AddCommand. */
void addPluginsCommand(const Command& program);
