// Diagnosis and reset of a port, in virtual time: states made on the simulated board, and what is said of
// them.
#include "Process.h"

#include "board/DynamicLibrary.h"
#include "board/Installation.h"
#include "board/Session.h"
#include "commands/DiagnoseCommand.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using namespace testing_support;
using Json = nlohmann::ordered_json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

InstallationOptions inVirtualTime() {
    InstallationOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.virtualTime = true;
    return options;
}

/// "fault: what is the matter" of every finding.
std::vector<std::string> findings(const Json& diagnosis) {
    std::vector<std::string> texts;
    for (const auto& finding : diagnosis["findings"]) {
        texts.push_back(finding["severity"].get<std::string>() + ": " +
                        finding["finding"].get<std::string>());
        EXPECT_NE(finding["evidence"], "");
        EXPECT_NE(finding["advice"], "");
    }
    return texts;
}

TEST(DiagnoseCommandTest, TellsASickLinkFromAHealthyOne) {
    const Session session(inVirtualTime(), 0);
    const DynamicLibrary simulator(session.installation.library("orvo_hal"));
    const auto setPartner = simulator.require<decltype(::orvoSimSetPartner)>("orvoSimSetPartner");
    const auto advance = simulator.require<decltype(::orvoSimAdvanceTime)>("orvoSimAdvanceTime");
    const auto overrideRegister =
        simulator.require<decltype(::orvoSimOverrideRegister)>("orvoSimOverrideRegister");
    const auto setIdleErrors = simulator.require<decltype(::orvoSimSetIdleErrors)>("orvoSimSetIdleErrors");
    setPartner(0, 1, OrvoSimPartnerDown);
    setPartner(0, 2, OrvoSimPartner100);
    advance(5'000'000); // negotiation

    const auto healthy = diagnose(session, {0, 0});
    EXPECT_TRUE(healthy["healthy"]);
    EXPECT_THAT(findings(healthy), IsEmpty());
    const auto& link = healthy["link"];
    EXPECT_EQ(link["up"], true);
    EXPECT_EQ(link["mbitPerSecond"], 1000);
    EXPECT_EQ(link["duplex"], "full");
    EXPECT_EQ(link["autoNegotiation"], "complete");
    EXPECT_THAT(link["role"], testing::AnyOf("master", "slave"));
    EXPECT_EQ(link["partner"][0], "1000BASE-T full duplex");

    const auto down = diagnose(session, {0, 1});
    EXPECT_FALSE(down["healthy"]);
    EXPECT_THAT(findings(down),
                testing::Contains("fault: no link: nobody answers at the other end of the cable"));
    EXPECT_EQ(down["link"]["up"], false);
    EXPECT_EQ(down["link"]["mbitPerSecond"], 0);

    const auto slow = diagnose(session, {0, 2});
    EXPECT_FALSE(slow["healthy"]);
    EXPECT_THAT(findings(slow),
                testing::Contains("fault: auto-negotiation complete, partner offers no 1000BASE-T: "
                                  "the link runs at 100 Mbit/s"));
    EXPECT_EQ(slow["link"]["mbitPerSecond"], 100);
    EXPECT_EQ(slow["link"]["role"], "none");

    // The first reading is the setup's; the statistics at the end get the value behind.
    for (const std::uint64_t reading : {7U, 7U, 19U}) overrideRegister(0, "GigeRecvErrCnt3", 0, reading, 1);
    setIdleErrors(0, 3, 255);
    const auto noisy = diagnose(session, {0, 3});
    EXPECT_FALSE(noisy["healthy"]);
    EXPECT_THAT(findings(noisy),
                testing::UnorderedElementsAre(
                    "fault: receive errors are rising: frames arrive damaged and are dropped",
                    "fault: idle errors, more than the PHY can count: the signal is bad"));
    EXPECT_EQ(noisy["counters"][1]["total"], 19);
    EXPECT_EQ(noisy["counters"][1]["perSecond"], 12);
    EXPECT_EQ(noisy["link"]["receiveErrors"], 19);

    const auto& control = noisy["phy"][0];
    EXPECT_EQ(control["value"], "0x1140");
    EXPECT_EQ(control["fields"][3],
              Json::parse(R"({"bits":"12","name":"auto-negotiation","value":1,"meaning":"on"})"));
    EXPECT_EQ(noisy["phy"].size(), 29U);
    EXPECT_EQ(noisy["phy"][28]["fields"].size(), 0U);
}

TEST(DiagnoseCommandTest, ShowsTextJsonAndChanges) {
    const TemporaryFolder folder;
    const auto json = runTool({"diagnose", "--time", "virtual", "--port", "1", "--json"});
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_EQ(json.err, "");
    auto document = Json::parse(json.out);
    writeFile(folder.file("same.json"), json.out);
    document["link"]["mbitPerSecond"] = 100;
    document["board"].erase("name");
    document["findings"].push_back({{"severity", "fault"}, {"finding", "gone by now"}});
    writeFile(folder.file("old.json"), document.dump());

    const auto text = runTool({"diagnose", "--time", "virtual", "--port", "1"});
    EXPECT_THAT(text.out,
                testing::StartsWith("port 0/1\nhealthy: no fault found\n\nlink\n  state             up\n"));
    EXPECT_THAT(text.out, HasSubstr("  speed             1000 Mbit/s, full duplex\n"));
    EXPECT_THAT(text.out, HasSubstr("         12  auto-negotiation = 1 (on)\n"));

    EXPECT_EQ(
        runTool({"diagnose", "--time", "virtual", "--port", "1", "--diff", folder.file("same.json")}).out,
        "nothing changed since " + folder.file("same.json") + "\n");
    const auto changes =
        runTool({"diagnose", "--time", "virtual", "--port", "1", "--diff", folder.file("old.json")});
    EXPECT_EQ(changes.out, "board.name: (none) -> Simulated GigE board\n"
                           "findings.gone by now.finding: gone by now -> (none)\n"
                           "findings.gone by now.severity: fault -> (none)\n"
                           "link.mbitPerSecond: 100 -> 1000\n");
}

TEST(DiagnoseCommandTest, RefusesInOneLine) {
    const TemporaryFolder folder;
    writeFile(folder.file("boards.toml"), "[[board]]\ncamera_interface = \"CL\"\n");
    writeFile(folder.file("other.json"), "{\"document\": \"something else\", \"version\": 1}");
    writeFile(folder.file("broken.json"), "{\"document\": ");
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        const char* line;
    } rows[] = {
        {{"diagnose", "--diff", folder.file("none.json")}, 2, "cannot read .*none.json'.*"},
        {{"diagnose", "--diff", folder.file("other.json")}, 2, "'.*other.json' is no diagnosis; .*"},
        {{"diagnose", "--diff", folder.file("broken.json")}, 2, "'.*broken.json' is no diagnosis; .*"},
        {{"diagnose", "--time", "slow"}, 2, ".*--time.*"},
        {{"diagnose", "--board", "9"},
         1,
         "port 9/0 cannot be opened: Error in OHalInitDevice.*there is no such board.*"},
        {{"diagnose", "--port", "4"}, 1, "port 0/4 cannot be opened: Port id '4'.*fewer GigE ports.*"},
        {{"reset", "--port", "4"}, 1, "port 0/4 cannot be opened: Port id '4'.*fewer GigE ports.*"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const auto outcome = runTool(row.arguments);
        EXPECT_EQ(outcome.exitCode, row.exitCode);
        EXPECT_THAT(outcome.err, MatchesRegex(std::string("orvo-gige: ") + row.line + "\n"));
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1);
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_THAT(
        runTool({"diagnose"}, {"ORVO_SIMULATOR_CONFIG=" + folder.file("boards.toml")}).err,
        HasSubstr("No GigE interface available for board id '0'; the board is for another kind of camera"));
}

TEST(ResetCommandTest, ResetsThePhyAndWaitsForItsLink) {
    const auto outcome = runTool({"reset", "--time", "virtual", "--port", "2", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const auto document = Json::parse(outcome.out);
    EXPECT_EQ(document["port"], "0/2");
    EXPECT_EQ(document["linkBefore"], "up");
    EXPECT_EQ(document["linkAfter"], "up");
    EXPECT_GE(document["resetSeconds"], 1.29)
        << "two pulses, the PHY's address, nine writes, two reads at least";
    EXPECT_GT(document["linkSeconds"], 0.0);
    EXPECT_THAT(
        runTool({"reset", "--time", "virtual", "--wire", "0=none"}).out,
        MatchesRegex("port 0/0: link down before, reset took [0-9.]+ s, link down after [0-9.]+ s more\n"));
}

} // namespace
} // namespace orvo::host
