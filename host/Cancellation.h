/**
 * @file
 * What happens when the program is interrupted.
 */
#pragma once

/**
 * From now on SIGINT, SIGTERM and SIGHUP end the program with ExitCode::Cancelled, after the temporary files of
 * unfinished outputs are removed, unless an InterruptHandler takes them. A signal that was ignored when the program
 * started stays ignored. SIGXCPU, which says that the program's processor time is over, ends it alike, with
 * ExitCode::Refused. Call it before any other thread exists.
 */
void endCleanlyOnSignals();

/**
 * Call it where the program would end by itself. When an interrupt is ending it, what failed did so because of that:
 * does not return then, so that the exit code is that of the interrupt.
 */
void leaveToInterrupt();
