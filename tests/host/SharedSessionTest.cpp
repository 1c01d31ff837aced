// SPDX-License-Identifier: MIT
// Many programs at one board of a server at the same time: each sees what the others do, and the bridge,
// which carries pings meanwhile, loses none. One of them listens at the bridge's cable.
#include "NetworkTest.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using Words = std::vector<std::string>;

class SharedSessionTest : public NetworkTest {
protected:
    Process start(const Words& arguments) const {
        Words command = {"ip", "netns", "exec", host, ORVO_GIGE};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return Process(command, {"ORVO_BOARD=" + socket});
    }
    void tool(const Words& arguments) const {
        const auto outcome = start(arguments).wait();
        EXPECT_EQ(outcome.exitCode, 0) << testing::PrintToString(arguments) << outcome.err;
    }
    static json lastLine(const Process& program) {
        auto text = program.output();
        text.erase(std::min(text.rfind('\n'), text.size()));
        return json::parse(text.substr(text.rfind('\n') + 1), nullptr, false);
    }
    /// Until the latest reading of a port shows a value at this place.
    static void awaitReading(Process& watch, unsigned port, const char* place, const json& value) {
        const json::json_pointer where(place);
        EXPECT_TRUE(watch.reaches([&] {
            const auto reading = lastLine(watch);
            return reading.is_object() && reading["ports"][port].value(where, json()) == value;
        })) << port
            << place << lastLine(watch);
    }
    static bool isPing(const std::string& frame) {
        return frame.size() > 23 && frame.substr(12, 2) == std::string("\x08\0", 2) && frame[23] == 1;
    }
    /// What port 0/1 sends arrives at 0/2, where another program takes it.
    void sendCapture() const {
        tool({"replay", ORVO_TEST_DATA "/mixed-lan.pcap", "--port", "1", "--receive", "0/1", "--no-reset",
              "--pace", "2000"});
    }

    const TemporaryFolder folder;
    const std::string socket = folder.file("sock");
};

TEST_F(SharedSessionTest, ProgramsSeeWhatTheOthersDoAndNoPingIsLost) {
    constexpr unsigned frames = 347; // in the capture, all of them fit to be sent
    auto server = start({"simulate", "--name", socket, "--wire", "0=packet:wire", "--wire", "1=port:0/2"});
    server.says("ready");
    auto bridge = start({"bridge", "--no-reset", "--tap", "gige0", "--address", "10.77.0.1/24", "--json"});
    awaitLink("gige0", bridge);
    awaitAnswer();
    auto wire = start({"capture", "--at", "wire", "--write", folder.file("wire.pcapng"), "--json"});
    wire.says("at the wire");
    auto watch = start({"watch", "--json", "--interval", "0.1", "--link-interval", "0"});
    auto diagnosis = start({"diagnose", "--port", "3", "--json"});
    auto capture = start({"capture", "--port", "2", "--no-reset", "--write", folder.file("seen.pcapng")});
    capture.says("capturing");
    auto events = start({"events", "--port", "1", "--no-reset", "--count", "1", "--json"});
    events.says("waiting");

    sendCapture();
    tool({"sim", "action", "0/1", "7"});
    awaitReading(watch, 2, "/counters/receivedPackets/sinceStart", frames);
    EXPECT_EQ(json::parse(events.wait().out)["count"], 7);
    expectAnswers("-c 200 -i 0.005");

    tool({"sim", "faults", writeFaults(folder, fault("fcs-flip", "port = 1\nevery = 10"))});
    sendCapture();
    awaitReading(watch, 2, "/counters/receiveErrors/sinceStart", frames / 10);
    expectAnswers("-c 100 -i 0.005");
    tool({"sim", "faults", "off"});

    const auto found = diagnosis.wait();
    EXPECT_EQ(found.exitCode, 0) << found.err;
    EXPECT_TRUE(json::parse(found.out)["healthy"]) << found.out;

    // Only now, since two programs that use the MDIO bus at once disturb each other.
    auto links = start({"watch", "--json", "--interval", "0.1", "--link-interval", "0.1"});
    tool({"sim", "unplug", "0/0"});
    awaitReading(links, 0, "/link", "down");
    EXPECT_THAT(onHost("ping -q -c 2 -W 0.2 -i 0.1 10.77.0.2").out, testing::HasSubstr(" 0 received"));
    tool({"sim", "plug", "0/0"});
    awaitReading(links, 0, "/link", "up");
    awaitAnswer();
    expectAnswers("-c 100 -i 0.005");

    for (auto* const program : {&wire, &capture, &watch, &links, &bridge, &server}) {
        program->signal(SIGTERM);
        EXPECT_EQ(program->wait().exitCode, 0) << program->errors();
    }
    EXPECT_EQ(framesOf(folder.file("seen.pcapng")).size(), 2 * frames - frames / 10);
    const auto atWire = framesOf(folder.file("wire.pcapng"));
    EXPECT_GE(std::ranges::count_if(atWire, isPing), 2 * (200 + 100 + 100)) << "requests and replies";
    const auto report = json::parse(wire.output());
    EXPECT_EQ(report["missed"], (json{{"received", 0}, {"sent", 0}}));
    EXPECT_EQ(report["received"]["frames"].get<unsigned>() + report["sent"]["frames"].get<unsigned>(),
              atWire.size());
    EXPECT_GT(report["died"]["frames"], 0) << "while the plug was pulled";
}

} // namespace
} // namespace orvo::host
