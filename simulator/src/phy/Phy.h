// SPDX-License-Identifier: MIT
// One port's PHY: its registers as MDIO sees them, and what it shows to the other end of the cable.
#pragma once

#include "phy/Negotiation.h"
#include "phy/PhyRegisters.h"

#include <array>
#include <cstdint>
#include <optional>

namespace orvo::sim {

/// How long a PHY holds its reset bit, and how long the negotiation after it takes.
struct PhyTimes {
    SimTime reset, negotiation;
};

/// Has a say in the times of every reset.
class PhyResetWatch {
public:
    virtual PhyTimes atReset(PhyTimes usual, SimTime now) noexcept = 0;

protected:
    ~PhyResetWatch() = default;
};

/// Threads: guarded by the bench mutex, all of it.
class Phy {
public:
    /// A PHY that has power and was never reset; it negotiates in no time until it is.
    Phy() noexcept;

    /// How long it holds the reset bit and negotiates, from the next time on; UINT32_MAX for ever.
    void setTimes(std::uint32_t resetMs, std::uint32_t negotiationMs) noexcept;

    /// Null: nobody. Outlives the PHY, or the next call.
    void setResetWatch(PhyResetWatch* watch) noexcept { watch_ = watch; }

    /// A register (0 to 31) as an MDIO read gives it; `read` also does what reading does to it.
    std::uint16_t peek(unsigned number, SimTime now) const noexcept;
    std::uint16_t read(unsigned number, SimTime now) noexcept;
    /// True when the link has to be negotiated anew.
    bool write(unsigned number, std::uint16_t value, SimTime now) noexcept;

    /// The reset line, and the board's power. All of them call for a new negotiation.
    void holdInReset() noexcept;
    void releaseReset(SimTime now) noexcept;
    void switchOff() noexcept;
    void switchOn(SimTime now) noexcept;

    LinkEnd end() const noexcept;
    const Link& link() const noexcept { return link_; }
    bool isLinkUp(SimTime now) const noexcept { return link_.mbit != 0 && link_.upAt <= now; }
    /// From when on frames pass between the MAC and the cable.
    SimTime passesFramesFrom() const noexcept;
    /// The outcome of a negotiation that began at `now`.
    void setLink(const Link& link, SimTime now) noexcept;

    void setIdleErrors(unsigned count) noexcept;

    /// How often the link went down, and how long it has been down in all.
    std::uint64_t linkLosses() const noexcept { return linkLosses_; }
    SimTime linkDownTime(SimTime now) const noexcept;

private:
    bool answers() const noexcept { return hasPower_ && !heldInReset_; }
    bool isResetting(SimTime now) const noexcept { return now < resetUntil_; }
    void setStandardDefaults() noexcept;
    void setAllDefaults() noexcept;
    bool hasExtended() const noexcept { return memory_[phyExtendedIndex] < extended_.size(); }
    void beginReset(SimTime now) noexcept;
    bool writeControl(std::uint16_t value, SimTime now) noexcept;
    std::uint16_t readStatus(SimTime now) const noexcept;
    std::uint16_t readExpansion(SimTime now) const noexcept;
    std::uint16_t readGigabitStatus(SimTime now) const noexcept;
    std::uint16_t readSpecificStatus(SimTime now) const noexcept;

    SimTime resetTime_;
    SimTime negotiationTime_;
    std::optional<SimTime> oddNegotiation_; // what a watch made of it, until the next reset
    PhyResetWatch* watch_ = nullptr;

    // Without power, or held in reset, no register answers and nothing is signalled.
    bool hasPower_ = true;
    bool heldInReset_ = false;
    SimTime resetUntil_ = always;
    SimTime activeSince_ = always;
    bool takesTime_ = false; // to negotiate: since the first reset or restart

    std::array<std::uint16_t, phyRegisters> memory_{}; // of the registers that keep a value
    std::array<std::uint16_t, 32> extended_{};

    Link link_;
    SimTime downSince_ = always;
    SimTime downBefore_{}; // in all, up to then
    std::uint64_t linkLosses_ = 0;
    bool linkFailed_ = false; // since the status was read last
    bool pageRead_ = false;   // the received page, and the fault, were seen since the negotiation
    bool faultRead_ = false;
    std::uint16_t idleErrors_ = 0;
};

} // namespace orvo::sim
