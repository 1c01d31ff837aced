// SPDX-License-Identifier: MIT
// Pacing without waiting: this program's own usleep and monotonic clock, which the plug-in meets by their
// names.
#pragma once

#include <chrono>
#include <functional>

namespace orvo::test {

/// Called for every usleep of the process with its length, on the sleeping thread; nobody sleeps, but gives
/// the processor up for a moment.
void onSleep(std::function<void(std::chrono::microseconds)> handler);

/// Lets a signal interrupt the next usleep when that much of it has passed on a held clock.
void interruptNextSleep(std::chrono::milliseconds after);

/// Stops the monotonic clock of the process: no bound passes, however slow the machine, unless the clock is
/// advanced. The C library's own waits go by the system's time all the same.
void holdClock();

/// Moves a held clock ahead.
void advanceClock(std::chrono::milliseconds step);

/// Called for every reading of a held clock, before it is read, on the reading thread.
void onClockReading(std::function<void()> handler);

/// Takes all of it back.
void restorePacing();

} // namespace orvo::test
