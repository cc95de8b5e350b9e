/**
 * @file
 * What happens when the program is interrupted.
 */
#pragma once

/**
 * From now on SIGINT, SIGTERM and SIGHUP end the program with ExitCode::Cancelled, after the temporary files of
 * unfinished outputs are removed. A signal that was ignored when the program started stays ignored. Call it before any
 * other thread exists.
 */
void endCleanlyOnSignals();
