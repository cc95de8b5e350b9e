/**
 * @file
 * What a run of the program may take of the machine.
 */
#pragma once

class Command;

/** Adds the options --memory-limit and --untrusted to @p program. They are in force before a subcommand begins. */
void addLimitOptions(const Command& program);

/**
 * With --untrusted, gives the program processor time for another file, or for @p filesAtOnce that are in work side by
 * side: what is left from before does not count. Without effect otherwise. Thread-safe.
 */
void grantProcessorTime(int filesAtOnce = 1);

/** What there is to say when that time is over, in one line with its line feed. */
extern const char processorTimeIsOver[];
