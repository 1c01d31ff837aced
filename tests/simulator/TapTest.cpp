// SPDX-License-Identifier: MIT
// Listening at a port's cable.
#include "SimulatedBoard.h"

#include <functional>

namespace {

using testing::ElementsAre;

class Tap {
public:
    Tap(unsigned board, unsigned port) { EXPECT_EQ(orvoSimOpenTap(board, port, &tap_), 0); }
    ~Tap() { EXPECT_EQ(orvoSimCloseTap(tap_), 0); }
    Tap(const Tap&) = delete;

    struct Frame : OrvoSimTapFrame {
        Bytes content;
    };
    /// None when none comes in time.
    std::optional<Frame> next(std::uint32_t timeoutMs) const {
        Frame frame{};
        frame.content.resize(4096);
        if (orvoSimReadTap(tap_, &frame, frame.content.data(), frame.content.size(), timeoutMs) != 1)
            return std::nullopt;
        frame.content.resize(frame.bytes);
        return frame;
    }
    /// Received, and sent.
    std::array<std::uint64_t, 2> missed() const {
        std::array<std::uint64_t, 2> counts{};
        EXPECT_EQ(orvoSimReadTapMissed(tap_, &counts[0], &counts[1]), 0);
        return counts;
    }

private:
    OrvoSimTap* tap_ = nullptr;
};

class TapTest : public SimulatedBoard {
protected:
    const Device device{0};
};

struct Expected {
    int sent;
    OrvoSimFate fate;
    unsigned errors;
    std::uint32_t bytes;
};

TEST_F(TapTest, ShowsEveryFrameOnceWithItsFateAndItsErrors) {
    constexpr int out = 1, in = 0;
    constexpr unsigned wrongFcs = OrvoSimFrameWrongFcs, tooShort = OrvoSimFrameTooShort,
                       tooLong = OrvoSimFrameTooLong;
    const auto sendWith = [this](const char* name, std::uint64_t value, std::uint64_t usual,
                                 const Bytes& frame) {
        device.write(name, value);
        device.send(0, frame);
        device.write(name, usual);
    };
    const auto fault = [](const char* kind, const std::function<void()>& act) {
        const auto script = std::string("[[fault]]\nevery = 1\nkind = ") + kind;
        char error[512] = "";
        EXPECT_EQ(orvoSimLoadFaultText(script.c_str(), 1, error, sizeof error), 0) << error;
        passMs(1000); // the port is cabled anew
        act();
        EXPECT_EQ(orvoSimEndFaults(), 0);
    };
    const std::tuple<const char*, std::function<void()>, std::vector<Expected>> cases[] = {
        {"passes",
         [&] { device.send(0, frameOf(200)); },
         {{out, OrvoSimPassed, 0, 204}, {in, OrvoSimPassed, 0, 204}}},
        {"padded",
         [&] { device.send(0, frameOf(14)); },
         {{out, OrvoSimPassed, 0, 64}, {in, OrvoSimPassed, 0, 64}}},
        {"own sequence, wrong",
         [&] { sendWith("GigeTxDisableCrcGeneration0", 1, 0, withFcs(frameOf(60), 1)); },
         {{out, OrvoSimPassed, wrongFcs, 64}, {in, OrvoSimWrongFcs, wrongFcs, 64}}},
        {"giant",
         [&] { device.send(0, frameOf(2000)); },
         {{out, OrvoSimPassed, tooLong, 2004}, {in, OrvoSimTooLong, tooLong, 2004}}},
        {"longer than the buffer",
         [&] { device.send(0, frameOf(2050)); },
         {{out, OrvoSimBufferExceeded, tooLong, 2054}}},
        {"nothing was written", [&] { device.send(0, {}); }, {}},
        {"transmitter off",
         [&] { sendWith("GigeTxStart0", 0, 1, frameOf(60)); },
         {{out, OrvoSimTransmitterOff, 0, 64}}},
        {"receiver off",
         [&] { sendWith("GigE_RxEnable", 0, 1, frameOf(60)); },
         {{out, OrvoSimPassed, 0, 64}, {in, OrvoSimReceiverOff, 0, 64}}},
        {"link down",
         [&] {
             orvoSimSetPlugged(0, 0, 0);
             device.send(0, frameOf(60));
             EXPECT_EQ(inject(0, 0, frameOf(60), 1), 0);
             orvoSimSetPlugged(0, 0, 1);
             passMs(1000);
         },
         {{out, OrvoSimLinkDown, 0, 64}, {in, OrvoSimLinkDown, wrongFcs, 64}}},
        {"damaged",
         [&] { EXPECT_EQ(inject(0, 0, frameOf(60), 1), 0); },
         {{in, OrvoSimWrongFcs, wrongFcs, 64}}},
        {"fragment",
         [&] { fault("'runt'\ndirection = 'received'", [&] { inject(0, 0, frameOf(300)); }); },
         {{in, OrvoSimTooShort, tooShort | wrongFcs, 0}}},
        {"lost by a script as if the queue were full",
         [&] { fault("'overflow'", [&] { inject(0, 0, frameOf(300)); }); },
         {{in, OrvoSimQueueFull, 0, 304}}},
    };
    const Tap tap(0, 0);
    std::uint64_t before = 0;
    for (const auto& [what, act, expected] : cases) {
        SCOPED_TRACE(what);
        act();
        for (const auto& [sent, fate, errors, bytes] : expected) {
            const auto found = tap.next(5000);
            ASSERT_TRUE(found);
            EXPECT_THAT(std::tuple(found->sent, found->fate, found->errors),
                        testing::Eq(std::tuple(sent, fate, errors)));
            if (bytes != 0) {
                EXPECT_EQ(found->wireBytes, bytes);
            }
            EXPECT_EQ(found->bytes, fate == OrvoSimBufferExceeded ? 2048 : found->wireBytes);
            EXPECT_GE(found->nanoseconds, before);
            before = found->nanoseconds;
        }
        EXPECT_FALSE(tap.next(0));
        OHalDataQueueClear(device.handle, 0);
    }
    EXPECT_THAT(tap.missed(), ElementsAre(0, 0));
}

TEST_F(TapTest, TakesNothingFromReadersAndHasTheContentWithItsCheckSequence) {
    const Tap tap(3, 1);
    const Device small(3); // has room for one of the frames
    for (unsigned first : {1U, 2U}) small.send(1, frameOf(100, first));
    for (unsigned first : {1U, 2U})
        for (int sent : {1, 0}) {
            const auto found = tap.next(5000);
            ASSERT_TRUE(found);
            EXPECT_EQ(found->sent, sent);
            EXPECT_EQ(found->content, withFcs(frameOf(100, first)));
            EXPECT_EQ(found->fate, first == 2 && sent == 0 ? OrvoSimQueueFull : OrvoSimPassed);
        }
    EXPECT_EQ(small.receive(1), frameOf(100, 1));
    EXPECT_EQ(small.receive(1), std::nullopt);
}

TEST_F(TapTest, CountsExactlyWhatAListenerThatDoesNotReadMisses) {
    const std::pair<std::size_t, unsigned> cases[] = {{1514, 4000}, {60, 40'000}};
    const Tap tap(0, 0);
    for (const auto& [bytes, frames] : cases) {
        SCOPED_TRACE(bytes);
        const auto missedBefore = tap.missed();
        for (unsigned i = 0; i < frames; ++i) device.send(0, frameOf(bytes));
        EXPECT_NE(portState(0, 0).sentFrames, 0U); // an answer comes after all frames
        std::array<std::uint64_t, 2> seen = tap.missed();
        EXPECT_GT(seen[0] + seen[1], missedBefore[0] + missedBefore[1]);
        while (const auto frame = tap.next(0)) ++seen[static_cast<std::size_t>(frame->sent)];
        for (std::size_t direction : {0U, 1U}) EXPECT_EQ(seen[direction] - missedBefore[direction], frames);
        device.send(0, frameOf(60)); // there is room again
        EXPECT_TRUE(tap.next(5000) && tap.next(5000));
    }
}

TEST_F(TapTest, AProgramListensOnceAtAPort) {
    OrvoSimTap* other = nullptr;
    {
        const Tap tap(0, 0), another(0, 1);
        EXPECT_EQ(orvoSimOpenTap(0, 0, &other), OrvoSimTapTaken);
    }
    const Tap again(0, 0);
    EXPECT_EQ(orvoSimOpenTap(0, 4, &other), OrvoSimNoSuchPlace);
    EXPECT_EQ(orvoSimOpenTap(77, 0, &other), OrvoSimNoSuchPlace);
    EXPECT_EQ(orvoSimOpenTap(0, 1, nullptr), OrvoSimBadValue);
    EXPECT_EQ(orvoSimReadTap(nullptr, nullptr, nullptr, 0, 0), OrvoSimBadValue);
    EXPECT_EQ(orvoSimCloseTap(nullptr), 0);
}

// A server's transmitter waits for the line on the program's behalf, so this concerns own boards.
TEST_F(TapTest, ShowsFramesThatWereHandedOverTooEarly) {
    orvoSimSetPartner(0, 0, OrvoSimPartner100); // a frame takes 0.1 ms: longer than a slow write
    passMs(4000);
    orvoSimUseVirtualTime(0);
    orvoSimSetLineRate(0, 1);
    const Tap tap(0, 0);
    device.send(0, frameOf(1514));
    for (int i = 1; i < 100; ++i) device.write("GigeWriteComplete0", 0); // sooner than the frame has left
    unsigned busy = 0, passed = 0;
    while (const auto frame = tap.next(0)) {
        busy += frame->fate == OrvoSimTransmitterBusy;
        passed += frame->sent == 1 && frame->fate == OrvoSimPassed;
    }
    orvoSimSetLineRate(0, 0);
    EXPECT_EQ(busy + passed, 100U);
    EXPECT_GT(busy, 0U);
}

} // namespace
