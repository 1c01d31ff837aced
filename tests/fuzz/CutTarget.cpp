// SPDX-License-Identifier: MIT
// Joined frames: a header of what is left to do, and a frame. What is cut must carry the stream of the whole.
#include "fuzz/FuzzInput.h"
#include "offload/JoinedFrame.h"

#include <offload/FrameCut.h>

#include <memory>

using namespace orvo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    test::FuzzInput input(bytes, count);
    const auto header = input.take<offload::OffloadHeader>();
    const auto given = input.takeBytes(count);
    const auto memory = std::make_unique<std::uint8_t[]>(given.size()); // not a byte more
    std::ranges::copy(given, memory.get());
    const std::size_t expected = offload::framesInside(header, given, given.size());
    offload::FrameCut cut(header, {memory.get(), given.size()});
    if (!header.isJoined() || cut.refusal()) return 0;
    test::StreamReader reader;
    std::size_t frames = 0;
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next(), ++frames) {
        test::demand(frame.data() >= memory.get() &&
                     frame.data() + frame.size() <= memory.get() + given.size());
        test::demand(reader.take(frame));
    }
    test::demand(frames == expected && !reader.payload.empty());
    test::demand(std::ranges::equal(given.subspan(reader.payloadAt, reader.payload.size()), reader.payload));
    return 0;
}
