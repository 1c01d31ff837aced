// SPDX-License-Identifier: MIT
// Control of the simulated board: what a hand at the real one would do. Cables, frames from the far end,
// faults, and what happened at a port. Exported by the simulated hardware access layer (liborvo_hal.so); the
// real one has none of these, so look a function up at run time when the program must also run on a real
// installation.
//
// Conventions: a board is named by its index (0 to 31), a port by its number (0 to 3). Functions return 0 on
// success and a negative OrvoSimResult on failure. Any thread, at any time. Texts are copied, nothing is
// owned across the boundary, unless a comment says otherwise.
#pragma once

#include <orvo/Export.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Why a call of this interface failed; 0 where it did not.
enum OrvoSimResult {
    OrvoSimNoSuchPlace = -1, ///< no such board, port or queue
    OrvoSimBadValue = -2,    ///< a text that is no wire, a frame of impossible size, a null pointer
    OrvoSimFull = -3,        ///< the queue has no room; what was lost is counted as lost words
    OrvoSimNotWritten = -4,  ///< a wire's file could not be written
    OrvoSimServerGone = -5   ///< the server that holds the boards has ended
};

/// What the simulated hardware access layer answers where it refuses a call.
enum OrvoSimHalError {
    OrvoSimHalBadHandle = -2001,   ///< a device handle that is null, foreign or was released before
    OrvoSimHalBoardGone = -2002,   ///< the board was removed, or the server that holds it has ended
    OrvoSimHalNoRegister = -2003,  ///< this board's firmware has no register at the address
    OrvoSimHalNoQueue = -2004,     ///< the board has no data queue of this number
    OrvoSimHalBadArgument = -2005, ///< a null pointer, or a key that is unknown
    OrvoSimHalNoApplet = -2006,    ///< the FPGA holds no applet, or the applet is of another firmware version
    OrvoSimHalQueueTaken = -2007   ///< another program reads this data queue now
};

/// Why no board appeared, as "FILE:LINE: REASON" (line 1 where the file as a whole is meant), or null when
/// the configuration was good (or there was none). Reading it takes over the duty to report it; otherwise the
/// first call of OHalInitDevice, OHalGetDevice or OHalGetDeviceCount writes it to standard error, once. Owned
/// by the library.
ORVO_EXPORT const char* orvoSimConfigurationError(void);

/// Number of simulated boards, removed ones included; 0 when the configuration is bad.
ORVO_EXPORT int orvoSimBoardCount(void);

/// Cables a port: "loopback", "port:BOARD/PORT", "pcap:IN[,OUT]", "tap:NAME", "packet:IFNAME" or "none". A
/// wire that is there is unplugged first (its OUT file is complete then), and the link goes down and comes up
/// again by negotiation, at once on a port whose PHY was never reset. "port:" cables both ends; the far
/// port's wire is unplugged too, and so is the cable's other end wherever a cable is taken away. "tap:" and
/// "packet:" reach the interfaces of the caller's network namespace. Relative paths start at the working
/// directory. On failure (OrvoSimNoSuchPlace, OrvoSimBadValue) the old wire stays and `error`, if not null,
/// receives one sentence (NUL-terminated, cut to `errorBytes`).
ORVO_EXPORT int orvoSimSetWire(unsigned board, unsigned port, const char* wire, char* error,
                               size_t errorBytes);

/// The wire of a port in the form above, NUL-terminated, cut to `textBytes`.
ORVO_EXPORT int orvoSimGetWire(unsigned board, unsigned port, char* text, size_t textBytes);

/// Brings what wires have written to files onto the disk. OrvoSimNotWritten when one of them failed to.
ORVO_EXPORT int orvoSimFlushWires(void);

/// The far end sends a frame (without frame check sequence, 1 to 1514 bytes; it is padded to 60 bytes and
/// gets a correct one, exclusive-or'ed with `fcsErrorMask`: 0 keeps it correct). Arrives as from any wire:
/// nothing when the link is down or the receiver is off, an error count when the sequence is wrong,
/// OrvoSimFull when the receive queue has no room.
ORVO_EXPORT int orvoSimInjectFrame(unsigned board, unsigned port, const void* frame, size_t bytes,
                                   uint32_t fcsErrorMask);

/// The firmware reports an action command time-out: one word with the end-of-transmission flag and `count` in
/// the port's action command queue.
ORVO_EXPORT int orvoSimReportActionCommandTimeout(unsigned board, unsigned port, uint16_t count);

/// Puts words into a data queue just as given, whatever they mean; all or none. Queue 0 to 3: received frames
/// of that port, 8 to 11: action command reports of port queue - 8.
ORVO_EXPORT int orvoSimPushWords(unsigned board, unsigned queue, const uint32_t* words, size_t count);

/// The next `times` reads of a data queue deliver nothing and return `result` (negative: an error code). A
/// second call replaces what is left of the first; 0 `times` ends it.
ORVO_EXPORT int orvoSimFailReads(unsigned board, unsigned queue, int result, unsigned times);

/// The next `times` deliveries of a data queue claim `extraBytes` more (less if negative) than they contain.
/// A second call replaces what is left of the first; 0 `times` ends it.
ORVO_EXPORT int orvoSimMisreportReads(unsigned board, unsigned queue, int extraBytes, unsigned times);

/// The next `times` reads of the register of this name (port number included) fail with `result`, or, when
/// `result` is 0, give `value`. Calls for one register queue up and are served in order; 0 `times` takes all
/// of them back. OrvoSimBadValue when the board's firmware has no such register.
ORVO_EXPORT int orvoSimOverrideRegister(unsigned board, const char* name, int result, uint64_t value,
                                        unsigned times);

/// The next `times` openings of the board fail: OHalInitDevice returns null.
ORVO_EXPORT int orvoSimFailOpen(unsigned board, unsigned times);

/// The next `times` calls of OHalConfigureFpga return `result`.
ORVO_EXPORT int orvoSimFailConfigure(unsigned board, int result, unsigned times);

/// Removes the board (0) or puts it back (1). While it is away every call on it fails, open handles included,
/// and its links are down. Put back, it is as it was before, except that its PHYs were reset by the power-up.
ORVO_EXPORT int orvoSimSetBoardPresent(unsigned board, int present);

/// What the far end of a port's cable offers in auto-negotiation; a port at the far end offers no more than
/// its own PHY does. Setting it renegotiates the link.
enum OrvoSimPartner {
    OrvoSimPartner1000 = 0, ///< 10, 100 and 1000 Mbit/s
    OrvoSimPartner100 = 1,  ///< 10 and 100 Mbit/s
    OrvoSimPartnerDown = 2  ///< switched off: no link
};
/// Decides what the far end of a port is.
ORVO_EXPORT int orvoSimSetPartner(unsigned board, unsigned port, enum OrvoSimPartner partner);

/// Pulls the plug of a port's cable (0) or puts it back (1), as a hand would: the wire stays where it leads,
/// and the link is down at both its ends in between.
ORVO_EXPORT int orvoSimSetPlugged(unsigned board, unsigned port, int plugged);
/// 1 while the plug is in, 0 while it is pulled.
ORVO_EXPORT int orvoSimIsPlugged(unsigned board, unsigned port);

/// Has the frames of a board's ports take their time on the wire (1), preamble and gap included, at the speed
/// that the link negotiated, or none (0). In real time only.
ORVO_EXPORT int orvoSimSetLineRate(unsigned board, int negotiated);

/// Sets the PHY's idle error count (IEEE 802.3 register 10, bits 0 to 7, which stop at 255).
ORVO_EXPORT int orvoSimSetIdleErrors(unsigned board, unsigned port, unsigned count);

/// How long a PHY holds its reset bit after a reset, and how long auto-negotiation takes, in milliseconds,
/// from the next reset or negotiation on. A reset time of UINT32_MAX never ends.
ORVO_EXPORT int orvoSimSetPhyTimes(unsigned board, unsigned port, uint32_t resetMs, uint32_t negotiationMs);

/// What a port did since the library was loaded.
struct OrvoSimPort {
    uint64_t sentFrames;     ///< frames that left by the wire
    uint64_t sentBytes;      ///< their bytes, padding and frame check sequence included
    uint64_t unsentFrames;   ///< frames handed over that could not leave: no link, transmitter off or busy,
                             ///< nothing in the transmit buffer, more than its 2048 bytes, or a network
                             ///< interface that did not take them
    uint64_t receivedFrames; ///< good frames from the wire
    uint64_t receivedBytes;  ///< their bytes, frame check sequence included
    uint64_t receiveErrors;  ///< frames from the wire with a wrong frame check sequence or of impossible size
    uint64_t ignoredFrames;  ///< frames that came while the receiver was off, in reset or without link
    uint64_t overflowFrames; ///< good frames that the receive queue had no room for, and frames that the
                             ///< receive ring of a "packet:" wire had none for
    uint64_t lostWords;      ///< words of those frames; 31 for each of the latter, whose length is not known
    uint64_t queuedWords;    ///< words in the receive queue now
    uint64_t registerWrites; ///< writes of registers of this port
    uint64_t staleAccesses;  ///< calls with a handle of this board that was released before; the same for
                             ///< every port of a board
    int linkUp;              ///< 1 while the link is up
    int linkMbit;            ///< its speed in Mbit/s, 0 while down
    int crcGeneration;       ///< 1 while the transmitter appends the frame check sequence
};
/// Reads that.
ORVO_EXPORT int orvoSimReadPort(unsigned board, unsigned port, struct OrvoSimPort* out);

/// Sets the counters of a port that count frames and bytes on the wire (sent, unsent, received, errors,
/// ignored), so that their further way can be watched from there; those of the receive queue stay.
ORVO_EXPORT int orvoSimPresetCounters(unsigned board, unsigned port, uint64_t value);

/// Has the faults of a script happen from now on (docs/faults.md of the source tree has the form of scripts).
/// Every random choice follows from `seed`: the same script, seed and traffic give the same faults. A script
/// that was loaded before ends, and the accounts begin anew. To be called while no frame is under way; wires
/// of ports with faults on the wire are plugged in anew. On failure (OrvoSimBadValue) everything stays as it
/// was, and `error`, if not null, receives "FILE:LINE: REASON" (NUL-terminated, cut to `errorBytes`).
ORVO_EXPORT int orvoSimLoadFaults(const char* file, uint64_t seed, char* error, size_t errorBytes);
/// The same from a text; FILE in messages is "script".
ORVO_EXPORT int orvoSimLoadFaultText(const char* text, uint64_t seed, char* error, size_t errorBytes);

/// Ends the faults: none happens any more, what is under way is over (a board comes back, a cable is plugged
/// in again), and frames that were held back go on. The ledger and the accounts can still be read.
ORVO_EXPORT int orvoSimEndFaults(void);

/// What a fault must move, as far as anybody can see.
enum OrvoSimEvidence {
    OrvoSimNoEvidence = 0,       ///< nothing: whoever reads asks again or goes on, and no frame is lost
    OrvoSimReceiveErrors = 1,    ///< receiveErrors of the port that the frame reaches
    OrvoSimArrivals = 2,         ///< frames that arrive, against those that were sent
    OrvoSimLateFrames = 3,       ///< frames that come back behind one that was sent later
    OrvoSimOverflows = 4,        ///< overflowFrames of the port
    OrvoSimZeroSizes = 5,        ///< the plug-in's "zerosize transmissions"
    OrvoSimInvalidSizes = 6,     ///< the plug-in's "invalid transmission sizes"
    OrvoSimInvalidEnds = 7,      ///< the plug-in's "invalid EOTs"
    OrvoSimReadErrors = 8,       ///< the plug-in's "UIQ read errors"
    OrvoSimStillBusy = 9,        ///< the plug-in's message "Transmitter still busy"
    OrvoSimUnexpectedValue = 10, ///< the plug-in's message "Unexpected value in OHalRegisterRead"
    OrvoSimStillInReset = 11,    ///< the plug-in's message "GigE PHY ... still in reset"
    OrvoSimLinkDownTime = 12,    ///< linkDownMicroseconds of the port
    OrvoSimLinkLosses = 13,      ///< linkLosses of the port
    OrvoSimActionReports = 14    ///< the plug-in's message "Action command timeout detected"
};

/// One entry of the script that was loaded last. Texts are the library's own, for good.
struct OrvoSimFault {
    const char* kind;  ///< as in the script
    unsigned line;     ///< of the script
    unsigned board;    ///< that it befalls
    unsigned port;     ///< of that board
    int received;      ///< 1: at the port, 0: away from it
    uint32_t forMs;    ///< how long it lasts; 0: that has no meaning for it
    uint64_t injected; ///< how often it happened
    uint64_t effects;  ///< of action command storms, reports that found room; of slow negotiations, the least
                       ///< time without link that the last one must have made until now, in microseconds
    enum OrvoSimEvidence evidence; ///< what shows it
    const char* mustMove;          ///< the evidence, in words
};
/// The `number`th entry, counted from 0 in the order of the script; OrvoSimNoSuchPlace beyond the last.
ORVO_EXPORT int orvoSimReadFault(unsigned number, struct OrvoSimFault* out);

/// What became of a port's frames since the script was loaded, beyond what OrvoSimPort counts. Sent: what
/// left the port, less `sentLost` and `sentHeld` and plus `sentAdded`, is on the wire. Received: what the
/// wire brings, with the same three, is what the port's receiver counts. Queue: the frames that entered the
/// receive queue were taken or cleared, or are left in it.
struct OrvoSimPortAccount {
    uint64_t refusedFrames;        ///< handed over while the board did not answer
    uint64_t sentPassed;           ///< that the wire took, where faults of a script may befall them
    uint64_t sentLost;             ///< behind the port, by faults on the wire
    uint64_t sentAdded;            ///< as above
    uint64_t sentHeld;             ///< as above, and not yet let go
    uint64_t receivedLost;         ///< before the port, by faults on the wire
    uint64_t receivedAdded;        ///< as above
    uint64_t receivedHeld;         ///< as above, and not yet let go
    uint64_t takenFrames;          ///< transmissions that the host began to read
    uint64_t failedFrames;         ///< those of them that a failing read lost
    uint64_t clearedFrames;        ///< that the host dropped by clearing the queue
    uint64_t leftFrames;           ///< in the queue now
    uint64_t leftReports;          ///< words in the action command queue now
    uint64_t linkLosses;           ///< times that the link went down
    uint64_t linkDownMicroseconds; ///< how long it was down, all in all
    int hasActionReader;           ///< 1: the host has read the action command queue
};
/// OrvoSimNoSuchPlace also before the first script.
ORVO_EXPORT int orvoSimReadPortAccount(unsigned board, unsigned port, struct OrvoSimPortAccount* out);

/// The content of a PHY register (0 to 31), as an MDIO read would give it, without side effects. 0xFFFF while
/// the PHY does not answer.
ORVO_EXPORT int orvoSimReadPhy(unsigned board, unsigned port, unsigned phyRegister, uint16_t* value);

/// The clock that PHY times, the moments of fault scripts and the time stamps of captures run on; it never
/// goes back. Virtual time stands still unless orvoSimAdvanceTime or a queue read advances it: a read that
/// finds fewer words than it asks for waits at most 1 ms of real time for them and then advances the clock by
/// its time-out. Driven time is virtual time that orvoSimAdvanceTime alone advances, so that one thread
/// decides what time it is; time stamps then count from 2000-01-01 UTC.
enum OrvoSimClock {
    OrvoSimRealTime = 0, ///< at the start
    OrvoSimVirtualTime = 1,
    OrvoSimDrivenTime = 2
};

/// Chooses one of OrvoSimClock.
ORVO_EXPORT int orvoSimUseVirtualTime(int clock);

/// Advances virtual time, to 146 years at most. OrvoSimBadValue in real time.
ORVO_EXPORT int orvoSimAdvanceTime(uint64_t microseconds);

/// The clock, in microseconds from an arbitrary start.
ORVO_EXPORT uint64_t orvoSimTime(void);

/// A firmware register: its name (port number included) and its address, never 0.
struct OrvoSimRegister {
    const char* name; ///< NUL-terminated
    uint32_t address; ///< as OHalRegisterRead takes it
};

/// The registers that firmware of one version has.
struct OrvoSimRegisterMap {
    uint32_t major;                          ///< of the firmware version
    uint32_t minor;                          ///< of it
    uint32_t count;                          ///< of registers
    const struct OrvoSimRegister* registers; ///< `count` of them
};

/// The register map of the `number`th firmware version, counted from 0, that a board runs; null beyond the
/// last. A pointer to it is the applet that OHalConfigureFpga takes. Owned by the library, for good.
ORVO_EXPORT const struct OrvoSimRegisterMap* orvoSimRegisterMap(unsigned number);

/// Lets other programs use the boards of this process, as they would one real board: each that runs with the
/// environment variable ORVO_BOARD set to `name`, and without it where `name` is "default" and the
/// installation the same. `name` is a name, the path of a socket, or null for "default". To be called before
/// every other function of this library; ORVO_BOARD does not count for this process. On failure
/// (OrvoSimBadValue) `error`, if not null, receives one sentence (NUL-terminated, cut to `errorBytes`).
ORVO_EXPORT int orvoSimServe(const char* name, char* error, size_t errorBytes);
/// Ends that: for the other programs the boards are gone then.
ORVO_EXPORT void orvoSimStopServing(void);

/// The socket of the server whose boards this process uses or serves; null for boards of its own. Owned by
/// the library, for good.
ORVO_EXPORT const char* orvoSimServer(void);

#ifdef __cplusplus
} // extern "C"
#endif
