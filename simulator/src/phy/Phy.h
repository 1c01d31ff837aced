// SPDX-License-Identifier: MIT
// One port's PHY: its registers, and what it signals to the other end of the cable.
#pragma once

#include "phy/Negotiation.h"
#include "phy/PhyRegisters.h"

#include <array>
#include <cstdint>
#include <optional>

namespace orvo::sim {

/// How long a PHY holds its reset bit, and how long negotiation takes after that.
struct PhyTimes {
    SimTime reset, negotiation;
};

/// Can change the times of a reset.
class PhyResetWatch {
public:
    virtual PhyTimes atReset(PhyTimes usual, SimTime now) noexcept = 0;

protected:
    ~PhyResetWatch() = default;
};

/// All of it under the bench mutex.
class Phy {
public:
    /// A PHY that has power and was never reset. Until its first reset it negotiates in no time.
    Phy() noexcept;

    /// Times of later resets and negotiations, in milliseconds; a reset of UINT32_MAX never ends.
    void setTimes(std::uint32_t resetMs, std::uint32_t negotiationMs) noexcept;

    /// Null: none. The watch must outlive the PHY, or stay until the next call.
    void setResetWatch(PhyResetWatch* watch) noexcept { watch_ = watch; }

    /// A register (0 to 31) as an MDIO read gives it. `read` also clears the bits that reading clears.
    std::uint16_t peek(unsigned number, SimTime now) const noexcept;
    std::uint16_t read(unsigned number, SimTime now) noexcept;
    /// True when the caller must renegotiate the link.
    bool write(unsigned number, std::uint16_t value, SimTime now) noexcept;

    /// The reset line, and the board's power. The caller must renegotiate after each.
    void holdInReset() noexcept;
    void releaseReset(SimTime now) noexcept;
    void switchOff() noexcept;
    void switchOn(SimTime now) noexcept;

    LinkEnd end() const noexcept;
    const Link& link() const noexcept { return link_; }
    bool isLinkUp(SimTime now) const noexcept { return link_.mbit != 0 && link_.upAt <= now; }
    /// The moment from which frames pass between the MAC and the cable.
    SimTime passesFramesFrom() const noexcept;
    /// The outcome of a negotiation that began at `now`.
    void setLink(const Link& link, SimTime now) noexcept;

    void setIdleErrors(unsigned count) noexcept;

    /// How often the link went down, and how long it has been down in total.
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
    std::optional<SimTime> oddNegotiation_; // set by the watch, until the next reset
    PhyResetWatch* watch_ = nullptr;

    // Without power, or held in reset, no register answers and nothing is signalled.
    bool hasPower_ = true;
    bool heldInReset_ = false;
    SimTime resetUntil_ = always;
    SimTime activeSince_ = always;
    bool takesTime_ = false; // negotiation does: after the first reset or restart

    std::array<std::uint16_t, phyRegisters> memory_{}; // of the registers that keep a value
    std::array<std::uint16_t, 32> extended_{};

    Link link_;
    SimTime downSince_ = always;
    SimTime downBefore_{}; // in total, before downSince_
    std::uint64_t linkLosses_ = 0;
    bool linkFailed_ = false; // since the status was read last
    bool pageRead_ = false;   // this and the next: read since the negotiation
    bool faultRead_ = false;
    std::uint16_t idleErrors_ = 0;
};

} // namespace orvo::sim
