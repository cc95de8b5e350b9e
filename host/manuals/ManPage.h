/**
 * @file
 * The manual page of a program.
 */
#pragma once

#include "CommandTree.h"

#include <string>

/**
 * The manual page of @p program for man(1), in one page with all subcommands.
 * @param version the program's name and version: "orn 1.0"
 * @param date    of the page, "2024-12-31"
 */
std::string manPage(const CommandTree& program, const std::string& version, const std::string& date);
