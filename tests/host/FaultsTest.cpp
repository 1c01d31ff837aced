// SPDX-License-Identifier: MIT
// Faults by script through the host program: the ledger, the account of every frame, and the same run again.
#include "Process.h"

#include "device/BoardAccess.h"
#include "device/Port.h"
#include "inspect/faults/FaultWatch.h"

#include <boost/make_shared.hpp>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <thread>

namespace orvo::host {
namespace {

using namespace testing_support;
using Json = nlohmann::ordered_json;
using testing::HasSubstr;

const std::string mixedLan = ORVO_TEST_DATA "/mixed-lan.pcap";
const std::string everyKind = ORVO_FAULT_EXAMPLE;

class FaultsTest : public testing::Test {
protected:
    /// Replays with a script. Without the board's reset, unless `more` says something of it.
    Outcome replay(const std::string& script, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{
            "replay", mixedLan, "--time", "virtual", "--no-reset", "--faults", writeFaults(folder, script)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runTool(arguments);
    }
    TemporaryFolder folder;
};

TEST_F(FaultsTest, EveryKindHappensAndEveryFrameIsAccountedFor) {
    std::string bytes;
    for (const char* seed : {"7", "7", "8"}) {
        const auto written = folder.file("out.pcapng");
        const auto outcome = runTool({"replay", mixedLan, "--loop", "4", "--time", "virtual", "--write",
                                      written, "--faults", everyKind, "--seed", seed, "--json"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_THAT(outcome.err, testing::Not(HasSubstr("DIFFERENT")));
        const auto ledger = Json::parse(outcome.out)["faults"];
        EXPECT_EQ(ledger["passed"], true);
        for (const auto& entry : ledger["injected"]) EXPECT_GT(entry["times"], 0) << entry;
        for (const auto& entry : ledger["moved"]) EXPECT_GT(entry["moved"], 0) << entry;
        EXPECT_EQ(ledger["conserved"].size(), 5U + 5U) << "kinds with a count of their own, and frames";
        for (const auto& entry : ledger["conserved"]) EXPECT_EQ(entry["holds"], true) << entry;
        const bool isAgain = std::string(seed) == "7" && !bytes.empty();
        EXPECT_EQ(contentOf(written) == bytes, isAgain) << "seed " << seed;
        bytes = contentOf(written);
    }
}

TEST_F(FaultsTest, OneFaultOfAKindMovesItsCounterByOne) {
    std::string script;
    unsigned at = 10;
    for (const char* kind : {"fcs-flip", "bit-error", "runt", "giant", "reorder", "overflow", "read-failed",
                             "size-zero", "size-wild", "size-long", "size-short", "end-missing", "read-short",
                             "read-torn", "read-long", "busy-ff", "busy-stuck", "action-storm", "link-flap"})
        script += fault(kind, "at = " + std::to_string(at += 15));
    const auto outcome = replay(script);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    for (const char* line :
         {"reaches (0/0): 4\n", "late (0/0): 1\n", "FiFoOverflow_GigeTransceiver (0/0): 1\n",
          "UIQ read errors (0/0): 1\n", "busy\" (0/0): 1\n",
          "zerosize transmissions: 1 injected = 1 counted\n", "transmission sizes: 4 injected = 4 counted\n",
          "invalid EOTs: 3 injected = 3 counted\n", "OHalRegisterRead\": 1 injected = 1 counted\n",
          "detected\": 100 injected = 100 counted\n",
          "link went down (0/0): 2\n"}) // also when the wire was plugged in anew for the script
        EXPECT_THAT(outcome.err, HasSubstr(line));
}

TEST_F(FaultsTest, PrintsLedgerAndReportAtTheEnd) {
    const auto outcome = replay(fault("loss", "at = 3") + fault("fcs-flip", "every = 100\nport = 1"),
                                {"--wire", "0=port:0/1"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("received  346 frames"));
    EXPECT_EQ(outcome.err, "faults    " + folder.file("faults.toml") +
                               ", seed 0\n"
                               "          LINE  FAULT     WHERE     INJECTED\n"
                               "          2     loss      0/0 sent  1\n"
                               "          5     fcs-flip  0/1 sent  never happened\n"
                               "moved     GigeRecvErrCnt of the port that the frame reaches (0/0): 0\n"
                               "conserved 0/0 plug-in: 347 sent = 347 put on the wire\n"
                               "          0/0 sent: 347 handed over = 347 put on the wire\n"
                               "          0/0 wire: 347 left = 346 arrived at 0/1 + 1 lost\n"
                               "          0/1 received: 346 arrived = 346 delivered\n"
                               "          0/1 host: 346 delivered = 346 taken by the host\n");
    EXPECT_EQ(replay(fault("loss", "at = 3"), {"--verify"}).exitCode, 3) << "not all came back";
    EXPECT_EQ(replay("", {"--verify"}).exitCode, 0) << "nothing goes wrong, and the account is kept";
}

TEST_F(FaultsTest, AccountHoldsWhereFaultsMeet) {
    const std::string received = "\ndirection = 'received'", busy = "register = 'GigeTxTransferActive0'\n";
    const auto recorded = "0=pcap:" + mixedLan + "," + folder.file("sent.pcap");
    const std::tuple<std::string, const char*, std::vector<std::string>> cases[] = {
        // of a script, what the ledger says; more arguments
        {fault("runt", "every = 7") + fault("reorder", "every = 2" + received), "late (0/0): 124\n", {}},
        {fault("bit-error", "at = 347") + fault("reorder", "at = 346" + received), "late (0/0): 0\n", {}},
        {fault("reorder", "every = 2") + fault("reorder", "every = 3" + received), "late (0/0): 116\n", {}},
        {fault("reorder", "at = 9") + fault("loss", "from = 10\nto = 200"), "late (0/0): 0\n", {}},
        {fault("bit-error", "every = 2") + fault("bit-error", "every = 2" + received), "(0/0): 346\n", {}},
        {fault("busy-stuck", "at = 5") + fault("busy-ff", "every = 3") +
             fault("register-failed", busy + "every = 2"),
         "Transmitter still busy\" (0/0): 1\n",
         {}},
        {fault("action-storm", "every = 10\ntimes = 3\nreports = 20"),
         "detected\": 60 injected = 60 counted\n",
         {}},
        {fault("loss", "every = 12") + fault("duplicate", "every = 50"),
         "0/0 wire: 347 left + 6 doubled = 325 on the wire + 28 lost",
         {"--wire", recorded}},
    };
    for (const auto& [script, line, more] : cases) {
        const auto outcome = replay(script, more);
        EXPECT_EQ(outcome.exitCode, 0) << script << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(line));
    }
}

TEST_F(FaultsTest, FailuresDoNotHideFaults) {
    const auto script = writeFaults(folder, fault("reset-endless"));
    const auto cut = runTool({"replay", mixedLan, "--time", "virtual", "--faults", script});
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_THAT(cut.err, HasSubstr("reset-endless  0/0    1\norvo-gige: port 0/0 has no link"));
    const auto root = std::filesystem::path(folder.file("root"));
    std::filesystem::create_directory(root);
    std::filesystem::copy(std::filesystem::path(ORVO_BUILD_ROOT) / "lib64", root / "lib64",
                          std::filesystem::copy_options::recursive);
    std::filesystem::remove(root / "lib64/libcommon-logging-dispatcher.so");
    expectRefusal({"replay", mixedLan, "--root", root, "--faults", script}, 1,
                  "--faults needs the plug-in's messages");
    std::filesystem::copy_file(ORVO_STUB_ENDING, root / "lib64/libcommon-logging-dispatcher.so");
    expectRefusal({"replay", mixedLan, "--root", root, "--no-reset"}, 1,
                  "dispatcher.so' has no function 'logging_dispatcher_descriptor'");
}

TEST_F(FaultsTest, OtherCommandsKeepTheLedgerToo) {
    const auto both =
        writeFaults(folder, fault("mdio-failed", "every = 3") + fault("reset-endless", "port = 1"));
    for (const char* command : {"reset", "diagnose"}) {
        const auto outcome =
            runTool({command, "--port", "1", "--time", "virtual", "--json", "--faults", both});
        const auto ledger = Json::parse(outcome.out)["faults"];
        EXPECT_EQ(ledger["passed"], true) << outcome.err;
        EXPECT_EQ(ledger["moved"][0]["moved"], command == std::string("reset") ? 1 : 0);
    }
    const auto outcome = runTool({"capture", "--write", folder.file("out.pcapng"), "--no-reset", "--wire",
                                  "0=pcap:" + mixedLan, "--count", "313", "--faults",
                                  writeFaults(folder, fault("end-missing", "every = 10"))});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("invalid EOTs: 34 injected = 34 counted\n"));
    EXPECT_EQ(framesOf(folder.file("out.pcapng")).size(), 313U);
}

TEST_F(FaultsTest, BadScriptsAreRefusedInOneLineBeforeAnythingHappens) {
    const auto script = writeFaults(folder, fault("loss", "port = 9")), output = folder.file("out.pcapng");
    writeFile(output, "precious");
    expectRefusal({"replay", mixedLan, "--write", output, "--faults", script}, 1,
                  script + ":3: 'port' in [[fault]]");
    expectRefusal({"reset", "--faults", folder.file("none")}, 1, "none: cannot be read: No such file");
    expectRefusal({"capture", "--write", output, "--seed", "3"}, 2, "--seed requires --faults");
    expectRefusal({"replay", mixedLan, "--faults", script, "--seed", "-1"}, 2, "--seed");
    EXPECT_EQ(contentOf(output), "precious");
}

/// What the environment says, for a long run; else the number for everyday.
std::uint64_t numberFrom(const char* variable, std::uint64_t everyday) {
    const char* const text = std::getenv(variable);
    return text ? std::strtoull(text, nullptr, 10) : everyday;
}

/// What one thread sends and another one receives at a port.
class Exchange {
public:
    explicit Exchange(Port& port)
        : port_(port), receiver_([this](const std::stop_token& stop) {
              while (!stop.stop_requested())
                  if (port_.interface().receive(nullptr)) ++received_;
          }) {}
    void send(unsigned frames) {
        for (unsigned number = 0; number < frames; ++number, ++handed_) {
            const auto frame = numberedFrame(number, 60 + number % 200 * 2);
            port_.interface().addToSendQueue(boost::make_shared<core::zume::EthernetFrame>(
                QByteArray(frame.data(), static_cast<int>(frame.size()))));
        }
    }
    HostCount finish() {
        receiver_.request_stop();
        receiver_.join();
        return {.port = port_.address(), .handed = handed_, .received = received_};
    }

private:
    Port& port_;
    std::uint64_t handed_ = 0, received_ = 0;
    std::jthread receiver_;
};

TEST_F(FaultsTest, FourPortsKeepTheirAccountsAcrossTheLimitOf32Bits) {
    std::string script;
    for (const char* port : {"port = 0", "port = 1", "port = 2", "port = 3"}) {
        const auto often = std::string(port) + "\nrate = 0.01\n";
        for (const char* kind : {"fcs-flip", "bit-error", "runt", "giant", "loss", "duplicate", "overflow",
                                 "size-zero", "size-wild", "size-long", "size-short", "end-missing",
                                 "read-short", "read-torn", "read-long", "busy-ff"})
            script += fault(kind, often);
        for (const char* kind : {"loss", "duplicate", "reorder"})
            script += fault(kind, often + "direction = 'received'");
        script += fault("read-failed", std::string(port) + "\nevery = 1000");
        script += fault("action-storm", std::string(port) + "\nevery = 1000");
    }
    script += fault("link-flap", "at = 2500\nfor_ms = 5") +
              fault("board-gone", "at = 4000\nfor_ms = 250\nport = 3");
    BoardOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.wires = {{"0", "port:0/1"}, {"2", "port:0/3"}};
    options.faults = writeFaults(folder, script);
    options.seed = numberFrom("ORVO_FAULT_SEED", 0);
    const DynamicLibrary simulator(Installation(options.root).library("orvo_hal"));
    const auto preset = simulator.require<decltype(::orvoSimPresetCounters)>("orvoSimPresetCounters");
    const std::vector<PortAddress> addresses{{0, 0}, {0, 1}, {0, 2}, {0, 3}};
    for (const auto port : addresses) preset(port.board, port.port, 0x1'0000'0000 - 1000);
    const BoardAccess session(options, 0);
    FaultWatch watch(session, options, addresses);
    Ports ports(session, addresses, false);
    ports.open();
    watch.begin();

    std::deque<Exchange> exchanges;
    for (const auto port : addresses) exchanges.emplace_back(ports.at(port));
    for (unsigned frames : {1500U, 4500U}) { // all ports pass the limit before the first one loses its link
        std::vector<std::jthread> senders;
        senders.reserve(exchanges.size());
        for (auto& exchange : exchanges) senders.emplace_back([&exchange, frames] { exchange.send(frames); });
    }
    watch.end();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (const auto port : addresses)
        while (session.simulator->account(port).leftFrames != 0 && std::chrono::steady_clock::now() < limit)
            std::this_thread::yield();
    std::vector<HostCount> counts;
    counts.reserve(exchanges.size());
    for (auto& exchange : exchanges) counts.push_back(exchange.finish());
    const auto ledger = watch.settle(ports.finish(), counts);
    EXPECT_TRUE(ledger->passed()) << ledgerText(*ledger);
    EXPECT_EQ(ledger->balances.size(), 4U * 5 + 4U * 5);
    for (const auto port : addresses) EXPECT_GT(session.simulator->state(port)->sentFrames, 0x1'0000'0000U);
}

TEST_F(FaultsTest, APairOfPortsKeepsItsAccountsForAsManyFramesAsAsked) {
    const auto frames = numberFrom("ORVO_CONSERVATION_FRAMES", 4000);
    const auto often =
        "rate = " + std::to_string(std::min<std::uint64_t>(1'000'000, 500'000'000'000 / frames)) + "e-9\n";
    BoardOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.wires = {{"0", "port:0/1"}};
    options.faults = writeFaults(folder, fault("loss", often) + fault("fcs-flip", often));
    const BoardAccess session(options, 0);
    FaultWatch watch(session, options, {{0, 0}, {0, 1}});
    Ports ports(session, {{0, 0}, {0, 1}}, false);
    ports.open();
    watch.begin();
    auto& sender = ports.at({0, 0}).interface();
    auto& receiver = ports.at({0, 1}).interface();
    const auto frame = boost::make_shared<core::zume::EthernetFrame>(QByteArray(60, 'x'));
    std::uint64_t handed = 0, received = 0;
    for (; handed < frames; ++handed) {
        sender.addToSendQueue(frame);
        if (receiver.receive(nullptr)) ++received;
    }
    watch.end();
    const auto ledger = watch.settle(
        ports.finish(), {{.port = {0, 0}, .handed = handed}, {.port = {0, 1}, .received = received}});
    EXPECT_TRUE(ledger->passed()) << ledgerText(*ledger);
    EXPECT_EQ(handed, frames);
    if (std::getenv("ORVO_CONSERVATION_FRAMES")) std::cout << ledgerText(*ledger);
}

TEST(LedgerTest, ShowsADifference) {
    Ledger ledger{"x.toml", 3, {}, {{"late", {0, 1}, 5}, {"busy", {0, 1}}}, {}};
    EXPECT_TRUE(ledger.passed());
    EXPECT_THAT(ledgerText(ledger),
                HasSubstr("moved     late (0/1): 5\n          busy (0/1): not seen here\n"));
    ledger.balances = {{"0/1 plug-in", {{"sent", 0}}, {{"left", 0}}, "Send"}};
    EXPECT_FALSE(ledger.passed()) << "the plug-in's count is missing";
    EXPECT_THAT(ledgerText(ledger), HasSubstr("0 left, DIFFERENT: the plug-in did not report 'Send'\n"));
    ledger.balances = {{"0/1 sent", {{"handed over", 10}}, {{"left", 7}, {"busy", 2}, {"late", 0}}}};
    EXPECT_FALSE(ledger.passed());
    EXPECT_THAT(ledgerText(ledger),
                HasSubstr("0/1 sent: 10 handed over = 7 left + 2 busy, DIFFERENT by -1\n"));
    EXPECT_EQ(ledgerJson(ledger)["conserved"][0]["holds"], false);
}

} // namespace
} // namespace orvo::host
