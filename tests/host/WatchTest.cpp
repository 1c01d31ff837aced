// SPDX-License-Identifier: MIT
// Watching of ports: what readings come to, what is shown of them, and `orvo-gige watch` as its users call
// it.
#include "Process.h"

#include "device/BoardAccess.h"
#include "inspect/watch/PrometheusText.h"
#include "inspect/watch/Sampler.h"
#include "inspect/watch/Screen.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <regex>
#include <sstream>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;

constexpr auto packets = Counter::ReceivedPackets, errors = Counter::ReceiveErrors;
constexpr std::uint64_t wrap = std::uint64_t{1} << 32;

Sample reading(double seconds, std::optional<std::uint64_t> packetCount, std::uint32_t serial = 1) {
    Sample sample;
    sample.seconds = seconds;
    sample.serial = serial;
    sample[packets] = packetCount;
    return sample;
}

TEST(PortTrackTest, CountsAcrossWrapsResetsFailedReadsAndOtherBoards) {
    PortTrack track({0, 0}, 4);
    const struct {
        Sample sample;
        std::optional<std::uint64_t> sinceStart;
        std::optional<double> perSecond;
    } steps[] = {
        {reading(0, {}), {}, {}}, {reading(1, wrap - 10), 0, {}},
        {reading(2, 20), 30, 30}, // passed its largest value
        {reading(3, {}), 30, {}}, // a failed read is not 0
        {reading(5, 80), 90, 20}, // and what came meanwhile is not lost
        {reading(6, 7), 97, 7},   // set back: the way across would be too long for a second
        {reading(6.5, 7), 97, 0}, {reading(7, 500, 2), 0, {}}, // another board
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.sample.seconds);
        track.add(step.sample);
        const auto& figure = track.of(packets);
        EXPECT_EQ(figure.value, step.sample[packets]);
        EXPECT_EQ(figure.sinceStart, step.sinceStart);
        EXPECT_EQ(figure.perSecond, step.perSecond);
        EXPECT_EQ(figure.hasRisen, step.perSecond.value_or(0) > 0);
    }
    EXPECT_EQ(track.history(packets), (PortTrack::History{20., 7., 0., std::nullopt}));
}

/// Two ports, of which the second has risen errors and nothing else that is known.
PortTracks someTracks() {
    PortTracks tracks(60);
    for (const std::uint64_t count : {0U, 3U}) {
        auto first = reading(static_cast<double>(count), 1000 * count);
        first[Counter::Present] = first[Counter::LinkUp] = 1;
        auto second = reading(static_cast<double>(count), {});
        second[errors] = (wrap - 1 + count) % wrap;
        tracks.add({{{0, 0}, first}, {{4, 1}, second}});
    }
    return tracks;
}

WatchState stateOf(const PortTracks& tracks) {
    return {tracks.all(), std::chrono::system_clock::time_point(std::chrono::milliseconds(1500)), 3, 3, {}};
}

TEST(PrometheusTextTest, IsInTheExpositionFormat) {
    const auto tracks = someTracks();
    const auto text = prometheusTextOf(stateOf(tracks));
    EXPECT_THAT(text, HasSubstr("# TYPE orvo_gige_received_packets_total counter\n"
                                "orvo_gige_received_packets_total{board=\"0\",port=\"0\"} 3000\n# HELP"));
    EXPECT_THAT(text, HasSubstr("\norvo_gige_receive_errors_total{board=\"4\",port=\"1\"} 4294967298\n"));
    EXPECT_THAT(text, HasSubstr("\norvo_gige_read_timestamp_seconds 1.500\n"));

    const std::regex help("# HELP ([a-z_]+) .+"), type("# TYPE ([a-z_]+) (counter|gauge)"),
        value(R"(([a-z_]+)(\{board="\d+",port="\d+"\})? [0-9.]+)");
    std::istringstream lines(text);
    std::string metric, kind;
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (std::regex_match(line, parts, help)) {
            metric = parts[1];
            kind.clear();
        } else if (std::regex_match(line, parts, type)) {
            kind = parts[2];
            EXPECT_EQ(kind == "counter", metric.ends_with("_total")) << line;
        } else {
            EXPECT_TRUE(std::regex_match(line, parts, value) && parts[1] == metric && !kind.empty()) << line;
        }
    }
}

TEST(PrometheusTextTest, SatisfiesPromtool) {
    if (Process({"sh", "-c", "command -v promtool"}).wait().exitCode != 0)
        GTEST_SKIP() << "there is no promtool, which Debian's package prometheus has";
    const TemporaryFolder folder;
    writeFile(folder.file("metrics"), prometheusTextOf(stateOf(someTracks())));
    const auto check = Process({"sh", "-c", "promtool check metrics <" + folder.file("metrics")}).wait();
    EXPECT_EQ(check.exitCode, 0) << check.out << check.err;
}

TEST(ScreenTest, FitsAndColoursWhatRises) {
    const auto tracks = someTracks();
    for (const std::size_t columns : {1U, 30U, 80U, 200U})
        for (const auto& line : screenOf(stateOf(tracks), {columns, 12}))
            EXPECT_LE(std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; }), columns)
                << line;
    const auto lines = screenOf(stateOf(tracks), {80, 0, true});
    EXPECT_THAT(lines, testing::Contains(HasSubstr("\033[1;31mrising\033[0m")));
    EXPECT_THAT(lines, testing::Contains(testing::AllOf(HasSubstr("1,000"), HasSubstr(" █"))));
    EXPECT_THAT(lines, testing::Not(testing::Contains(HasSubstr("lost words"))));
    const auto beginning = [](const char* name, const char* value) {
        return testing::AllOf(testing::StartsWith(name), testing::EndsWith(value));
    };
    const auto low = screenOf(stateOf(tracks), {80, 8});
    ASSERT_EQ(low.size(), 8u);
    EXPECT_THAT(low[6], beginning("receive errors", " 3"));
    EXPECT_EQ(low[7], "(+1 counter on a larger terminal)");
    EXPECT_THAT(
        screenOf(stateOf(tracks), {33, 9}),
        testing::IsSupersetOf({beginning("SINCE START", " 4/1"), beginning("(+1 port on", "terminal)")}));
    EXPECT_THAT(screenOf(stateOf(tracks), {22, 12}), testing::Contains(HasSubstr(" rising")));
    PortTracks silent(1);
    silent.add({{{0, 0}, reading(0, {})}});
    EXPECT_THAT(screenOf(stateOf(silent), {80, 4}).back(), testing::StartsWith("0/0 "));
    EXPECT_EQ(screenOf(stateOf(tracks), {80, 3}).back(), "(+2 ports, +2 counters on a larger terminal)");
    EXPECT_THAT(
        screenOf(stateOf(tracks), {30, 0}),
        testing::IsSupersetOf({beginning("SINCE START", " 0/0"), beginning("received packets", " 3,000"),
                               beginning("SINCE START", " 4/1"), beginning("receive errors", " 3")}));
}

TEST(SamplerTest, SeesFailedReadsBoardsThatGoAndLinks) {
    InstallationOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.virtualTime = true;
    const BoardAccess session(options, 0);
    const DynamicLibrary simulator(session.installation.library("orvo_hal"));
    const auto setPresent = simulator.require<decltype(::orvoSimSetBoardPresent)>("orvoSimSetBoardPresent");
    Sampler sampler(session, {.board = 0});
    simulator.require<decltype(::orvoSimOverrideRegister)>("orvoSimOverrideRegister")(0U, "GigeRecvPktCnt2",
                                                                                      -1, 0U, 1U);
    auto samples = sampler.take();
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(samples[2].sample[packets], std::nullopt);
    EXPECT_EQ(samples[1].sample[packets], 0u);

    setPresent(0, 0);
    samples = sampler.take();
    EXPECT_EQ(samples[1].sample[Counter::Present], 0u);
    EXPECT_EQ(samples[1].sample[packets], std::nullopt);
    setPresent(0, 1);
    EXPECT_EQ(sampler.take()[1].sample[packets], 0u);
    EXPECT_THAT(sampler.takeNews(),
                testing::ElementsAre("board 0 is gone; it is waited for", "board 0 is back"));

    simulator.require<decltype(::orvoSimSetPartner)>("orvoSimSetPartner")(0U, 1U, OrvoSimPartner100);
    simulator.require<decltype(::orvoSimSetIdleErrors)>("orvoSimSetIdleErrors")(0U, 0U, 5U);
    simulator.require<decltype(::orvoSimAdvanceTime)>("orvoSimAdvanceTime")(5'000'000U); // negotiation
    const auto board = Board::at(session.libraries, 0);
    auto mdio = MdioMaster::of(*board);
    const auto look = lookAtLink(*mdio, 0, {});
    EXPECT_EQ(look, (PhyLook{true, 1'000'000'000, 5}));
    EXPECT_EQ(lookAtLink(*mdio, 0, look), look);
    EXPECT_EQ(lookAtLink(*mdio, 1, {}), (PhyLook{true, 100'000'000, 0}));
}

TEST(WatchCommandTest, ShowsTrafficThatArrives) {
    const TemporaryFolder folder;
    std::vector<Frame> frames;
    for (unsigned number = 0; number < 50; ++number) frames.push_back(numberedFrame(number, 100));
    writeCapture(folder.file("in.pcap"), frames);
    const auto wire = "0=pcap:" + folder.file("in.pcap"), metrics = folder.file("orvo.prom");
    Process watch({"sh", "-c",
                   std::string("exec " ORVO_GIGE " watch --json --board 0 --interval 0.05 --wire ") + wire +
                       " --prometheus " + metrics + " >" + folder.file("out")});
    ASSERT_TRUE(watch.reaches([&] {
        return contentOf(metrics).find("received_packets_total{board=\"0\",port=\"0\"} 50\n") !=
               std::string::npos;
    }));
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait().exitCode, 0);
    const auto text = contentOf(folder.file("out"));
    const auto last = json::parse(text.substr(text.rfind('\n', text.size() - 2) + 1));
    ASSERT_EQ(last["ports"].size(), 4u);
    const auto& port = last["ports"][0];
    EXPECT_EQ(port["states"]["linkBitsPerSecond"], 1'000'000'000);
    EXPECT_EQ(port["counters"]["receivedPackets"]["sinceStart"], 50);
    EXPECT_EQ(port["counters"]["wireReceivedBytes"]["sinceStart"], 50 * 104);
    EXPECT_EQ(port["counters"]["receiveErrors"]["sinceStart"], 0);

    const auto twice =
        runTool({"watch", "--json", "--count", "2", "--interval", "0.05", "--link-interval", "0"});
    EXPECT_EQ(twice.exitCode, 0);
    EXPECT_EQ(std::ranges::count(twice.out, '\n'), 2);
    EXPECT_EQ(
        json::parse(twice.out.substr(0, twice.out.find('\n')))["ports"][1]["counters"]["receivedPackets"],
        json::parse(R"({"value":0,"sinceStart":0,"perSecond":null})"));
    EXPECT_THAT(runTool({"watch", "--count", "1"}).out,
                HasSubstr(" port 0/3 link up 1000 Mbit/s; received "));
    EXPECT_EQ(json::parse(runTool({"watch", "--list", "--json"}).out).size(), counterCount);
    expectRefusal({"watch", "--time", "virtual"}, 2, "live traffic keeps real time");
    expectRefusal({"watch", "--board", "9"}, 1, "there is no board 9; ");
    expectRefusal({"watch", "--prometheus", folder.file("")}, 1, "it is not a regular file");
}

} // namespace
} // namespace orvo::host
