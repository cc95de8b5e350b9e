/**
 * @file
 * Completion in bash.
 */
#pragma once

#include "CommandTree.h"

#include <string>

/** A script that lets bash complete the command lines of @p program; it needs nothing but bash. */
std::string bashCompletion(const CommandTree& program);
