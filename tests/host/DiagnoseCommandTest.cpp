// SPDX-License-Identifier: MIT
// Diagnosis and reset of a port, in virtual time: states made on the simulated board, and what is said of
// them.
#include "Process.h"

#include "base/DynamicLibrary.h"
#include "device/BoardAccess.h"
#include "device/Installation.h"
#include "traffic/DiagnosisRun.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using namespace testing_support;
using Json = nlohmann::ordered_json;
using testing::HasSubstr;

TEST(DiagnoseCommandTest, TellsASickLinkFromAHealthyOne) {
    BoardOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.virtualTime = true;
    const BoardAccess session(options, 0);
    const DynamicLibrary simulator(session.installation.library("orvo_hal"));
    const auto setPartner = simulator.require<decltype(::orvoSimSetPartner)>("orvoSimSetPartner");
    const auto advance = simulator.require<decltype(::orvoSimAdvanceTime)>("orvoSimAdvanceTime");
    const auto overrideRegister =
        simulator.require<decltype(::orvoSimOverrideRegister)>("orvoSimOverrideRegister");
    const auto setIdleErrors = simulator.require<decltype(::orvoSimSetIdleErrors)>("orvoSimSetIdleErrors");
    setPartner(0, 1, OrvoSimPartnerDown);
    setPartner(0, 2, OrvoSimPartner100);
    advance(5'000'000); // negotiation
    // The first reading is the setup's; the statistics at the end get the value behind.
    for (const std::uint64_t reading : {7U, 7U, 19U}) overrideRegister(0, "GigeRecvErrCnt3", 0, reading, 1);
    setIdleErrors(0, 3, 255);

    const struct {
        std::vector<std::string> findings; // at least
        const char* link;                  // at least
    } ports[] = {
        {{}, R"({"up":true,"mbitPerSecond":1000,"duplex":"full","autoNegotiation":"complete"})"},
        {{"no link: nobody answers at the other end of the cable"}, R"({"up":false,"mbitPerSecond":0})"},
        {{"auto-negotiation complete, partner offers no 1000BASE-T: the link runs at 100 Mbit/s"},
         R"({"mbitPerSecond":100,"role":"none"})"},
        {{"receive errors are rising: frames arrive damaged and are dropped",
          "idle errors, more than the PHY can count: the signal is bad"},
         R"({"up":true,"receiveErrors":19})"},
    };
    Json diagnosis;
    for (unsigned port = 0; port < std::size(ports); ++port) {
        SCOPED_TRACE(port);
        diagnosis = diagnose(session, {}, {0, port}).document;
        EXPECT_EQ(diagnosis["healthy"], ports[port].findings.empty());
        std::vector<std::string> findings;
        for (const auto& finding : diagnosis["findings"]) findings.push_back(finding["finding"]);
        EXPECT_THAT(findings, testing::IsSupersetOf(ports[port].findings));
        auto link = diagnosis["link"];
        link.update(Json::parse(ports[port].link));
        EXPECT_EQ(diagnosis["link"], link);
    }
    for (const unsigned port : {1U, 2U}) setPartner(0, port, OrvoSimPartner1000); // as others expect them
    EXPECT_EQ(diagnosis["link"]["partner"][0], "1000BASE-T full duplex");
    EXPECT_EQ(diagnosis["counters"][1]["perSecond"], 12);
    EXPECT_EQ(diagnosis["phy"][0]["value"], "0x1140");
    EXPECT_EQ(diagnosis["phy"][0]["fields"][3],
              Json::parse(R"({"bits":"12","name":"auto-negotiation","value":1,"meaning":"on"})"));
}

TEST(DiagnoseCommandTest, ShowsTextJsonAndChanges) {
    const TemporaryFolder folder;
    const auto diagnosePort1 = [](std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), {"diagnose", "--time", "virtual", "--port", "1"});
        const auto outcome = runTool(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    };
    const auto machineText = diagnosePort1({"--json"});
    writeFile(folder.file("same.json"), machineText);
    auto document = Json::parse(machineText);
    document["link"]["mbitPerSecond"] = 100;
    document["board"].erase("name");
    document["findings"].push_back({{"severity", "fault"}, {"finding", "gone by now"}});
    writeFile(folder.file("old.json"), document.dump());

    const auto text = diagnosePort1();
    EXPECT_THAT(text,
                testing::StartsWith("port 0/1\nhealthy: no fault found\n\nlink\n  state             up\n"));
    EXPECT_THAT(text, HasSubstr("  speed             1000 Mbit/s, full duplex\n"));
    EXPECT_THAT(text, HasSubstr("         12  auto-negotiation = 1 (on)\n"));

    EXPECT_EQ(diagnosePort1({"--diff", folder.file("same.json")}),
              "nothing changed since " + folder.file("same.json") + "\n");
    EXPECT_EQ(diagnosePort1({"--diff", folder.file("old.json")}),
              "board.name: (none) -> Simulated GigE board\n"
              "findings.gone by now.finding: gone by now -> (none)\n"
              "findings.gone by now.severity: fault -> (none)\n"
              "link.mbitPerSecond: 100 -> 1000\n");
}

TEST(DiagnoseCommandTest, RefusesInOneLine) {
    const TemporaryFolder folder;
    const auto none = folder.file("none"), other = folder.file("other"), broken = folder.file("broken");
    writeFile(other, R"({"document": "something else", "version": 1})");
    writeFile(broken, R"({"document": )");
    expectRefusal({"diagnose", "--diff", none}, 1, "cannot read '" + none + "': No such file");
    expectRefusal({"diagnose", "--diff", other}, 1, "'" + other + "' is not a diagnosis; ");
    expectRefusal({"diagnose", "--diff", broken}, 1, "'" + broken + "' is not a diagnosis; ");
    expectRefusal({"diagnose", "--time", "slow"}, 2, "--time");
    expectRefusal({"diagnose", "--seconds", "2"}, 2, "--seconds is for a page or bundle");
}

TEST(ResetCommandTest, ResetsThePhyAndWaitsForItsLink) {
    const auto outcome = runTool({"reset", "--time", "virtual", "--port", "2", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const auto document = Json::parse(outcome.out);
    EXPECT_EQ(document["linkBefore"], "up");
    EXPECT_EQ(document["linkAfter"], "up");
    EXPECT_GE(document["resetSeconds"],
              1.29); // two pulses, the PHY's address, nine writes, two reads at least
    EXPECT_THAT(runTool({"reset", "--time", "virtual", "--wire", "0=none"}).out,
                testing::MatchesRegex(
                    "port 0/0: link was down; reset took [0-9.]+ s; link still down after [0-9.]+ s\n"));
}

} // namespace
} // namespace orvo::host
