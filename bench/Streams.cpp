// SPDX-License-Identifier: MIT
// What the account of streams takes for a packet, with one camera and with 64 whose packets alternate, and
// for a frame that belongs to no stream.
#include "frames/streams/StreamAccount.h"
#include "host/CameraFrames.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

using namespace orvo::host;
using testing_support::ByteVector;
using testing_support::Camera;

constexpr std::uint32_t payloads = 200;
constexpr std::size_t portOffset = 36;  // in a frame without VLAN tag
constexpr std::size_t blockOffset = 44; // of its 16 bits

void put16(ByteVector& frame, std::size_t offset, std::uint16_t value) {
    frame[offset] = static_cast<std::uint8_t>(value >> 8);
    frame[offset + 1] = static_cast<std::uint8_t>(value);
}

/// The packets of one image, in which stream and number are filled in: a receiver, too, has the frame that it
/// has just read in its cache.
void streamPacket(benchmark::State& state) {
    const Camera camera{.payloads = payloads, .packetBytes = 1400};
    std::vector<ByteVector> image;
    for (std::uint32_t packet = 0; packet <= camera.trailer(); ++packet)
        image.push_back(camera.packet(1, packet));
    const auto streams = static_cast<std::uint16_t>(state.range(0));
    StreamAccount account;
    std::uint16_t stream = 0, block = 1;
    std::size_t packet = 0;
    StreamTime time = 0;
    for (auto _ : state) {
        auto& frame = image[packet];
        put16(frame, portOffset, static_cast<std::uint16_t>(4000 + stream));
        put16(frame, blockOffset, block);
        account.add(frame, time += 10'000);
        if (++stream < streams) continue;
        stream = 0;
        if (++packet < image.size()) continue;
        packet = 0;
        block = static_cast<std::uint16_t>(block % 65'535 + 1);
    }
    account.finish();
    std::uint64_t missing = 0;
    for (const auto& each : account.report().streams) missing += each.figures.missing;
    if (missing != 0) state.SkipWithError("the account misses packets that it was given");
}
BENCHMARK(streamPacket)->Arg(1)->Arg(64);

void otherFrame(benchmark::State& state) {
    const auto frame = testing_support::udpFrame(1, 2, 3, 4, ByteVector(1000));
    StreamAccount account;
    for (auto _ : state) account.add(frame, 0);
}
BENCHMARK(otherFrame);

} // namespace
