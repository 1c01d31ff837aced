// SPDX-License-Identifier: MIT
// Watching of ports: histories of readings, the forms in which they are shown, and `orvo-gige watch` itself.
#include "CameraFrames.h"
#include "Process.h"

#include "device/BoardAccess.h"
#include "inspect/watch/LinkPoller.h"
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

TEST(PortHistoryTest, CountsAcrossWrapsResetsFailedReadsAndOtherBoards) {
    PortHistory history({0, 0}, 4);
    const struct {
        Sample sample;
        std::optional<std::uint64_t> sinceStart;
        std::optional<double> perSecond;
    } steps[] = {
        {reading(0, {}), {}, {}}, {reading(1, wrap - 10), 0, {}}, {reading(2, 20), 30, 30}, // wrapped around
        {reading(3, {}), 30, {}},                              // a failed read is not 0
        {reading(5, 80), 90, 20},                              // and what came in between is not lost
        {reading(6, 7), 97, 7},                                // reset: a wrap would be too far for a second
        {reading(6.5, 7), 97, 0}, {reading(7, 500, 2), 0, {}}, // another board
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.sample.seconds);
        history.add(step.sample);
        const auto& figure = history.of(packets);
        EXPECT_EQ(figure.value, step.sample[packets]);
        EXPECT_EQ(figure.sinceStart, step.sinceStart);
        EXPECT_EQ(figure.perSecond, step.perSecond);
        EXPECT_EQ(figure.hasRisen, step.perSecond.value_or(0) > 0);
    }
    EXPECT_EQ(history.series(packets), (PortHistory::Series{20., 7., 0., std::nullopt}));
}

/// Two ports; of the second, only the receive errors are known, and they have risen.
PortHistories someHistories() {
    PortHistories histories(60);
    for (const std::uint64_t count : {0U, 3U}) {
        auto first = reading(static_cast<double>(count), 1000 * count);
        first[Counter::Present] = first[Counter::LinkUp] = 1;
        auto second = reading(static_cast<double>(count), {});
        second[errors] = (wrap - 1 + count) % wrap;
        histories.add({{{0, 0}, first}, {{4, 1}, second}});
    }
    return histories;
}

WatchState stateOf(const PortHistories& histories) {
    return {
        histories.all(), std::chrono::system_clock::time_point(std::chrono::milliseconds(1500)), 3, 3, {}};
}

TEST(PrometheusTextTest, IsInTheExpositionFormat) {
    const auto histories = someHistories();
    const auto text = prometheusTextOf(stateOf(histories));
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
    writeFile(folder.file("metrics"), prometheusTextOf(stateOf(someHistories())));
    const auto check = Process({"sh", "-c", "promtool check metrics <" + folder.file("metrics")}).wait();
    EXPECT_EQ(check.exitCode, 0) << check.out << check.err;
}

TEST(ScreenTest, FitsAndColoursWhatRises) {
    const auto histories = someHistories();
    for (const std::size_t columns : {1U, 30U, 80U, 200U})
        for (const auto& line : screenOf(stateOf(histories), {columns, 12}))
            EXPECT_LE(std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; }), columns)
                << line;
    const auto lines = screenOf(stateOf(histories), {80, 0, true});
    EXPECT_THAT(lines, testing::Contains(HasSubstr("\033[1;31mrising\033[0m")));
    EXPECT_THAT(lines, testing::Contains(testing::AllOf(HasSubstr("1,000"), HasSubstr(" █"))));
    EXPECT_THAT(lines, testing::Not(testing::Contains(HasSubstr("lost words"))));
    const auto row = [](const char* name, const char* value) {
        return testing::AllOf(testing::StartsWith(name), testing::EndsWith(value));
    };
    using testing::ElementsAre, testing::StartsWith;
    const auto title = StartsWith("orvo-gige: 2 ports"), heading = StartsWith("PORT ");
    EXPECT_THAT(screenOf(stateOf(histories), {80, 0}),
                ElementsAre(title, heading, row("4/1 ", "rising"), row("0/0 ", "none"),
                            row("SINCE START", " 4/1          0/0"), row("receive errors", " 3            -"),
                            row("received packets", " -        3,000")));
    EXPECT_THAT(screenOf(stateOf(histories), {80, 6}),
                ElementsAre(title, heading, row("4/1 ", "rising"), row("0/0 ", "none"),
                            StartsWith("SINCE START"), "+2 more lines on a larger terminal"));
    EXPECT_THAT(screenOf(stateOf(histories), {30, 0}), // no room for two ports beside each other
                testing::IsSupersetOf({row("4/1 ", " rising"), row("SINCE START", " 4/1"),
                                       row("receive errors", " 3"), row("SINCE START", " 0/0"),
                                       row("received packets", " 3,000")}));
    auto state = stateOf(histories);
    state.streams = {{.port = {4, 1},
                      .ends = {.camera = 0xC0A8'6465, .host = 0, .port = 0},
                      .imagesPerSecond = 1234.5,
                      .complete = 9'999'999'999,
                      .incomplete = 999'999'999,
                      .missingPackets = 999'999'999'999,
                      .hasRisen = true}};
    state.streams.push_back(state.streams[0]); // another client's
    state.streams[0].silentSeconds = 60;
    const std::string all = "4/1   192.168.100.101    1234.5  9,999,999,999    999,999,999  999,999,999,999";
    EXPECT_THAT(screenOf(state, {80, 6}),
                ElementsAre(title, heading, row("4/1 ", "rising"), row("0/0 ", "none"),
                            row("STREAM FROM", "PACKETS MISSING"),
                            StartsWith("+4 more"))); // with one of the two
    state.streams.insert(state.streams.begin(), {.port = {0, 0}, .ends = {.camera = 1}});
    EXPECT_EQ(screenOf(state, {80, 7}).at(5), all) << "losses come first";
    state.streams.erase(state.streams.begin());
    EXPECT_THAT(screenOf(state, {80, 0}), testing::Contains(all));
    state.news = {"board 1 is there"};
    EXPECT_THAT(screenOf(state, {16, 3}),
                ElementsAre("orvo-gige: 2 por", "board 1 is there", StartsWith("+11 more")));
}

TEST(StreamHistoriesTest, HaveTheLatestRateOfImagesAndFallWithoutAny) {
    StreamHistories histories;
    const auto rateAfter = [&](double seconds, std::uint64_t begun, StreamTime lastBegin) {
        StreamsReport report;
        report.streams.resize(1);
        auto& figures = report.streams[0].figures;
        figures.begun = begun;
        figures.lastBegin = lastBegin;
        histories.add({0, 0}, report, seconds);
        return histories.all().at(0).imagesPerSecond;
    };
    EXPECT_EQ(rateAfter(1, 11, 500'000'000), 22 * 10 / 11.); // from the first one, at 0
    EXPECT_EQ(rateAfter(2, 31, 1'500'000'000), 20);
    EXPECT_EQ(rateAfter(2.01, 31, 1'500'000'000), 20);
    EXPECT_EQ(rateAfter(4, 31, 1'500'000'000), 0.5);
    EXPECT_EQ(rateAfter(5, 32, 5'500'000'000), 0.25);
    histories.add({0, 1}, {}, 6);
    EXPECT_EQ(histories.all().size(), 1U);
    histories.add({0, 0}, {}, 6); // given up
    EXPECT_TRUE(histories.all().empty());
}

TEST(SamplerTest, SeesFailedReadsBoardsThatGoAndLinks) {
    BoardOptions options;
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
    auto mdio = MdioMaster::at(session.libraries, 0);
    const auto look = readLink(*mdio, 0, {});
    EXPECT_EQ(look, (LinkReading{true, 1'000'000'000, 5}));
    EXPECT_EQ(readLink(*mdio, 0, look), look);
    EXPECT_EQ(readLink(*mdio, 1, {}), (LinkReading{true, 100'000'000, 0}));
}

TEST(WatchCommandTest, ShowsTrafficThatArrives) {
    const TemporaryFolder folder;
    std::vector<Frame> frames;
    for (unsigned number = 0; number < 50; ++number) frames.push_back(numberedFrame(number, 100));
    writeCapture(folder.file("in.pcap"), frames);
    const auto wires =
        "0=pcap:" + folder.file("in.pcap") + " --wire 1=pcap:" + writeImages(folder.file("images.pcap"), 5);
    const auto metrics = folder.file("orvo.prom");
    Process watch({"sh", "-c",
                   std::string("exec " ORVO_GIGE " watch --json --board 0 --interval 0.05 --wire ") + wires +
                       " --prometheus " + metrics + " >" + folder.file("out")});
    ASSERT_TRUE(watch.reaches([&] {
        return contentOf(metrics).find("received_packets_total{board=\"0\",port=\"0\"} 50\n") !=
                   std::string::npos &&
               contentOf(folder.file("out")).find("\"complete\":5,") != std::string::npos;
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
    EXPECT_TRUE(port["streams"].empty());
    auto stream = last["ports"][1]["streams"].at(0);
    stream.erase("imagesPerSecond");
    EXPECT_EQ(stream, json::parse(R"({"camera": "192.168.7.1", "host": "192.168.7.2", "port": 4000,
                                      "complete": 5, "incomplete": 0, "missingPackets": 0})"));

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
    expectRefusal({"watch", "--prometheus", folder.file("")}, 1, "it is not a regular file");
}

} // namespace
} // namespace orvo::host
