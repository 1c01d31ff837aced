// SPDX-License-Identifier: MIT
// Registers of a PHY and its way through resets.
#include "phy/Phy.h"

#include <algorithm>

namespace orvo::sim {

namespace {

constexpr std::uint16_t identifier1 = 0x0F3C; // of no real vendor
constexpr std::uint16_t identifier2 = 0x0A51;
constexpr std::uint16_t extendedAbilities = 0x3000; // register 15: 1000BASE-T, both duplex modes
constexpr std::uint16_t nullPage = 0x2001;          // register 7 after a reset
constexpr std::uint16_t gigabitPage = 0x2008;       // register 8: the message page that announces 1000BASE-T

bool isVendorMemory(unsigned number) noexcept {
    return number > phyGigabitStatus && number != phyExtendedStatus && number != phySpecificStatus &&
           number != phyExtendedIndex && number != phyExtendedData;
}

unsigned forcedMbit(std::uint16_t value) noexcept {
    if ((value & control::speedHigh) != 0) return 1000;
    return (value & control::speedLow) != 0 ? 100 : 10;
}

constexpr SimTime phyTime(std::uint32_t milliseconds) noexcept {
    return milliseconds == UINT32_MAX ? never : SimTime(std::chrono::milliseconds(milliseconds));
}

constexpr std::uint16_t flagIf(bool condition, std::uint16_t flag) noexcept {
    return condition ? flag : std::uint16_t{0};
}

} // namespace

Phy::Phy() noexcept {
    setTimes(50, 400);
    setStandardDefaults();
    setVendorDefaults();
}

void Phy::setTimes(std::uint32_t resetMs, std::uint32_t negotiationMs) noexcept {
    resetTime_ = phyTime(resetMs);
    negotiationTime_ = phyTime(negotiationMs);
}

void Phy::setStandardDefaults() noexcept {
    control_ = control::autoNegotiation | control::fullDuplex | control::speedHigh;
    advertisement_ = ability::allWithPause;
    nextPage_ = nullPage;
    gigabitControl_ = gigabit::full;
}

void Phy::setVendorDefaults() noexcept {
    vendor_.fill(0);
    vendor_[16] = 0x0068; // specific control: automatic crossover
    vendor_[20] = 0x0C68; // extended control: line speed follows the copper side
    vendor_[22] = 0x000A;
    vendor_[24] = 0x4100; // LEDs: blink on activity
    extendedIndex_ = 0;
    extended_.fill(0);
    extended_[0x0B] = 0x0004;
    extended_[0x16] = 0xA2D0;
    extended_[0x1B] = 0x408B;
}

std::uint16_t Phy::peek(unsigned number, SimTime now) const noexcept {
    if (!answers() || number >= phyRegisters) return noPhyAnswers;
    const bool partnerSeen = link_.upAt <= now;
    switch (number) {
    case phyControl:
        return control_ | flagIf(isResetting(now), control::reset);
    case phyStatus:
        return readStatus(now);
    case phyIdentifier1:
        return identifier1;
    case phyIdentifier2:
        return identifier2;
    case phyAdvertisement:
        return advertisement_;
    case phyPartnerAbility:
        return flagIf(partnerSeen, link_.partnerAbility);
    case phyExpansion:
        return readExpansion(now);
    case phyNextPage:
        return nextPage_;
    case phyPartnerNextPage:
        return flagIf(partnerSeen && link_.partnerGigabit != 0, gigabitPage);
    case phyGigabitControl:
        return gigabitControl_;
    case phyGigabitStatus:
        return readGigabitStatus(now);
    case phyExtendedStatus:
        return extendedAbilities;
    case phySpecificStatus:
        return readSpecificStatus(now);
    case phyExtendedIndex:
        return extendedIndex_;
    case phyExtendedData:
        return extendedIndex_ < extended_.size() ? extended_[extendedIndex_] : std::uint16_t{0};
    default:
        return vendor_[number];
    }
}

std::uint16_t Phy::readStatus(SimTime now) const noexcept {
    const bool up = isLinkUp(now);
    const bool negotiated = up && (control_ & control::autoNegotiation) != 0;
    return status::abilities | flagIf(negotiated, status::negotiated) |
           flagIf(up && !linkFailed_, status::link);
}

std::uint16_t Phy::readExpansion(SimTime now) const noexcept {
    const bool met = link_.partnerNegotiates && link_.upAt <= now;
    return expansion::nextPageAble | flagIf(met, expansion::partnerNegotiates) |
           flagIf(met && link_.partnerGigabit != 0, expansion::partnerNextPageAble) |
           flagIf(met && !pageRead_, expansion::pageReceived);
}

std::uint16_t Phy::readGigabitStatus(SimTime now) const noexcept {
    if (link_.upAt > now) return idleErrors_;
    const auto offered = static_cast<std::uint16_t>((link_.partnerGigabit & (gigabit::full | gigabit::half))
                                                    << gigabitStatus::partnerShift);
    return idleErrors_ | offered |
           flagIf(link_.masterSlaveFault && !faultRead_, gigabitStatus::masterSlaveFault) |
           flagIf(link_.isMaster, gigabitStatus::isMaster) |
           flagIf(link_.mbit == 1000, gigabitStatus::receiversOk);
}

/// Bits 15 and 14 the speed, 13 full duplex, 11 resolved, 10 link.
std::uint16_t Phy::readSpecificStatus(SimTime now) const noexcept {
    if (!isLinkUp(now)) return 0;
    const unsigned speed = link_.mbit == 1000 ? 0x8000 : link_.mbit == 100 ? 0x4000 : 0;
    return static_cast<std::uint16_t>(speed | (link_.fullDuplex ? 0x2000U : 0U) | 0x0C00U);
}

std::uint16_t Phy::read(unsigned number, SimTime now) noexcept {
    const auto value = peek(number, now);
    if (!answers()) return value;
    if (number == phyStatus) linkFailed_ = false;
    if (number == phyExpansion && link_.upAt <= now) pageRead_ = true;
    if (number == phyGigabitStatus) {
        idleErrors_ = 0;
        if (link_.upAt <= now) faultRead_ = true;
    }
    return value;
}

bool Phy::write(unsigned number, std::uint16_t value, SimTime now) noexcept {
    if (!answers() || isResetting(now) || number >= phyRegisters) return false;
    switch (number) {
    case phyControl:
        return writeControl(value, now);
    case phyAdvertisement:
        advertisement_ = value;
        break;
    case phyNextPage:
        nextPage_ = value;
        break;
    case phyGigabitControl:
        gigabitControl_ = value;
        break;
    case phyExtendedIndex:
        extendedIndex_ = value;
        break;
    case phyExtendedData:
        if (extendedIndex_ < extended_.size()) extended_[extendedIndex_] = value;
        break;
    default:
        if (isVendorMemory(number)) vendor_[number] = value;
    }
    return false;
}

bool Phy::writeControl(std::uint16_t value, SimTime now) noexcept {
    if ((value & control::reset) != 0) {
        beginReset(now);
        return true;
    }
    const auto mode = [](std::uint16_t of) -> unsigned {
        const bool forced = (of & control::autoNegotiation) == 0;
        const unsigned speedAndDuplex = control::speedHigh | control::speedLow | control::fullDuplex;
        return of & (control::autoNegotiation | control::powerDown | (forced ? speedAndDuplex : 0));
    };
    const bool restart =
        (value & control::autoNegotiation) != 0 && (value & control::restartNegotiation) != 0;
    const bool changed = restart || mode(value) != mode(control_);
    control_ = value & control::writable & static_cast<std::uint16_t>(~control::restartNegotiation);
    if (!changed) return false;
    activeSince_ = (control_ & control::powerDown) != 0 ? never : now;
    takesTime_ = true;
    return true;
}

/// The standard registers take their defaults; the vendor's keep what was written to them.
void Phy::beginReset(SimTime now) noexcept {
    setStandardDefaults();
    const PhyTimes usual{resetTime_, negotiationTime_};
    const PhyTimes times = watch_ ? watch_->atReset(usual, now) : usual;
    oddNegotiation_.reset();
    if (times.negotiation != usual.negotiation) oddNegotiation_ = times.negotiation;
    resetUntil_ = activeSince_ = later(now, times.reset);
    takesTime_ = true;
}

void Phy::holdInReset() noexcept {
    heldInReset_ = true;
}

void Phy::releaseReset(SimTime now) noexcept {
    if (!heldInReset_) return;
    heldInReset_ = false;
    setVendorDefaults();
    beginReset(now);
}

void Phy::switchOff() noexcept {
    hasPower_ = false;
}

void Phy::switchOn(SimTime now) noexcept {
    if (hasPower_) return;
    hasPower_ = true;
    setVendorDefaults();
    beginReset(now);
}

LinkEnd Phy::end() const noexcept {
    LinkEnd end;
    if (answers()) end.activeSince = activeSince_;
    if (takesTime_) end.negotiation = oddNegotiation_.value_or(negotiationTime_);
    end.negotiates = (control_ & control::autoNegotiation) != 0;
    end.ability = advertisement_;
    end.gigabit = gigabitControl_;
    end.forcedMbit = forcedMbit(control_);
    end.forcedFullDuplex = (control_ & control::fullDuplex) != 0;
    return end;
}

SimTime Phy::passesFramesFrom() const noexcept {
    const bool passes = link_.mbit != 0 && (control_ & control::isolate) == 0;
    return passes ? link_.upAt : never;
}

void Phy::setLink(const Link& link, SimTime now) noexcept {
    if (isLinkUp(now)) {
        downBefore_ = linkDownTime(now);
        downSince_ = now;
        linkFailed_ = true;
        if (link.mbit == 0 || link.upAt > now) ++linkLosses_;
    }
    link_ = link;
    pageRead_ = faultRead_ = false;
}

SimTime Phy::linkDownTime(SimTime now) const noexcept {
    const SimTime downUntil = isLinkUp(now) ? std::max(link_.upAt, downSince_) : now;
    return downBefore_ + (downUntil - downSince_);
}

void Phy::setIdleErrors(unsigned count) noexcept {
    idleErrors_ = static_cast<std::uint16_t>(std::min<unsigned>(count, gigabitStatus::idleErrors));
}

} // namespace orvo::sim
