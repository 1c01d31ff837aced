// SPDX-License-Identifier: MIT
// The least that a frame can cost: what the frame paths are held against. One step for each thing that the
// board's contract and the framework's demand, without checks, gate, counters or messages.
#pragma once

#include <orvo/core/zume/EthernetFrame.h>

#include <boost/shared_ptr.hpp>

#include <cstddef>

namespace orvo::bench {

/// Receive: two calls through the entry table, which copy the words; one buffer for them; the words packed
/// with the widest vector instructions that the processor has; one QByteArray; one frame in one shared
/// allocation.
boost::shared_ptr<core::zume::EthernetFrame> leanReceive();
/// The same with a buffer that is kept, and neither cleared nor checked.
boost::shared_ptr<core::zume::EthernetFrame> leanReceiveWithKeptBuffer();

/// Send: one call of a bound entry for each 16 bits of the frame.
void leanSend(const unsigned char* bytes, std::size_t frameBytes);

} // namespace orvo::bench
