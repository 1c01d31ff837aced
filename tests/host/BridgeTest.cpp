// SPDX-License-Identifier: MIT
// `orvo-gige bridge` on a live network.
#include "CameraFrames.h"
#include "NetworkTest.h"
#include "PipeReader.h"

#include "frames/Interface.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sys/socket.h>

#include <chrono>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

class BridgeTest : public NetworkTest {
protected:
    /// The arguments of a bridge that needs no reset of the board.
    std::vector<std::string> bridge(const std::vector<std::string>& options) const {
        std::vector<std::string> command = {"ip",     "netns",      "exec",   host,           ORVO_GIGE,
                                            "bridge", "--no-reset", "--wire", "0=packet:wire"};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }
};

std::uint64_t droppedFrames(const json& report, const std::string& reason) {
    for (const auto& entry : report["dropped"]["reasons"])
        if (entry["reason"].get<std::string>().find(reason) != std::string::npos) return entry["frames"];
    return 0;
}

TEST_F(BridgeTest, CarriesEveryFrameOrNamesWhyNot) {
    Process process(bridge({"--tap", "orvo0", "--address", "10.77.0.1/24", "--json"}));
    awaitLink("orvo0", process);
    awaitAnswer();
    for (const auto* size : {"0", "1", "17", "18", "19", "101", "1471", "1472", "9000"})
        expectAnswers(std::string("-c 3 -i 0.002 -s ") + size);
    expectAnswers("-f -c 5000");

    run("ip -n " + host + " link set orvo0 mtu 4000");
    EXPECT_THAT(onHost("ping -c 2 -W 0.1 -i 0.01 -M do -s 3000 10.77.0.2").out, HasSubstr(" 0 received"));
    run("ip -n " + host + " link set orvo0 down");
    run("ip netns exec " + camera + " ping -c 2 -W 0.1 -i 0.01 10.77.0.1");
    run("ip -n " + host + " link set orvo0 up");
    expectAnswers("-c 2 -i 0.002");
    run("ip -n " + host + " link delete orvo0");
    run("ip netns exec " + camera + " ping -c 2 -W 0.1 -i 0.01 10.77.0.1");
    run("ip -n " + host + " tuntap add orvo0 mode tap");
    awaitLink("orvo0", process);
    awaitAnswer();

    process.signal(SIGTERM);
    const auto outcome = process.wait();
    EXPECT_EQ(outcome.exitCode, 0);
    const auto report = json::parse(outcome.out);
    const auto statistics = report["statistics"][0];
    const std::uint64_t handed = report["toPort"]["frames"], delivered = report["toTap"]["frames"];
    const auto down = droppedFrames(report, "from the port: TAP down");
    const auto gone = droppedFrames(report, "from the port: TAP gone");
    EXPECT_EQ(droppedFrames(report, "longer than 1514 bytes"), 2u);
    EXPECT_GE(down, 1u);
    EXPECT_GE(gone, 1u);
    EXPECT_EQ(statistics["sent"]["frames"], handed);
    EXPECT_EQ(statistics["received"]["frames"], delivered + down + gone);
    for (const auto* news :
         {"TAP 'orvo0' is down", "TAP 'orvo0' is up again", "TAP 'orvo0' is gone", "TAP 'orvo0' is back"})
        EXPECT_THAT(outcome.err, HasSubstr(news));
}

TEST_F(BridgeTest, NamesWhatIsLostBeyondThePortAndInTheTapsQueue) {
    onHost("ip address add 10.88.0.1/31 dev probe");
    const std::vector<std::string> options = {"--tap", "probe", "--address", "10.77.0.1/24", "--json"};
    {
        Process process(bridge(options));
        awaitLink("probe", process);
        awaitAnswer();
        onHost("ip link set wire down");
        process.says("'wire' is down");
        onHost("ping -q -c 5 -W 0.1 -i 0.01 10.77.0.2");
        onHost("ip link set wire up");
        awaitAnswer();
        process.signal(SIGSTOP); // and so the TAP's queue of 1000 frames fills
        onHost("ping -q -c 2500 -l 2500 -W 0.1 10.77.0.2");
        process.signal(SIGCONT);
        awaitAnswer();
        process.signal(SIGTERM);
        const auto report = json::parse(process.wait().out);
        EXPECT_GE(droppedFrames(report, "from the TAP: port had no link or wire was busy"), 5u);
        EXPECT_GE(droppedFrames(report, "from the host: TAP queue full"), 1000u);
        const auto addresses = onHost("ip -br -4 address show dev probe").out;
        EXPECT_THAT(addresses, HasSubstr("10.88.0.1/31"));
        EXPECT_THAT(addresses, testing::Not(HasSubstr("10.77.0.1"))) << "what was added goes again";
    }
    Process process(bridge(options)); // the TAP's own count is not 0 now; that of the next one is
    awaitLink("probe", process);
    onHost("ip link delete probe");
    onHost("ip tuntap add probe mode tap");
    awaitLink("probe", process);
    process.signal(SIGTERM);
    EXPECT_EQ(droppedFrames(json::parse(process.wait().out), "from the host: TAP queue full"), 0u);
}

TEST_F(BridgeTest, AccountsForEveryFaultAmongTheSegmentsOfJoinedFrames) {
    const TemporaryFolder folder;
    std::string script;
    for (const std::string kind : {"fcs-flip", "loss", "duplicate", "reorder", "bit-error"})
        for (const std::string direction : {"sent", "received"})
            script += fault(kind, "direction = '" + direction + "'\nevery = 701");
    const auto faults = writeFaults(folder, script + fault("overflow", "every = 701"));
    for (const auto* offload : {"--up", "--no-offload"}) { // the first changes nothing here
        Process process(
            bridge({"--tap", "orvo0", "--address", "10.77.0.1/24", "--json", offload, "--faults", faults}));
        awaitLink("orvo0", process);
        const Process server({"ip", "netns", "exec", camera, "python3", ORVO_HTTP_BODIES, "serve", "3"});
        const auto moved =
            onHost("env ORVO_LAB_CAMERA_ADDRESS=10.77.0.2 python3 " ORVO_HTTP_BODIES " move 3");
        EXPECT_THAT(moved.out, HasSubstr("identical")) << moved.err;
        process.signal(SIGTERM);
        const auto outcome = process.wait();
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_GT(json::parse(outcome.out)["toTap"]["frames"], 2000) << "each segment counts";
    }
}

// Frames that do not pass the filter come all the time, and not one pause of 100 ms between them.
TEST_F(BridgeTest, ACaptureShowsWhatPassesAndEndsWithItsReaderWhateverElseComes) {
    const TemporaryFolder folder;
    ReadingPipe pipe(folder.file("pipe"));
    run("ip -n " + camera + " neighbour add 10.77.0.1 lladdr 02:00:00:00:00:01 dev eth");
    Process capture(
        {"ip", "netns", "exec", host, "sh", "-c",
         R"(exec "$0" capture --no-reset --wire 0=packet:wire --filter 'greater 1000' --write - >"$1")",
         ORVO_GIGE, pipe.path()});
    const Process flood({"ip", "netns", "exec", camera, "ping", "-q", "-i", "0.001", "10.77.0.1"});
    capture.says("capturing at port");
    run("ip netns exec " + camera +
        " sh -c 'for i in ee ff; do ping -c 1 -W 0.1 -s 1002 -p $i 10.77.0.1 & done; wait'");
    for (const char pattern : {'\xee', '\xff'}) pipe.readUntil(std::string(900, pattern), capture);
    pipe.close();
    EXPECT_THAT(capture.wait().err, HasSubstr("because the reader closed the pipe"));
}

TEST_F(BridgeTest, AccountsForTheImagesAndTheCommandsThatPass) {
    const TemporaryFolder folder;
    const auto faults = writeFaults(folder, fault("overflow", "every = 101") +
                                                fault("loss", "direction = 'received'\nat = 30"));
    auto command = bridge({"--tap", "orvo0", "--address", "192.168.7.2/24", "--json", "--faults", faults});
    command.at(8) = "0=pcap:" + writeImages(folder.file("camera.pcap"), 100);
    Process process(command);
    awaitLink("orvo0", process);
    const auto arrived = [&] { return onHost("cat /sys/class/net/orvo0/statistics/rx_packets").out; };
    onHost("ip neighbour replace 192.168.7.1 lladdr 02:02:02:02:02:02 dev orvo0");
    onHost("bash -c 'printf \"\\x42\\x01\\x00\\x80\\x00\\x04\\x00\\x01\\x00\\x00\\x0d\\x00\" "
           ">/dev/udp/192.168.7.1/3956'");
    process.reaches([&] {
        process.signal(SIGUSR1); // a report so far
        return arrived() == "1188\n" && process.errors().find("control   192.168.7.2") != std::string::npos;
    });
    process.signal(SIGTERM);
    const auto outcome = process.wait();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    const auto account = json::parse(outcome.out)["gigeVision"];
    ASSERT_EQ(account["streams"].size(), 1u) << outcome.out;
    ASSERT_EQ(account["control"].size(), 1u) << outcome.out;
    const auto& stream = account["streams"][0];
    EXPECT_EQ(stream["packets"]["received"], 1188) << account;
    EXPECT_EQ(stream["packets"]["missing"], 12);
    EXPECT_EQ(stream["images"]["complete"], 88);
    EXPECT_EQ(account["control"][0]["commands"], 1);
    EXPECT_EQ(account["losses"]["places"],
              (json{{{"where", "in the port's receive queue"}, {"frames", 11}}}));
    EXPECT_THAT(account["losses"]["conclusion"].get<std::string>(), HasSubstr(", 1 before the port"));
}

TEST_F(BridgeTest, EndsSoonOnASignalAndTakesItsTapAlongUnlessItWasReadyMade) {
    for (const auto* tap : {"orvo0", "probe"})
        for (const int number : {SIGINT, SIGTERM}) {
            SCOPED_TRACE(std::string(tap) + " " + strsignal(number));
            Process process(bridge({"--tap", tap, "--up"}));
            awaitLink(tap, process);
            process.signal(number);
            const auto begin = std::chrono::steady_clock::now();
            const auto outcome = process.wait();
            EXPECT_EQ(outcome.exitCode, 0);
            EXPECT_THAT(outcome.err,
                        MatchesRegex("(orvo-gige: port 0/0 and [a-z0-9]+ are bridged[^\n]*\n)?"));
            EXPECT_LT(std::chrono::steady_clock::now() - begin,
                      std::chrono::seconds(5)); // 0.2 s, unless others compute
            EXPECT_EQ(onHost(std::string("ip link show dev ") + tap).exitCode == 0,
                      std::string(tap) == "probe");
        }
}

TEST_F(BridgeTest, ReleasesTheDeviceOnASignalAndNamesWhatIsLostMeanwhile) {
    const TemporaryFolder folder;
    const auto recording = folder.file("both.pcapng"), metrics = folder.file("metrics.prom");
    Process process(bridge({"--tap", "orvo0", "--address", "10.77.0.1/24", "--json", "--write", recording,
                            "--prometheus", metrics}));
    awaitLink("orvo0", process);
    awaitAnswer();
    process.says("are bridged");
    process.signal(SIGUSR1);
    process.says("to TAP    ");

    process.signal(SIGUSR2);
    process.says("is released");
    onHost("ping -q -c 7 -W 0.1 -i 0.01 10.77.0.2");
    run("ip -n " + camera + " neighbour replace 10.77.0.1 lladdr 02:00:00:00:00:01 dev eth");
    run("ip netns exec " + camera + " ping -q -c 5 -W 0.1 -i 0.01 10.77.0.1");
    process.signal(SIGUSR2);
    process.says("is open again");
    run("ip -n " + camera + " neighbour delete 10.77.0.1 dev eth");
    expectAnswers("-c 3 -i 0.002");

    process.signal(SIGUSR2); // it ends as soon while the device is released
    process.reaches(
        [&] { return process.errors().find("is released") != process.errors().rfind("is released"); });
    process.signal(SIGTERM);
    const auto outcome = process.wait();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    const auto report = json::parse(outcome.out);
    EXPECT_GE(droppedFrames(report, "from the TAP: device was released"), 7u);
    EXPECT_GE(droppedFrames(report, "from the wire: device was released"), 5u);
    EXPECT_THAT(outcome.err,
                MatchesRegex(
                    "(.|\n)*lost meanwhile: [0-9]+ frames from the TAP, [0-9]+ frames from the wire(.|\n)*"));

    const std::uint64_t sent = report["toPort"]["frames"], received = report["toTap"]["frames"];
    EXPECT_EQ(report["recording"]["omitted"], 0);
    EXPECT_EQ(report["recording"]["frames"], sent + received);
    EXPECT_EQ(framesOf(recording).size(), sent + received);
    EXPECT_THAT(contentOf(recording), AllOf(HasSubstr("to port 0/0"), HasSubstr("from port 0/0")));
    EXPECT_THAT(contentOf(metrics),
                HasSubstr("orvo_gige_bridge_frames_total{board=\"0\",port=\"0\",direction=\"to_port\"} " +
                          std::to_string(sent) + "\n"));
}

TEST_F(BridgeTest, RefusesBadInputInOneLine) {
    run("ip -n " + host + " tuntap add tunnel mode tun");
    Process other(bridge({"--tap", "busy", "--up"}));
    awaitLink("busy", other);
    const struct {
        std::vector<std::string> options;
        int exitCode;
        std::string complaint;
    } cases[] = {
        {{}, 2, "--tap is required"},
        {{"--tap", "sixteen-letters-"}, 2, "has at most 15"},
        {{"--tap", "a/b"}, 2, "cannot be called 'a/b'"},
        {{"--tap", "wire"}, 1, "'wire' is an interface of another kind"},
        {{"--tap", "tunnel"}, 1, "'tunnel' is an interface of another kind"},
        {{"--tap", "busy"}, 1, "'busy' is in use by another program"},
        {{"--tap", "orvo0", "--address", "10.0.0.1"}, 2, "'10.0.0.1' is not of the form ADDRESS/PREFIX"},
        {{"--tap", "orvo0", "--wire", "0=packet:orvo0"}, 2, "leads back to the bridge's own TAP"},
        {{"--tap", "orvo0", "--wire", "1=tap:orvo0"}, 2, "'tap:orvo0' would be the TAP of the bridge itself"},
        {{"--tap", "orvo0", "--port", "9"}, 1, "there is no port 9 on board 0"},
        {{"--tap", "orvo0", "--write", "/no/such/folder/file"}, 1, "'/no/such/folder/file'"},
        {{"--tap", "orvo0", "--prometheus", "/no/such/folder/file"}, 1, "'/no/such/folder/file'"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        const auto outcome = Process(bridge(row.options)).wait();
        EXPECT_EQ(outcome.exitCode, row.exitCode);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, MatchesRegex("orvo-gige: [^\n]*\n"));
        EXPECT_THAT(outcome.err, HasSubstr(row.complaint));
    }
    other.signal(SIGTERM);
    other.wait();
}

TEST(NetworkAddressTest, ReadsBothFamiliesAndRefusesTheRest) {
    const struct {
        const char* text;
        int family; // 0: refused
        unsigned prefixBits;
    } cases[] = {
        {"192.168.7.1/24", AF_INET, 24}, {"0.0.0.0/0", AF_INET, 0},
        {"fd00::1/64", AF_INET6, 64},    {"::1/128", AF_INET6, 128},
        {"192.168.7.1", 0, 0},           {"192.168.7.1/33", 0, 0},
        {"192.168.7/24", 0, 0},          {"192.168.7.1/24x", 0, 0},
        {"fd00::1/129", 0, 0},           {"/24", 0, 0},
        {"192.168.7.1/-1", 0, 0},        {"host/24", 0, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        const auto address = NetworkAddress::parse(row.text);
        EXPECT_EQ(address ? address->family : 0, row.family);
        EXPECT_EQ(address ? address->prefixBits : 0, row.prefixBits);
    }
    using Bytes = std::array<std::uint8_t, 4>;
    EXPECT_EQ(NetworkAddress::parse("10.1.2.3/22")->broadcast(), (Bytes{10, 1, 3, 255}));
    EXPECT_EQ(NetworkAddress::parse("10.1.2.3/0")->broadcast(), (Bytes{255, 255, 255, 255}));
    for (const auto* text : {"10.1.2.3/31", "10.1.2.3/32", "fd00::1/64"})
        EXPECT_FALSE(NetworkAddress::parse(text)->broadcast()) << text;
}

} // namespace
} // namespace orvo::host
