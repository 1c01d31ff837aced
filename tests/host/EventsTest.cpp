// SPDX-License-Identifier: MIT
// Events of the plug-in through the host program, and through a run of frames.
#include "Process.h"

#include "traffic/TrafficRun.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <sstream>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

const std::string timePattern = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{6}Z";

class EventsTest : public testing::Test {
protected:
    /// A script with one storm of reports as soon as the plug-in reads the queue.
    std::string storm(unsigned reports, unsigned port = 0) {
        return writeFaults(folder, fault("action-storm", "at_ms = 1\nreports = " + std::to_string(reports) +
                                                             "\nport = " + std::to_string(port)));
    }

    TemporaryFolder folder;
};

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST_F(EventsTest, PrintsEachReportUntilTheCountOrADurationOrASignal) {
    const auto outcome =
        runTool({"events", "--no-reset", "--count", "3", "--json", "--port", "2", "--faults", storm(3, 2)});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    const auto lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 3U);
    for (unsigned i = 0; i < 3; ++i) {
        const auto event = json::parse(lines[i]);
        EXPECT_EQ(event.size(), 4U);
        EXPECT_THAT(event["time"].get<std::string>(), MatchesRegex(timePattern));
        EXPECT_EQ(event["port"], "0/2");
        EXPECT_EQ(event["type"], "action command time-out");
        EXPECT_EQ(event["count"], i);
    }

    const auto timed = runTool({"events", "--no-reset", "-d", "1.5", "--faults", storm(2)});
    EXPECT_EQ(timed.exitCode, 0) << timed.err;
    EXPECT_THAT(timed.out,
                MatchesRegex("(" + timePattern + " port 0/0: action command time-out, count [01]\n){2}"));

    Process endless({ORVO_GIGE, "events", "--no-reset"});
    endless.says("waiting for events");
    endless.signal(SIGTERM);
    EXPECT_EQ(endless.wait().exitCode, 0);
    expectRefusal({"events", "--count", "0"}, 2, "--count");
}

TEST_F(EventsTest, OtherRunsTellAndCountThem) {
    const auto outcome = runTool({"capture", "--no-reset", "--write", folder.file("out.pcapng"), "--duration",
                                  "1.5", "--json", "--faults", storm(1000)});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(json::parse(outcome.out)["events"], json::parse(R"([{"port": "0/0", "count": 1000}])"));
    EXPECT_THAT(outcome.err, HasSubstr("Z port 0/0: action command time-out, count 999\n"));
}

/// The firmware of port 1 reports time-outs with the counts from `first` to `last`.
void report(const BoardAccess& access, unsigned first, unsigned last) {
    auto* const reportOne = access.libraries.hal()->require<decltype(::orvoSimReportActionCommandTimeout)>(
        "orvoSimReportActionCommandTimeout");
    for (auto count = first; count <= last; ++count)
        ASSERT_EQ(reportOne(0, 1, static_cast<std::uint16_t>(count)), 0);
}

TEST(TrafficRunTest, ASlowReaderLosesNoEventAndHoldsNoEndUp) {
    BoardOptions options;
    options.root = ORVO_BUILD_ROOT;
    const BoardAccess access(options, 0);
    std::atomic<bool> mayTake{false};
    std::atomic<unsigned> taken{0}, inOrder{0};
    TrafficRun run(access, options, {{0, 1}}, false, [&](const PortEvent& event) {
        mayTake.wait(false);
        inOrder += event.count == taken++ ? 1 : 0;
    });
    run.openAlone({0, 1});
    report(access, 0, 199); // the queue holds 64: the plug-in's thread waits to post the others
    mayTake = true;
    mayTake.notify_all();
    EXPECT_TRUE(happens([&] { return taken == 200U; }));
    EXPECT_EQ(inOrder, 200U);
    EXPECT_EQ(run.events().at(0).events, 200U);

    mayTake = false;
    report(access, 200, 399);
    run.stop(); // the push that waits ends, and its event is dropped
    mayTake = true;
    mayTake.notify_all();
    const auto begin = std::chrono::steady_clock::now();
    const auto account = run.finish({{.port = {0, 1}}});
    EXPECT_LT(std::chrono::steady_clock::now() - begin,
              std::chrono::seconds(5)); // 0.1 s, unless others compute
    EXPECT_EQ(account.events.at(0).events, inOrder) << "those that were queued are still taken";
    EXPECT_LE(account.events.at(0).events, 200U + 64U + 1U);
}

} // namespace
} // namespace orvo::host
