// Pacing without waiting: this program's own usleep and monotonic clock, which the plug-in meets by their
// names.
#pragma once

#include <chrono>
#include <functional>

namespace orvo::test {

/// Called for every usleep of the process with its length, on the sleeping thread; nobody sleeps. Without
/// one, usleep gives the processor up for a moment.
void onSleep(std::function<void(std::chrono::microseconds)> handler);

/// Moves the monotonic clock of the process ahead.
void advanceClock(std::chrono::milliseconds step);

/// Takes both back: no handler, and a clock that shows the system's time, by which the C library waits.
void restorePacing();

} // namespace orvo::test
