// SPDX-License-Identifier: MIT
// The rules by which readings become findings.
#include "inspect/diagnosis/Findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace orvo::host {
namespace {

using Findings = std::vector<Finding>;

constexpr unsigned saturatedIdleErrors = 255;

bool bit(const DumpReport& report, unsigned phyRegister, unsigned number) {
    return ((unsigned{report.phy[phyRegister]} >> number) & 1U) != 0;
}

std::string phyEvidence(const DumpReport& report, unsigned phyRegister) {
    return fmt::format("PHY register {} reads 0x{:04x}", phyRegister, report.phy[phyRegister]);
}

std::string abilityNames(const std::vector<Ability>& abilities) {
    std::string names;
    for (const auto& ability : abilities) names += (names.empty() ? "" : ", ") + std::string(ability.name);
    return names.empty() ? "nothing" : names;
}

void judgeControl(Findings& findings, const DumpReport& report) {
    const struct {
        unsigned number;
        Severity severity;
        const char* text;
        const char* advice;
    } rows[] = {
        {15, Severity::Fault, "the PHY is held in reset",
         "reset the port ('orvo-gige reset'); if it stays so, power-cycle the board"},
        {11, Severity::Fault, "the PHY is powered down", "reset the port ('orvo-gige reset')"},
        {10, Severity::Fault, "the PHY is isolated from the board", "reset the port ('orvo-gige reset')"},
        {14, Severity::Warning, "the PHY is in loopback: the port hears itself and nobody else",
         "reset the port ('orvo-gige reset')"},
    };
    for (const auto& row : rows)
        if (bit(report, 0, row.number))
            findings.push_back({row.severity, row.text, phyEvidence(report, 0), row.advice});
}

void judgeLinkDown(Findings& findings, const DumpReport& report, const LinkState& link) {
    if (link.up) return;
    const bool heard = bit(report, 6, 0) || !link.partner.empty();
    const auto common = std::find_if(link.offers.begin(), link.offers.end(), [&](const Ability& ours) {
        return std::any_of(link.partner.begin(), link.partner.end(),
                           [&](const Ability& theirs) { return std::string_view(theirs.name) == ours.name; });
    });
    if (!heard)
        findings.push_back(
            {Severity::Fault, "no link: nobody answers at the other end of the cable",
             phyEvidence(report, 1) + " (link status 0), no partner ability in registers 5 and 10",
             "plug the cable in at both ends, switch the device on, try another cable"});
    else if (common == link.offers.end())
        findings.push_back({Severity::Fault, "no link: the two ends have no speed in common",
                            "this port offers " + abilityNames(link.offers) + "; the partner offers " +
                                abilityNames(link.partner),
                            "let the device negotiate, or allow it another speed"});
    else
        findings.push_back({Severity::Fault, "no link, although the partner was heard",
                            phyEvidence(report, 1) + ", the partner offers " + abilityNames(link.partner),
                            "wait for the end of negotiation and look again; then try another cable"});
}

void judgeSpeed(Findings& findings, const DumpReport& report, const LinkState& link) {
    if (!link.up) return;
    const std::string agreed = fmt::format("the link runs at {} Mbit/s", link.mbitPerSecond);
    if (link.forced1000)
        findings.push_back(
            {Severity::Warning, "1000 Mbit/s is set without negotiation, which 1000BASE-T needs",
             phyEvidence(report, 0), "reset the port ('orvo-gige reset'): it negotiates then"});
    if (link.mbitPerSecond != 0 && link.mbitPerSecond < 1000) {
        if (link.negotiated && !offers(link.partner, 1000))
            findings.push_back(
                {Severity::Fault, "auto-negotiation complete, partner offers no 1000BASE-T: " + agreed,
                 "partner offers " + abilityNames(link.partner) + "; " + phyEvidence(report, 10),
                 "a cable with two pairs, or a 100 Mbit/s device: use a four-pair cable (category 5e "
                 "or better) and look at the device's data sheet"});
        else
            findings.push_back(
                {Severity::Fault, agreed + ", less than the port can",
                 "this port offers " + abilityNames(link.offers) + "; " + phyEvidence(report, 9),
                 "reset the port ('orvo-gige reset'): it offers 1000BASE-T then"});
    }
    if (link.mbitPerSecond != 0 && !link.fullDuplex)
        findings.push_back({Severity::Fault, "half duplex: frames collide with those of the partner",
                            "partner offers " + abilityNames(link.partner),
                            "let the device negotiate instead of setting its speed by hand"});
}

void judgeGigabit(Findings& findings, const DumpReport& report, const LinkState& link) {
    if (bit(report, 10, 15))
        findings.push_back({Severity::Fault, "both ends insist on being master, or both on being slave",
                            phyEvidence(report, 10), "let one of the devices negotiate its role"});
    if (!link.up || link.mbitPerSecond != 1000) return;
    if (!bit(report, 10, 13) || !bit(report, 10, 12))
        findings.push_back({Severity::Fault,
                            std::string("the ") + (bit(report, 10, 13) ? "partner's" : "port's") +
                                " receiver is not ready although the link is up",
                            phyEvidence(report, 10), "try another cable; then another port"});
    if (link.idleErrors > 0)
        findings.push_back({link.idleErrors == saturatedIdleErrors ? Severity::Fault : Severity::Warning,
                            link.idleErrors == saturatedIdleErrors
                                ? "idle errors, more than the PHY can count: the signal is bad"
                                : "idle errors: the signal on the cable is disturbed",
                            fmt::format("{} idle errors since the last reading (PHY register 10, bits 7:0)",
                                        link.idleErrors),
                            "look again: if the count comes back, try a shorter or better cable, away from "
                            "motors and drives"});
}

void judgeNegotiation(Findings& findings, const DumpReport& report, const LinkState& link, bool wasDown) {
    if (bit(report, 1, 4))
        findings.push_back({Severity::Warning, "the partner reports a fault of its own (remote fault)",
                            phyEvidence(report, 1), "look at the device's own diagnosis"});
    if (bit(report, 6, 4))
        findings.push_back({Severity::Warning,
                            "parallel detection failed: the partner's kind could not be told",
                            phyEvidence(report, 6), "let the device negotiate"});
    if (bit(report, 1, 1))
        findings.push_back({Severity::Warning, "jabber: the partner sends without end",
                            phyEvidence(report, 1), "switch the device off and on"});
    if (link.up && wasDown)
        findings.push_back(
            {Severity::Note, "the link was down at some time since it was last looked at",
             "the first reading of PHY register 1 had link status 0, the next one 1",
             "normal after a reset or a plugged cable; otherwise look at connectors and power"});
}

void judgeCounters(Findings& findings, const DumpReport& report) {
    const auto value = [](const FirmwareSnapshot& snapshot, FirmwareValue which) {
        return snapshot[static_cast<std::size_t>(which)].value_or(0);
    };
    const auto before = value(report.first, FirmwareValue::ReceiveErrors);
    const auto errors = value(report.second, FirmwareValue::ReceiveErrors);
    if (errors != before)
        findings.push_back(
            {Severity::Fault, "receive errors are rising: frames arrive damaged and are dropped",
             fmt::format("GigeRecvErrCnt went from {} to {} within a second", before, errors),
             "try another cable, then another port; keep the cable away from motors and drives"});
    else if (errors != 0)
        findings.push_back({Severity::Note,
                            "frames arrived damaged at some time, none within the last second",
                            fmt::format("GigeRecvErrCnt reads {}", errors),
                            "look again under load: if it rises, suspect the cable"});
    if (const auto overflow = value(report.second, FirmwareValue::StreamFifoOverflow))
        findings.push_back(
            {Severity::Warning, "the board had no room for frames that arrived, and lost them",
             fmt::format("GvspFiFoOverflow_GigeTransceiver reads 0x{:x}", overflow),
             "let the host receive faster, or the device send slower (packet delay, frame rate)"});
    if (const auto waiting = value(report.second, FirmwareValue::ControlFifoNotEmpty))
        findings.push_back(
            {Severity::Note, "received frames wait in the board",
             fmt::format("GvcpFiFoNotEmpty_GigeTransceiver reads 0x{:x}", waiting),
             "normal while no host program receives on this port, and for a moment in much traffic"});
}

} // namespace

const char* textOf(Severity severity) {
    switch (severity) {
    case Severity::Note:
        return "note";
    case Severity::Warning:
        return "warning";
    case Severity::Fault:
        return "fault";
    }
    return "";
}

std::vector<Finding> findingsOf(const DumpReport& report, const LinkState& link, bool wasDown,
                                std::vector<Finding> others) {
    Findings findings;
    if (link.answers) {
        judgeControl(findings, report);
        judgeLinkDown(findings, report, link);
        judgeSpeed(findings, report, link);
        judgeGigabit(findings, report, link);
        judgeNegotiation(findings, report, link, wasDown);
    } else {
        findings.push_back(
            {Severity::Fault, "the PHY does not answer",
             fmt::format("PHY registers 0 to 3 read 0x{:04x}, 0x{:04x}, 0x{:04x}, 0x{:04x}", report.phy[0],
                         report.phy[1], report.phy[2], report.phy[3]),
             "start the board by a command that resets it, such as 'orvo-gige replay'; then power-cycle it"});
    }
    judgeCounters(findings, report);
    std::ranges::move(others, std::back_inserter(findings));
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
    return findings;
}

} // namespace orvo::host
