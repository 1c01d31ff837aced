// SPDX-License-Identifier: MIT
// Registers and resets of a PHY.
#include "phy/Phy.h"

#include <algorithm>

namespace orvo::sim {

namespace {

constexpr std::uint16_t identifier1 = 0x0F3C; // no real vendor's
constexpr std::uint16_t identifier2 = 0x0A51;
constexpr std::uint16_t extendedAbilities = 0x3000; // register 15: 1000BASE-T, both duplex modes
constexpr std::uint16_t nullPage = 0x2001;          // register 7 after a reset
constexpr std::uint16_t gigabitPage = 0x2008;       // register 8: the message page that announces 1000BASE-T

/// Registers that only keep what is written to them.
bool isMemory(unsigned number) noexcept {
    if (number <= phyGigabitStatus)
        return number == phyAdvertisement || number == phyNextPage || number == phyGigabitControl;
    return number != phyExtendedStatus && number != phySpecificStatus;
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
    setAllDefaults();
}

void Phy::setTimes(std::uint32_t resetMs, std::uint32_t negotiationMs) noexcept {
    resetTime_ = phyTime(resetMs);
    negotiationTime_ = phyTime(negotiationMs);
}

void Phy::setStandardDefaults() noexcept {
    memory_[phyControl] = control::autoNegotiation | control::fullDuplex | control::speedHigh;
    memory_[phyAdvertisement] = ability::allWithPause;
    memory_[phyNextPage] = nullPage;
    memory_[phyGigabitControl] = gigabit::full;
}

void Phy::setAllDefaults() noexcept {
    memory_.fill(0);
    memory_[phyIdentifier1] = identifier1;
    memory_[phyIdentifier2] = identifier2;
    memory_[phyExtendedStatus] = extendedAbilities;
    memory_[16] = 0x0068; // specific control: automatic crossover
    memory_[20] = 0x0C68; // extended control: line speed follows the copper side
    memory_[22] = 0x000A;
    memory_[24] = 0x4100; // LEDs: blink on activity
    extended_.fill(0);
    extended_[0x0B] = 0x0004;
    extended_[0x16] = 0xA2D0;
    extended_[0x1B] = 0x408B;
    setStandardDefaults();
}

std::uint16_t Phy::peek(unsigned number, SimTime now) const noexcept {
    if (!answers() || number >= phyRegisters) return noPhyAnswers;
    const bool partnerSeen = link_.upAt <= now;
    switch (number) {
    case phyControl:
        return memory_[phyControl] | flagIf(isResetting(now), control::reset);
    case phyStatus:
        return readStatus(now);
    case phyPartnerAbility:
        return flagIf(partnerSeen, link_.partnerAbility);
    case phyExpansion:
        return readExpansion(now);
    case phyPartnerNextPage:
        return flagIf(partnerSeen && link_.partnerGigabit != 0, gigabitPage);
    case phyGigabitStatus:
        return readGigabitStatus(now);
    case phySpecificStatus:
        return readSpecificStatus(now);
    case phyExtendedData:
        return hasExtended() ? extended_[memory_[phyExtendedIndex]] : std::uint16_t{0};
    default:
        return memory_[number];
    }
}

std::uint16_t Phy::readStatus(SimTime now) const noexcept {
    const bool up = isLinkUp(now);
    const bool negotiated = up && (memory_[phyControl] & control::autoNegotiation) != 0;
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
    if (number == phyControl) return writeControl(value, now);
    if (number == phyExtendedData) {
        if (hasExtended()) extended_[memory_[phyExtendedIndex]] = value;
    } else if (isMemory(number)) {
        memory_[number] = value;
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
    const bool changed = restart || mode(value) != mode(memory_[phyControl]);
    memory_[phyControl] =
        value & control::writable & static_cast<std::uint16_t>(~control::restartNegotiation);
    if (!changed) return false;
    activeSince_ = (value & control::powerDown) != 0 ? never : now;
    takesTime_ = true;
    return true;
}

/// Standard registers get their defaults; the vendor's registers keep their content.
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
    setAllDefaults();
    beginReset(now);
}

void Phy::switchOff() noexcept {
    hasPower_ = false;
}

void Phy::switchOn(SimTime now) noexcept {
    if (hasPower_) return;
    hasPower_ = true;
    setAllDefaults();
    beginReset(now);
}

LinkEnd Phy::end() const noexcept {
    LinkEnd end;
    if (answers()) end.activeSince = activeSince_;
    if (takesTime_) end.negotiation = oddNegotiation_.value_or(negotiationTime_);
    const std::uint16_t mode = memory_[phyControl];
    end.negotiates = (mode & control::autoNegotiation) != 0;
    end.ability = memory_[phyAdvertisement];
    end.gigabit = memory_[phyGigabitControl];
    end.forcedMbit = forcedMbit(mode);
    end.forcedFullDuplex = (mode & control::fullDuplex) != 0;
    return end;
}

SimTime Phy::passesFramesFrom() const noexcept {
    const bool passes = link_.mbit != 0 && (memory_[phyControl] & control::isolate) == 0;
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
