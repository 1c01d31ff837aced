// SPDX-License-Identifier: MIT
// Time of a sweep: nobody waits, and the clock moves by what is asked of it.
#pragma once

namespace orvo::test {

/// Declares the calling thread the host's. Its usleep advances the simulated board's clock and returns; every
/// other thread (a leecher is the only one) naps a moment of real time instead, so that the board's time, and
/// with it the sequence of the host's calls, does not depend on how often that thread comes round.
void becomeHostThread();
bool isHostThread();

/// Sets the process's monotonic clock back to its start, far in the past. From there each look moves it by a
/// millisecond: a loop that waits for a deadline comes to it, and the C library's own waits are over at once.
void restartClock();

/// A moment of real time.
void nap();

} // namespace orvo::test
