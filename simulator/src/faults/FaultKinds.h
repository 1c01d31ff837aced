// SPDX-License-Identifier: MIT
// The kinds of faults: the one table behind the parser of scripts, the ledger and the guide.
#pragma once

#include <orvo/sim/orvo_sim.h>

#include <cstdint>
#include <string_view>

namespace orvo::sim {

/// What a kind of fault waits for, and thus what `at`, `every`, `from` and `to` of a script count.
enum class FaultPoint {
    Frame,      // a frame on the port's wire, in the direction that the script says
    Arrival,    // a frame from the port's wire
    Reception,  // a transmission that the host begins to read from the port's receive queue
    Busy,       // a read of the port's busy flag
    Register,   // a read of the register that the script names
    MdioRead,   // a read of an MDIO read's result from the port's PHY
    PhyReset,   // a reset of the port's PHY, by register or by the reset line
    SentOrTime, // a frame that the port sent, or a moment
    Access,     // an access of the host to the board
};
/// For every point that scripts know: not for `Access`.
const char* textOf(FaultPoint point) noexcept;

// Parameters beyond place and time.
inline constexpr unsigned takesDuration = 1; // for_ms
inline constexpr unsigned takesResult = 2;   // result
inline constexpr unsigned takesRegister = 4; // register
inline constexpr unsigned takesReports = 8;  // reports

// Kind, name in scripts, point, parameters, default of for_ms, what a fault of the kind moves, what it does.
// clang-format off
#define ORVO_SIM_FAULT_KINDS(KIND)                                                                           \
    KIND(FcsFlip, "fcs-flip", Frame, 0, 0, ReceiveErrors, "spoils the frame check sequence")                 \
    KIND(BitError, "bit-error", Frame, 0, 0, ReceiveErrors, "inverts one bit, anywhere in the frame")        \
    KIND(Runt, "runt", Frame, 0, 0, ReceiveErrors, "cuts the frame to 14 to 63 bytes")                       \
    KIND(Giant, "giant", Frame, 0, 0, ReceiveErrors, "lengthens the frame to 1,519 to 2,048 bytes")          \
    KIND(Loss, "loss", Frame, 0, 0, Arrivals, "takes the frame away")                                        \
    KIND(Duplicate, "duplicate", Frame, 0, 0, Arrivals, "brings the frame twice")                            \
    KIND(Reorder, "reorder", Frame, 0, 0, LateFrames,                                                        \
         "holds the frame back until a different one has overtaken it")                                      \
    KIND(Overflow, "overflow", Arrival, 0, 0, Overflows,                                                     \
         "the receive queue has no room for the frame: its words are lost")                                  \
    KIND(SizeZero, "size-zero", Reception, 0, 0, ZeroSizes,                                                  \
         "the size word is 0, and there is nothing behind it")                                               \
    KIND(SizeWild, "size-wild", Reception, 0, 0, InvalidSizes,                                               \
         "the size word is over 65,536, and there is nothing behind it")                                     \
    KIND(SizeLong, "size-long", Reception, 0, 0, InvalidSizes, "the size word is 8 too large")               \
    KIND(SizeShort, "size-short", Reception, 0, 0, InvalidEnds,                                              \
         "the size word is half of what it should be")                                                       \
    KIND(EndMissing, "end-missing", Reception, 0, 0, InvalidEnds, "the last word lacks the end flag")        \
    KIND(ReadShort, "read-short", Reception, 0, 0, InvalidEnds,                                              \
         "the read of the frame delivers half of its words")                                                 \
    KIND(ReadTorn, "read-torn", Reception, 0, 0, InvalidSizes, "the read of the frame delivers 2 bytes")     \
    KIND(ReadLong, "read-long", Reception, 0, 0, InvalidSizes,                                               \
         "the read of the frame claims 4 bytes more than were asked for")                                    \
    KIND(ReadFailed, "read-failed", Reception, takesResult, 0, ReadErrors,                                   \
         "the read fails, and the transmission is lost")                                                     \
    KIND(BusyStuck, "busy-stuck", Busy, takesDuration, 1100, StillBusy,                                      \
         "the busy flag stays 1 for for_ms of real time")                                                    \
    KIND(BusyFf, "busy-ff", Busy, 0, 0, UnexpectedValue, "the busy flag reads 0xFF, once")                   \
    KIND(RegisterFailed, "register-failed", Register, takesResult | takesRegister, 0, NoEvidence,            \
         "the read of the register fails")                                                                   \
    KIND(MdioFailed, "mdio-failed", MdioRead, takesResult, 0, NoEvidence,                                    \
         "the read of what the PHY answered fails")                                                          \
    KIND(ResetEndless, "reset-endless", PhyReset, 0, 0, StillInReset,                                        \
         "the PHY stays in reset until the next one")                                                        \
    KIND(SlowNegotiation, "slow-negotiation", PhyReset, takesDuration, 2000, LinkDownTime,                   \
         "from this reset to the next one, negotiating the link takes for_ms")                               \
    KIND(LinkFlap, "link-flap", SentOrTime, takesDuration, 100, LinkLosses, "the cable is out for for_ms")   \
    KIND(BoardGone, "board-gone", SentOrTime, takesDuration, 300, ReadErrors,                                \
         "the board vanishes for for_ms, and comes back with its PHYs reset")                                \
    KIND(ActionStorm, "action-storm", SentOrTime, takesReports, 0, ActionReports,                            \
         "the firmware reports that many action command time-outs at once")
// clang-format on

#define ORVO_SIM_ENUMERATOR(kind, ...) kind,
enum class FaultKind { ORVO_SIM_FAULT_KINDS(ORVO_SIM_ENUMERATOR) Called };
#undef ORVO_SIM_ENUMERATOR

struct FaultKindRow {
    FaultKind kind;
    const char* name;
    FaultPoint point;
    unsigned parameters = 0;
    std::uint32_t usualMs = 0;
    OrvoSimEvidence evidence = OrvoSimNoEvidence;
    const char* does = "";
};

#define ORVO_SIM_ROW(kind, name, point, parameters, usualMs, evidence, does)                                 \
    {FaultKind::kind, name, FaultPoint::point, parameters, usualMs, OrvoSim##evidence, does},
inline constexpr FaultKindRow faultKindRows[] = {ORVO_SIM_FAULT_KINDS(ORVO_SIM_ROW)};
#undef ORVO_SIM_ROW
#undef ORVO_SIM_FAULT_KINDS

/// The kind of the faults that single calls of orvo_sim.h arm; scripts cannot name it.
inline constexpr FaultKindRow calledFault{FaultKind::Called, "", FaultPoint::Access};

/// Null when there is no such kind.
const FaultKindRow* findFaultKind(std::string_view name) noexcept;

/// The counter or message that must move, in the words of the guide.
const char* textOf(OrvoSimEvidence evidence) noexcept;

} // namespace orvo::sim
