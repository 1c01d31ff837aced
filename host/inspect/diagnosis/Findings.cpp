// SPDX-License-Identifier: MIT
// The rules that turn readings into findings.
#include "inspect/diagnosis/Findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace orvo::host {
namespace {

constexpr unsigned saturatedIdleErrors = 255;
constexpr auto resetPort = "reset the port ('orvo-gige reset')";

std::string abilityNames(const std::vector<Ability>& abilities) {
    std::string names;
    for (const auto& ability : abilities) names += (names.empty() ? "" : ", ") + ability.name();
    return names.empty() ? "nothing" : names;
}

/// Applies the rules, subject by subject.
class Examination {
public:
    Examination(const DumpReport& report, const LinkState& link) : report_(report), link_(link) {}

    std::vector<Finding> run(bool wasDown) {
        if (link_.answers) {
            examineControl();
            examineMissingLink();
            examineSpeed();
            examineGigabit();
            examineNegotiation(wasDown);
        } else {
            add(Severity::Fault, "the PHY does not answer",
                fmt::format("PHY registers 0 to 3 read 0x{:04x}",
                            fmt::join(report_.phy.begin(), report_.phy.begin() + 4, ", 0x")),
                "start the board by a command that resets it, such as 'orvo-gige replay'; then power-cycle "
                "it");
        }
        examineCounters();
        return std::move(findings_);
    }

private:
    void add(Severity severity, std::string text, std::string evidence, std::string advice) {
        findings_.push_back({severity, std::move(text), std::move(evidence), std::move(advice)});
    }

    bool bit(unsigned phyRegister, unsigned number) const {
        return ((unsigned{report_.phy[phyRegister]} >> number) & 1U) != 0;
    }

    std::string reads(unsigned phyRegister) const {
        return fmt::format("PHY register {} reads 0x{:04x}", phyRegister, report_.phy[phyRegister]);
    }

    std::string portOffers() const { return "this port offers " + abilityNames(link_.offers); }
    std::string partnerOffers() const { return "partner offers " + abilityNames(link_.partner); }

    void examineControl() {
        if (bit(0, 15))
            add(Severity::Fault, "the PHY is held in reset", reads(0),
                std::string(resetPort) + "; if it stays so, power-cycle the board");
        if (bit(0, 11)) add(Severity::Fault, "the PHY is powered down", reads(0), resetPort);
        if (bit(0, 10)) add(Severity::Fault, "the PHY is isolated from the board", reads(0), resetPort);
        if (bit(0, 14))
            add(Severity::Warning, "the PHY is in loopback: the port hears itself and nobody else", reads(0),
                resetPort);
    }

    void examineMissingLink() {
        if (link_.up) return;
        const bool isPartnerHeard = bit(6, 0) || !link_.partner.empty();
        const auto isCommon = [&](const Ability& ability) {
            return std::ranges::find(link_.partner, ability) != link_.partner.end();
        };
        if (!isPartnerHeard)
            add(Severity::Fault, "no link: nobody answers at the other end of the cable",
                reads(1) + " (link status 0), no partner ability in registers 5 and 10",
                "plug the cable in at both ends, switch the device on, try another cable");
        else if (std::ranges::none_of(link_.offers, isCommon))
            add(Severity::Fault, "no link: the two ends have no speed in common",
                portOffers() + "; the " + partnerOffers(),
                "let the device negotiate, or allow it another speed");
        else
            add(Severity::Fault, "no link, although the partner was heard",
                reads(1) + ", the " + partnerOffers(),
                "wait for the end of negotiation and look again; then try another cable");
    }

    void examineSpeed() {
        if (!link_.up) return;
        if (!link_.negotiates && link_.mbitPerSecond == 1000)
            add(Severity::Warning, "1000 Mbit/s is set without negotiation, which 1000BASE-T needs", reads(0),
                std::string(resetPort) + ": it negotiates then");
        if (link_.mbitPerSecond == 0) return;
        if (link_.mbitPerSecond < 1000) examineSlowLink();
        if (!link_.fullDuplex)
            add(Severity::Fault, "half duplex: frames collide with those of the partner", partnerOffers(),
                "let the device negotiate instead of setting its speed by hand");
    }

    void examineSlowLink() {
        const auto speed = fmt::format("the link runs at {} Mbit/s", link_.mbitPerSecond);
        if (link_.negotiated &&
            std::ranges::find(link_.partner, 1000U, &Ability::mbitPerSecond) == link_.partner.end())
            add(Severity::Fault, "auto-negotiation complete, partner offers no 1000BASE-T: " + speed,
                partnerOffers() + "; " + reads(10),
                "a cable with two pairs, or a 100 Mbit/s device: use a four-pair cable (category 5e or "
                "better) "
                "and look at the device's data sheet");
        else
            add(Severity::Fault, speed + ", less than the port can", portOffers() + "; " + reads(9),
                std::string(resetPort) + ": it offers 1000BASE-T then");
    }

    void examineGigabit() {
        if (bit(10, 15))
            add(Severity::Fault, "both ends insist on being master, or both on being slave", reads(10),
                "let one of the devices negotiate its role");
        if (!link_.up || link_.mbitPerSecond != 1000) return;
        if (const bool isPortReady = bit(10, 13), isPartnerReady = bit(10, 12);
            !isPortReady || !isPartnerReady)
            add(Severity::Fault,
                fmt::format("the {} receiver is not ready although the link is up",
                            isPortReady ? "partner's" : "port's"),
                reads(10), "try another cable; then another port");
        if (link_.idleErrors == 0) return;
        const bool isSaturated = link_.idleErrors == saturatedIdleErrors;
        add(isSaturated ? Severity::Fault : Severity::Warning,
            isSaturated ? "idle errors, more than the PHY can count: the signal is bad"
                        : "idle errors: the signal on the cable is disturbed",
            fmt::format("{} idle errors since the last reading (PHY register 10, bits 7:0)",
                        link_.idleErrors),
            "look again: if the count comes back, try a shorter or better cable, away from motors and "
            "drives");
    }

    void examineNegotiation(bool wasDown) {
        if (bit(1, 4))
            add(Severity::Warning, "the partner reports a fault of its own (remote fault)", reads(1),
                "look at the device's own diagnosis");
        if (bit(6, 4))
            add(Severity::Warning, "parallel detection failed: the partner's kind is unknown", reads(6),
                "let the device negotiate");
        if (bit(1, 1))
            add(Severity::Warning, "jabber: the partner sends without end", reads(1),
                "switch the device off and on");
        if (link_.up && wasDown)
            add(Severity::Note, "the link was down at some time since it was last looked at",
                "the first reading of PHY register 1 had link status 0, the next one 1",
                "normal after a reset or a plugged cable; otherwise look at connectors and power");
    }

    void examineCounters() {
        const auto value = [](const FirmwareSnapshot& snapshot, Counter counter) {
            const auto found = snapshot.find(counter);
            return found != snapshot.end() ? found->second : 0;
        };
        const auto before = value(report_.first, Counter::ReceiveErrors);
        const auto errors = value(report_.second, Counter::ReceiveErrors);
        if (errors != before)
            add(Severity::Fault, "receive errors are rising: frames arrive damaged and are dropped",
                fmt::format("GigeRecvErrCnt went from {} to {} within a second", before, errors),
                "try another cable, then another port; keep the cable away from motors and drives");
        else if (errors != 0)
            add(Severity::Note, "frames arrived damaged at some time, none within the last second",
                fmt::format("GigeRecvErrCnt reads {}", errors),
                "look again under load: if it rises, suspect the cable");
        if (const auto overflow = value(report_.second, Counter::StreamFifoOverflow))
            add(Severity::Warning, "the board had no room for frames that arrived, and lost them",
                fmt::format("GvspFiFoOverflow_GigeTransceiver reads 0x{:x}", overflow),
                "let the host receive faster, or the device send slower (packet delay, frame rate)");
        if (const auto waiting = value(report_.second, Counter::ControlFifoNotEmpty))
            add(Severity::Note, "received frames wait in the board",
                fmt::format("GvcpFiFoNotEmpty_GigeTransceiver reads 0x{:x}", waiting),
                "normal while no host program receives on this port, and for a moment in much traffic");
    }

    const DumpReport& report_;
    const LinkState& link_;
    std::vector<Finding> findings_;
};

} // namespace

const char* severityText(Severity severity) {
    constexpr const char* texts[] = {"note", "warning", "fault"};
    return texts[static_cast<std::size_t>(severity)];
}

std::vector<Finding> findingsOf(const DumpReport& report, const LinkState& link, bool wasDown,
                                std::vector<Finding> others) {
    auto findings = Examination(report, link).run(wasDown);
    std::ranges::move(others, std::back_inserter(findings));
    std::ranges::stable_sort(findings, std::ranges::greater(), &Finding::severity);
    return findings;
}

} // namespace orvo::host
