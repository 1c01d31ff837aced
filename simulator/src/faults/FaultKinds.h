// SPDX-License-Identifier: MIT
// The kinds of faults that a script may ask for: the one table behind the parser, the ledger and the guide.
#pragma once

#include <orvo/sim/orvo_sim.h>

#include <cstdint>
#include <string_view>

namespace orvo::sim {

/// What a fault waits for, and thus what its script counts.
enum class FaultPoint {
    Frame,      // a frame on the port's wire, in the direction that the script says
    Arrival,    // a frame from the port's wire
    Reception,  // a transmission that the host begins to read from the port's receive queue
    Busy,       // a read of the port's busy flag
    Register,   // a read of the register that the script names
    MdioRead,   // a read of an MDIO read's result from the port's PHY
    PhyReset,   // a reset of the port's PHY, by register or by the reset line
    SentOrTime, // a frame that the port sent, or a moment
};
const char* textOf(FaultPoint point) noexcept;

enum class FaultKind {
    FcsFlip,
    BitError,
    Runt,
    Giant,
    Loss,
    Duplicate,
    Reorder,
    Overflow,
    SizeZero,
    SizeWild,
    SizeLong,
    SizeShort,
    EndMissing,
    ReadShort,
    ReadTorn,
    ReadLong,
    ReadFailed,
    BusyStuck,
    BusyFf,
    RegisterFailed,
    MdioFailed,
    ResetEndless,
    SlowNegotiation,
    LinkFlap,
    BoardGone,
    ActionStorm,
};

// Parameters beyond place and time.
inline constexpr unsigned takesDuration = 1; // for_ms
inline constexpr unsigned takesResult = 2;   // result
inline constexpr unsigned takesRegister = 4; // register
inline constexpr unsigned takesReports = 8;  // reports

struct FaultKindRow {
    FaultKind kind;
    const char* name;
    FaultPoint point;
    unsigned parameters;
    std::uint32_t usualMs; ///< for_ms, where the script does not say
    OrvoSimEvidence evidence;
    const char* does;
};

inline constexpr FaultKindRow faultKindRows[] = {
    {FaultKind::FcsFlip, "fcs-flip", FaultPoint::Frame, 0, 0, OrvoSimReceiveErrors,
     "spoils the frame check sequence"},
    {FaultKind::BitError, "bit-error", FaultPoint::Frame, 0, 0, OrvoSimReceiveErrors,
     "inverts one bit, anywhere in the frame"},
    {FaultKind::Runt, "runt", FaultPoint::Frame, 0, 0, OrvoSimReceiveErrors,
     "cuts the frame to 14 to 63 bytes"},
    {FaultKind::Giant, "giant", FaultPoint::Frame, 0, 0, OrvoSimReceiveErrors,
     "lengthens the frame to 1,519 to 2,048 bytes"},
    {FaultKind::Loss, "loss", FaultPoint::Frame, 0, 0, OrvoSimArrivals, "takes the frame away"},
    {FaultKind::Duplicate, "duplicate", FaultPoint::Frame, 0, 0, OrvoSimArrivals, "brings the frame twice"},
    {FaultKind::Reorder, "reorder", FaultPoint::Frame, 0, 0, OrvoSimLateFrames,
     "holds the frame back until a different one has overtaken it"},
    {FaultKind::Overflow, "overflow", FaultPoint::Arrival, 0, 0, OrvoSimOverflows,
     "the receive queue has no room for the frame: its words are lost"},
    {FaultKind::SizeZero, "size-zero", FaultPoint::Reception, 0, 0, OrvoSimZeroSizes,
     "the size word is 0, and there is nothing behind it"},
    {FaultKind::SizeWild, "size-wild", FaultPoint::Reception, 0, 0, OrvoSimInvalidSizes,
     "the size word is over 65,536, and there is nothing behind it"},
    {FaultKind::SizeLong, "size-long", FaultPoint::Reception, 0, 0, OrvoSimInvalidSizes,
     "the size word is 8 too large"},
    {FaultKind::SizeShort, "size-short", FaultPoint::Reception, 0, 0, OrvoSimInvalidEnds,
     "the size word is half of what it should be"},
    {FaultKind::EndMissing, "end-missing", FaultPoint::Reception, 0, 0, OrvoSimInvalidEnds,
     "the last word lacks the end flag"},
    {FaultKind::ReadShort, "read-short", FaultPoint::Reception, 0, 0, OrvoSimInvalidEnds,
     "the read of the frame delivers half of its words"},
    {FaultKind::ReadTorn, "read-torn", FaultPoint::Reception, 0, 0, OrvoSimInvalidSizes,
     "the read of the frame delivers 2 bytes"},
    {FaultKind::ReadLong, "read-long", FaultPoint::Reception, 0, 0, OrvoSimInvalidSizes,
     "the read of the frame claims 4 bytes more than were asked for"},
    {FaultKind::ReadFailed, "read-failed", FaultPoint::Reception, takesResult, 0, OrvoSimReadErrors,
     "the read fails, and the transmission is lost"},
    {FaultKind::BusyStuck, "busy-stuck", FaultPoint::Busy, takesDuration, 1100, OrvoSimStillBusy,
     "the busy flag stays 1 for for_ms of real time"},
    {FaultKind::BusyFf, "busy-ff", FaultPoint::Busy, 0, 0, OrvoSimUnexpectedValue,
     "the busy flag reads 0xFF, once"},
    {FaultKind::RegisterFailed, "register-failed", FaultPoint::Register, takesResult | takesRegister, 0,
     OrvoSimNoEvidence, "the read of the register fails"},
    {FaultKind::MdioFailed, "mdio-failed", FaultPoint::MdioRead, takesResult, 0, OrvoSimNoEvidence,
     "the read of what the PHY answered fails"},
    {FaultKind::ResetEndless, "reset-endless", FaultPoint::PhyReset, 0, 0, OrvoSimStillInReset,
     "the PHY stays in reset until the next one"},
    {FaultKind::SlowNegotiation, "slow-negotiation", FaultPoint::PhyReset, takesDuration, 2000,
     OrvoSimLinkDownTime, "from this reset to the next one, negotiating the link takes for_ms"},
    {FaultKind::LinkFlap, "link-flap", FaultPoint::SentOrTime, takesDuration, 100, OrvoSimLinkLosses,
     "the cable is out for for_ms"},
    {FaultKind::BoardGone, "board-gone", FaultPoint::SentOrTime, takesDuration, 300, OrvoSimReadErrors,
     "the board vanishes for for_ms, and comes back with its PHYs reset"},
    {FaultKind::ActionStorm, "action-storm", FaultPoint::SentOrTime, takesReports, 0, OrvoSimActionReports,
     "the firmware reports that many action command time-outs at once"},
};

/// Null when there is no such kind.
const FaultKindRow* findFaultKind(std::string_view name) noexcept;

/// The counter or message that must move, in the words of the guide.
const char* textOf(OrvoSimEvidence evidence) noexcept;

} // namespace orvo::sim
