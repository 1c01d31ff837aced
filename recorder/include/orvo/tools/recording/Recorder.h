// SPDX-License-Identifier: MIT
// Records what the GigE plug-in calls in the board's libraries, in a host of any maker: for `orvo-gige calls`
// and `--board-recording`. Exported by liborvo-recorder.so.
//
// A host that cannot be changed is recorded by preloading the library:
//
//     LD_PRELOAD=ROOT/lib64/liborvo-recorder.so ORVO_RECORD=FILE my-host
//
// Recording then begins with the plug-in's first call of the board, and ends with the process. A host that
// can be changed links the library, or opens it, and calls these functions instead.
//
// Conventions: functions return 0 on success, and -1 otherwise. Then `error`, if it is not null, receives one
// sentence, NUL-terminated and cut to `errorBytes` bytes. No error disturbs the host or its port. Call them
// from any thread, but not from a signal handler. Arguments are copied. A child process that is forked while
// its parent is recorded is not recorded itself.
#pragma once

#include <orvo/Export.h>

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Begins to record into `file`, which is replaced if it is a recording. `plugin` is the path of the
/// plug-in's file, which must be loaded already; null: the loaded plug-in, whatever its path. Opens the
/// board's libraries, if the plug-in has not yet. Fails when a recording goes on in this process.
ORVO_EXPORT int orvoRecorderStart(const char* file, const char* plugin, char* error, size_t errorBytes);

/// Completes the file. Other threads may go on calling the board; those that are in a call are waited for,
/// but no longer than a quarter of a second. Fails when no recording goes on, and when the recording lacks
/// calls.
ORVO_EXPORT int orvoRecorderStop(char* error, size_t errorBytes);

#ifdef __cplusplus
}
#endif
