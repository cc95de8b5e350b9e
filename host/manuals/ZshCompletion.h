/**
 * @file
 * Completion in zsh.
 */
#pragma once

#include "CommandTree.h"

#include <string>

/** A function for zsh's completion system that completes the command lines of @p program. */
std::string zshCompletion(const CommandTree& program);
