// SPDX-License-Identifier: MIT
// Lets a host program receive log messages itself. This project's dispatcher library exports these functions;
// another dispatcher may lack them, so a program that must run with any dispatcher looks them up at run time.
#pragma once

#include <orvo/Export.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Receives one message as it was logged: the logger's name, the level (LogLevel.h) and the text,
/// NUL-terminated and valid during the call only. Returns 0 to let the message go on to the console, anything
/// else to keep it from there; the log file gets it either way.
///
/// Runs on the thread that logs, so it must be short, must not throw, must not log, and must not wait for
/// another thread that might be logging. Calls of one subscription never overlap.
typedef int (*OrvoLogCallback)(void* context, const char* loggerName, uint32_t level, const char* message);

/// Delivers every message of level `level` (0 to 7) or above of the logger `loggerName`, or of every logger
/// when it is null, whatever the console's threshold is: the thresholds of attached logging facilities are
/// lowered as needed. A logger that a facility is looking up at this moment may be lowered only at the next
/// change. Returns the subscription's id, or 0 when `callback` is null or there is no memory. Any thread, but
/// not while another one initialises or de-initialises a plug-in.
ORVO_EXPORT uint64_t orvoLogSubscribe(const char* loggerName, uint32_t level, OrvoLogCallback callback,
                                      void* context);

/// Ends a subscription. When it returns, no call of the callback is running and none will follow; it waits
/// for a running one, so do not call it while holding what the callback waits for. Called from inside the
/// callback, it makes that call the last one. Returns 0, or -1 when there is no subscription of this id.
/// Threads as above.
ORVO_EXPORT int orvoLogUnsubscribe(uint64_t id);

#ifdef __cplusplus
} // extern "C"
#endif
