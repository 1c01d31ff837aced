// SPDX-License-Identifier: MIT
// The least that a frame can cost: what the frame paths are held against. One step for each thing that the
// board's contract and the framework's demand, without checks, gate, counters or messages.
#pragma once

#include <orvo/core/zume/EthernetFrame.h>

#include <boost/shared_ptr.hpp>

#include <cstddef>

namespace orvo::bench {

/// Receive: two calls through the entry table, which copy the words into a buffer that is kept, and neither
/// cleared nor checked; the words packed with the widest vector instructions that the processor has; one
/// QByteArray; one frame in one shared allocation. Frames of at most 2,048 bytes.
boost::shared_ptr<core::zume::EthernetFrame> leanReceive();

/// Send: the board's protocol by calls of a bound entry: one read of the busy flag, the write that begins a
/// frame, one for each 16 bits in an unrolled loop, and the one that ends it.
void leanSend(const unsigned char* bytes, std::size_t frameBytes);

} // namespace orvo::bench
