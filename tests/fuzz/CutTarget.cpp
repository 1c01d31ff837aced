// SPDX-License-Identifier: MIT
// Joined frames: a header of what is left to do, and a frame. What is cut must carry the stream of the whole;
// what is joined of it, one bit of it changed or not, must be cut into the same frames again.
#include "fuzz/FuzzInput.h"
#include "offload/JoinedFrame.h"

#include <offload/FrameCut.h>
#include <offload/FrameJoin.h>

#include <memory>

using namespace orvo;

namespace {

/// Hands out the frames of a joined one, in memory of just its size.
template <class Take>
void cut(const offload::OffloadHeader& header, test::FrameView joined, const Take& take) {
    const auto memory = std::make_unique<std::uint8_t[]>(joined.size()); // not a byte more
    std::ranges::copy(joined, memory.get());
    offload::FrameCut cut(header, {memory.get(), joined.size()});
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next()) {
        test::demand(frame.data() >= memory.get() &&
                     frame.data() + frame.size() <= memory.get() + joined.size());
        take(frame);
    }
}

std::vector<test::FrameBytes> joinAndCut(const std::vector<test::FrameBytes>& frames) {
    static offload::FrameJoin join;
    std::vector<test::FrameBytes> made;
    const auto keep = [&](test::FrameView frame) { made.emplace_back(frame.begin(), frame.end()); };
    const auto flush = [&] {
        if (join.frames() == 0) return;
        const auto before = made.size() + join.frames();
        const auto [header, bytes] = join.take();
        cut(header, bytes, keep);
        test::demand(made.size() == before);
    };
    for (const auto& frame : frames) {
        if (join.add(frame)) continue;
        flush();
        if (!join.add(frame)) keep(frame);
    }
    flush();
    return made;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    test::FuzzInput input(bytes, count);
    const auto header = input.take<offload::OffloadHeader>();
    const auto given = input.takeBytes(count);
    const std::size_t expected = offload::framesInside(header, given, given.size());
    test::StreamReader reader;
    std::vector<test::FrameBytes> frames;
    cut(header, given, [&](test::FrameView frame) {
        test::demand(!header.isJoined() || reader.take(frame));
        frames.emplace_back(frame.begin(), frame.end());
    });
    test::demand(joinAndCut(frames) == frames);
    if (!header.isJoined() || frames.empty()) return 0;
    test::demand(frames.size() == expected && !reader.payload.empty());
    test::demand(std::ranges::equal(given.subspan(reader.payloadAt, reader.payload.size()), reader.payload));

    auto& changed = frames[header.headerBytes % frames.size()]; // which only hints at something
    changed[header.headerBytes % changed.size()] ^= 1U << header.headerBytes / 8192;
    test::demand(joinAndCut(frames) == frames);
    return 0;
}
