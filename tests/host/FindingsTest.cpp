// SPDX-License-Identifier: MIT
// From register contents to findings, rule by rule, but for those that the tests of the command make on a
// board.
#include "inspect/diagnosis/Findings.h"
#include "base/Failure.h"

#include <gmock/gmock.h>

namespace orvo::host {
namespace {

/// A link in order: 1000BASE-T, negotiated, no errors.
DumpReport healthyReport() {
    DumpReport report;
    report.phy = {0x1140, 0x796D, 0x0F3C, 0x0A51, 0x0DE1, 0x4DE1, 0x000F, 0x2001, 0x2008, 0x0200, 0x3800};
    report.phy[15] = 0x3000;
    report.first.fill(0);
    report.second.fill(0);
    return report;
}

TEST(FindingsTest, EachReadingHasItsFinding) {
    const struct {
        const char* finding; // severity and beginning
        std::vector<std::pair<unsigned, std::uint16_t>> registers = {};
        std::vector<std::pair<FirmwareValue, std::uint64_t>> second = {}; // firmware values, at first 0
    } rows[] = {
        {"fault: the PHY does not answer", {{0, 0xFFFF}, {1, 0xFFFF}, {2, 0xFFFF}, {3, 0xFFFF}}},
        {"fault: the PHY is held in reset", {{0, 0x9140}}},
        {"fault: the PHY is powered down", {{0, 0x1940}}},
        {"fault: the PHY is isolated", {{0, 0x1540}}},
        {"warning: the PHY is in loopback", {{0, 0x5140}}},
        {"fault: no link: the two ends have no speed in common", {{1, 0x7969}, {4, 1}, {10, 0}}},
        {"fault: no link, although the partner was heard", {{1, 0x7969}}},
        {"fault: the link runs at 100 Mbit/s, less than the port can", {{9, 0}}},
        {"fault: half duplex", {{9, 0x0100}, {10, 0x3400}}},
        {"warning: 1000 Mbit/s is set without negotiation", {{0, 0x0140}}},
        {"fault: both ends insist", {{10, 0xB800}}},
        {"fault: the port's receiver is not ready", {{10, 0x1800}}},
        {"fault: the partner's receiver is not ready", {{10, 0x2800}}},
        {"warning: idle errors", {{10, 0x3801}}},
        {"warning: the partner reports a fault", {{1, 0x797D}}},
        {"warning: parallel detection failed", {{6, 0x001F}}},
        {"warning: jabber", {{1, 0x796F}}},
        {"warning: the board had no room", {}, {{FirmwareValue::StreamFifoOverflow, 1}}},
        {"note: received frames wait", {}, {{FirmwareValue::ControlFifoNotEmpty, 1}}},
    };
    EXPECT_THAT(findingsOf(healthyReport(), LinkState::from(healthyReport().phy), false), testing::IsEmpty());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.finding);
        auto report = healthyReport();
        for (const auto& [number, content] : row.registers) report.phy[number] = content;
        for (const auto& [which, value] : row.second) report.second[static_cast<std::size_t>(which)] = value;
        const auto found = findingsOf(report, LinkState::from(report.phy), false);
        ASSERT_EQ(found.size(), 1U);
        EXPECT_THAT(textOf(found[0].severity) + std::string(": ") + found[0].text,
                    testing::StartsWith(row.finding));
        EXPECT_NE(found[0].evidence, "");
        EXPECT_NE(found[0].advice, "");
    }
}

TEST(FindingsTest, OldErrorsAndOutagesAreNotedAndTheWorstComesFirst) {
    auto report = healthyReport();
    report.first[static_cast<std::size_t>(FirmwareValue::ReceiveErrors)] = 5;
    report.second = report.first;
    report.phy[10] = 0xB801;
    std::vector<Severity> severities;
    for (const auto& finding : findingsOf(report, LinkState::from(report.phy), true))
        severities.push_back(finding.severity);
    EXPECT_THAT(severities,
                testing::ElementsAre(Severity::Fault, Severity::Warning, Severity::Note, Severity::Note));
}

TEST(DumpReportTest, UnfinishedReportIsRefused) {
    const std::string prefix = "|PHY Id '0/0': ";
    EXPECT_THROW(DumpReport::parse({}, "0/0"), Failure);
    EXPECT_THROW(DumpReport::parse({prefix + "[START]", prefix + "[STOP ]"}, "0/0"), Failure);
}

} // namespace
} // namespace orvo::host
