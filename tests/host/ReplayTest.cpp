// SPDX-License-Identifier: MIT
// Whole replays between a fake pair of ports: what comes back is counted, written and verified, and nothing
// hangs on a wire that loses frames.
#include "traffic/Replay.h"

#include "LoopPort.h"
#include "TestFiles.h"
#include "base/Failure.h"

#include <gmock/gmock.h>

namespace orvo::host {
namespace {

using namespace testing_support;

class ReplayTest : public testing::Test {
protected:
    ReplayResult replay(const std::string& capturePath, PcapngWriter* file = nullptr) {
        CaptureReader capture(capturePath);
        return Replay(port, port, file, &verifier).run(capture);
    }
    TemporaryFolder folder;
    const std::string input = folder.file("in.pcap");
    LoopPort port;
    Verifier verifier;
};

TEST_F(ReplayTest, BringsEverythingBackWithoutOverrunningTheQueue) {
    std::vector<Frame> frames;
    for (unsigned number = 0; number < 3000; ++number)
        frames.push_back(numberedFrame(number, 60 + number % 1455));
    writeCapture(input, frames);
    PcapngWriter file(folder.file("out.pcapng"), {"name", "text"});
    file.begin();
    const auto result = replay(input, &file);
    EXPECT_EQ(file.close(0), 3000u);
    EXPECT_EQ(result.received.bytes, result.sent.bytes);
    EXPECT_EQ(port.overflows, 0u);
    EXPECT_EQ(verifier.finish().identical, 3000u);
    EXPECT_EQ(framesOf(folder.file("out.pcapng")).size(), 3000u);
}

TEST_F(ReplayTest, SurvivesAWireThatIsDeadOrBreaksAndHeals) {
    std::vector<Frame> frames;
    for (unsigned number = 0; number < 9000; ++number) frames.push_back(numberedFrame(number, 60));
    writeCapture(input, frames);
    for (const auto& [firstLost, lastLost] : {std::pair(1u, 9000u), {3001u, 6000u}}) {
        verifier = Verifier();
        port.wire = [first = firstLost, last = lastLost, sent = 0u]() mutable {
            return ++sent < first || sent > last;
        };
        const auto result = replay(input);
        EXPECT_EQ(result.sent.frames, 9000u);
        EXPECT_EQ(result.missingFrames(), lastLost - firstLost + 1);
        const auto& report = verifier.finish();
        EXPECT_EQ(report.identical, result.received.frames);
        EXPECT_THAT(report.differences,
                    testing::ElementsAre("frames " + std::to_string(firstLost) + " to " +
                                         std::to_string(lastLost) + " did not come back"));
    }
}

} // namespace
} // namespace orvo::host
