/**
 * @file
 * `orn preview`: what a person sees.
 */
#pragma once

#include "Command.h"

/** Adds `orn preview`; see AddCommand. */
void addPreviewCommand(const Command& program);
