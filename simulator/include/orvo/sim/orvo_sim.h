// SPDX-License-Identifier: MIT
// Control of the simulated board: cables, frames from the far end, faults, and counters of what happened at a
// port. Exported by the simulated hardware access layer (liborvo_hal.so). The real one has none of these
// functions, so look them up at run time when the program must also run on a real installation.
//
// Conventions, unless a comment says otherwise: a board is named by its index (0 to 31), a port by its number
// (0 to 3). Functions return 0 on success and a negative OrvoSimResult on failure: OrvoSimNoSuchPlace for a
// board or port that does not exist, OrvoSimBadValue for an argument out of its range or a null pointer where
// a result goes. Call them from any thread at any time. Arguments are copied and stay the caller's.
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
    OrvoSimBadValue = -2,    ///< a text that is no wire or script, a value out of range, a null pointer
    OrvoSimFull = -3,        ///< the queue had no room; the words are counted as lost
    OrvoSimNotWritten = -4,  ///< a wire's file could not be written
    OrvoSimServerGone = -5,  ///< the server that holds the boards has ended
    OrvoSimTapTaken = -6,    ///< this program listens at the port's cable already, or four others do
    OrvoSimNoMemory = -7     ///< no memory to share, or no descriptor for it
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

/// Why no board appeared, as "FILE:LINE: REASON", or "FILE: REASON" for the file as a whole; null when the
/// configuration is good or there is no file. The caller reports it from now on; otherwise the first call of
/// OHalInitLibraries, OHalInitDevice, OHalGetDevice or OHalGetDeviceCount writes it to standard error, once.
/// The text belongs to the library and stays valid.
ORVO_EXPORT const char* orvoSimConfigurationError(void);

/// The number of simulated boards, including removed ones; 0 when the configuration is bad.
ORVO_EXPORT int orvoSimBoardCount(void);

/// Plugs a wire into a port: "loopback", "port:BOARD/PORT", "pcap:IN[,OUT]", "tap:NAME", "packet:IFNAME" or
/// "none". The present wire is unplugged first, which completes its OUT file. The link goes down, and comes
/// up by negotiation: at once on a port whose PHY was never reset. "port:" plugs in both ends of a cable, and
/// unplugs the far port's wire too; unplugging one end of a cable unplugs the other. "tap:" and "packet:"
/// reach interfaces of the calling thread's network namespace. Relative paths start at the working directory.
/// On failure (OrvoSimNoSuchPlace, OrvoSimBadValue) the old wire stays and `error`, if not null, receives one
/// sentence, NUL-terminated and cut to `errorBytes` bytes.
ORVO_EXPORT int orvoSimSetWire(unsigned board, unsigned port, const char* wire, char* error,
                               size_t errorBytes);

/// Writes the wire of a port to `text` in the form above, NUL-terminated and cut to `textBytes` bytes.
ORVO_EXPORT int orvoSimGetWire(unsigned board, unsigned port, char* text, size_t textBytes);

/// Writes what wires have recorded to their files. OrvoSimNotWritten when one of them is incomplete.
ORVO_EXPORT int orvoSimFlushWires(void);

/// Sends a frame from the far end: 1 to 1514 bytes without frame check sequence. It is padded to 60 bytes and
/// gets a correct sequence, exclusive-or'ed with `fcsErrorMask` (0 keeps it correct). As from any wire, the
/// port ignores it while the link is down or the receiver is off, and counts an error when the sequence is
/// wrong; both return 0. OrvoSimFull when the receive queue has no room.
ORVO_EXPORT int orvoSimInjectFrame(unsigned board, unsigned port, const void* frame, size_t bytes,
                                   uint32_t fcsErrorMask);

/// The firmware reports an action command time-out: one word with the end-of-transmission flag and `count` in
/// the port's action command queue.
ORVO_EXPORT int orvoSimReportActionCommandTimeout(unsigned board, unsigned port, uint16_t count);

/// Appends `count` words to a data queue as they are: all of them, or none and OrvoSimFull, which is also the
/// answer to more than 32,768 words for a server's board. Queue 0 to 3 holds received frames of that port,
/// queue 8 to 11 action command reports of port 0 to 3.
ORVO_EXPORT int orvoSimPushWords(unsigned board, unsigned queue, const uint32_t* words, size_t count);

/// Has the next `times` reads of a data queue deliver nothing and return `result`, an error code if negative.
/// A second call replaces what is left of the first; 0 `times` ends it.
ORVO_EXPORT int orvoSimFailReads(unsigned board, unsigned queue, int result, unsigned times);

/// Has the next `times` reads that deliver words from a data queue report `extraBytes` more, or fewer if
/// negative. A second call replaces what is left of the first; 0 `times` ends it.
ORVO_EXPORT int orvoSimMisreportReads(unsigned board, unsigned queue, int extraBytes, unsigned times);

/// Has the next `times` reads of a register, named with its port number, fail with `result`, or give `value`
/// when `result` is 0. Calls for one register take effect one after the other; 0 `times` takes all of them
/// back. OrvoSimBadValue when the board's firmware has no such register.
ORVO_EXPORT int orvoSimOverrideRegister(unsigned board, const char* name, int result, uint64_t value,
                                        unsigned times);

/// Has the next `times` calls of OHalInitDevice for the board return null. A second call replaces the first.
ORVO_EXPORT int orvoSimFailOpen(unsigned board, unsigned times);

/// Has the next `times` calls of OHalConfigureFpga for the board return `result` and do nothing. A second
/// call replaces the first.
ORVO_EXPORT int orvoSimFailConfigure(unsigned board, int result, unsigned times);

/// Removes the board (0) or puts it back (1). While it is away, its links are down and every call on it
/// fails, by open handles too. When it is back, it is as before, except that the power-up has reset its PHYs.
ORVO_EXPORT int orvoSimSetBoardPresent(unsigned board, int present);

/// What the far end of a port's cable offers in auto-negotiation.
enum OrvoSimPartner {
    OrvoSimPartner1000 = 0, ///< 10, 100 and 1000 Mbit/s
    OrvoSimPartner100 = 1,  ///< 10 and 100 Mbit/s
    OrvoSimPartnerDown = 2  ///< switched off: no link
};
/// Sets what the far end of a port offers, and renegotiates the link. Where the far end is a port, it offers
/// what both this value and its own PHY allow.
ORVO_EXPORT int orvoSimSetPartner(unsigned board, unsigned port, enum OrvoSimPartner partner);

/// Pulls the plug of a port's cable (0) or puts it back (1), as a hand would: the wire stays where it leads,
/// and the link is down at both its ends in between.
ORVO_EXPORT int orvoSimSetPlugged(unsigned board, unsigned port, int plugged);
/// 1 while the plug is in, 0 while it is pulled.
ORVO_EXPORT int orvoSimIsPlugged(unsigned board, unsigned port);

/// Has the frames of a board's ports take their time on the wire (1), preamble and gap included, at the speed
/// that the link negotiated, or none (0). In real time only.
ORVO_EXPORT int orvoSimSetLineRate(unsigned board, int negotiated);

/// Sets the PHY's idle error count (IEEE 802.3 register 10, bits 0 to 7); more than 255 counts as 255.
ORVO_EXPORT int orvoSimSetIdleErrors(unsigned board, unsigned port, unsigned count);

/// Sets how long later resets hold the PHY's reset bit, and how long later negotiations take, in
/// milliseconds. A reset of UINT32_MAX milliseconds never ends.
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
    int hasLineRate;         ///< 1 while frames take the time on the wire that the link's speed says
    int hasFaults;           ///< 1 while faults of a script may still happen on this port's board
};
/// Reads the counters and state of a port into `out`.
ORVO_EXPORT int orvoSimReadPort(unsigned board, unsigned port, struct OrvoSimPort* out);

/// Sets a port's counters of frames and bytes on the wire (sent, unsent, received, errors, ignored) to
/// `value`, to test what happens when they are large. The counters of the receive queue stay.
ORVO_EXPORT int orvoSimPresetCounters(unsigned board, unsigned port, uint64_t value);

/// Loads a fault script, whose faults happen from now on (docs/faults.md of the source tree describes
/// scripts). Every random choice follows from `seed`: the same script, seed and traffic give the same faults.
/// An earlier script ends, and the accounts start at 0. Call it while no frame is being sent or received;
/// wires with faults are unplugged and plugged in again. On failure (OrvoSimBadValue) everything stays as it
/// was, and `error`, if not null, receives "FILE:LINE: REASON", NUL-terminated and cut to `errorBytes` bytes.
ORVO_EXPORT int orvoSimLoadFaults(const char* file, uint64_t seed, char* error, size_t errorBytes);
/// Loads a fault script from a text; messages call the file "script".
ORVO_EXPORT int orvoSimLoadFaultText(const char* text, uint64_t seed, char* error, size_t errorBytes);

/// Ends the script's faults: boards come back, cables are plugged in again, and frames that were held back go
/// on. The ledger and the accounts can still be read.
ORVO_EXPORT int orvoSimEndFaults(void);

/// The counter or message that must change when a fault happens.
enum OrvoSimEvidence {
    OrvoSimNoEvidence = 0,       ///< nothing: the read is repeated or skipped, and no frame is lost
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

/// One entry of the script that was loaded last. Its texts belong to the library and stay valid.
struct OrvoSimFault {
    const char* kind;  ///< as in the script
    unsigned line;     ///< of the script
    unsigned board;    ///< where it happens
    unsigned port;     ///< of that board
    int received;      ///< 1: at the port, 0: away from it
    uint32_t forMs;    ///< how long it lasts, in milliseconds; 0 for kinds without a duration
    uint64_t injected; ///< how often it happened
    uint64_t effects;  ///< of action command storms: reports that found room; of slow negotiations: the time
                       ///< without link that the last one has caused at least until now, in microseconds
    enum OrvoSimEvidence evidence; ///< what shows it
    const char* mustMove;          ///< the evidence, in words
};
/// Reads an entry by its number, from 0 in the order of the script. OrvoSimNoSuchPlace beyond the last.
ORVO_EXPORT int orvoSimReadFault(unsigned number, struct OrvoSimFault* out);

/// What happened to a port's frames since the script was loaded, beyond OrvoSimPort; all of it balances.
/// Sent: what left the port, less `sentLost` and `sentHeld`, plus `sentAdded`, is on the wire. Received: what
/// the wire brings, less and plus the same three, is what the receiver counts. Queue: what entered the
/// receive queue was taken or cleared, or is left in it.
struct OrvoSimPortAccount {
    uint64_t refusedFrames;        ///< handed over by the host while the board did not answer
    uint64_t sentPassed;           ///< taken by the wire; counted on ports with faults on what they send
    uint64_t sentLost;             ///< lost behind the port, by faults on the wire
    uint64_t sentAdded;            ///< added behind the port, by faults on the wire
    uint64_t sentHeld;             ///< held back behind the port now
    uint64_t receivedLost;         ///< lost before the port, by faults on the wire
    uint64_t receivedAdded;        ///< added before the port, by faults on the wire
    uint64_t receivedHeld;         ///< held back before the port now
    uint64_t takenFrames;          ///< transmissions that the host began to read
    uint64_t failedFrames;         ///< those of them that a failing read lost
    uint64_t clearedFrames;        ///< dropped by the host, which cleared the queue
    uint64_t leftFrames;           ///< in the receive queue now
    uint64_t leftReports;          ///< words in the action command queue now
    uint64_t linkLosses;           ///< times that the link went down
    uint64_t linkDownMicroseconds; ///< how long it was down in total
    int hasActionReader;           ///< 1: the host has read the action command queue
};
/// Reads a port's account into `out`. OrvoSimNoSuchPlace also before the first script.
ORVO_EXPORT int orvoSimReadPortAccount(unsigned board, unsigned port, struct OrvoSimPortAccount* out);

/// Reads a PHY register (0 to 31) as an MDIO read would, but without its side effects. 0xFFFF while the PHY
/// does not answer.
ORVO_EXPORT int orvoSimReadPhy(unsigned board, unsigned port, unsigned phyRegister, uint16_t* value);

/// What a board did with a frame of a port's cable.
enum OrvoSimFate {
    OrvoSimPassed = 0,          ///< received: it is in the receive queue; sent: it left by the wire
    OrvoSimWrongFcs = 1,        ///< received with a wrong frame check sequence
    OrvoSimTooShort = 2,        ///< received with fewer than 64 bytes
    OrvoSimTooLong = 3,         ///< received with more than 1518 bytes
    OrvoSimQueueFull = 4,       ///< received when the receive queue had no room
    OrvoSimLinkDown = 5,        ///< either way
    OrvoSimReceiverOff = 6,     ///< or in reset
    OrvoSimTransmitterOff = 7,  ///< or in reset
    OrvoSimTransmitterBusy = 8, ///< completed while the frame before was on the wire
    OrvoSimBufferExceeded = 9,  ///< more than the transmit buffer's 2048 bytes were written
    OrvoSimNotTaken = 10        ///< the network interface of the wire did not take it
};

/// What is wrong with a frame on a cable, as bits, whatever the board did with it.
enum OrvoSimFrameError {
    OrvoSimFrameWrongFcs = 1, ///< its frame check sequence
    OrvoSimFrameTooShort = 2, ///< fewer than 64 bytes
    OrvoSimFrameTooLong = 4   ///< more than 1518 bytes
};

/// One frame of a port's cable.
struct OrvoSimTapFrame {
    uint64_t
        nanoseconds; ///< since 1970-01-01 UTC, on the clock of orvoSimUseVirtualTime, when it began to pass
    uint32_t wireBytes;    ///< its length, padding and frame check sequence included
    uint32_t bytes;        ///< those of them that were copied: all, unless there was no room for them or the
                           ///< frame has more than 2052
    int sent;              ///< 1: the port sent it, or was to; 0: it reached the port
    enum OrvoSimFate fate; ///< what the board did with it
    unsigned errors;       ///< bits of OrvoSimFrameError
};

/// A listener at a port's cable.
struct OrvoSimTap;

/// Begins to listen at a port's cable: from now on the board keeps a copy of each frame in either direction,
/// also of those that die in it, in the order in which they began to pass. Readers of the port miss nothing,
/// and the board waits for no listener: it keeps at most 65,536 frames, or 8 MiB, that have not been read
/// yet, and counts further ones as missed. A program listens once at a port, and up to four programs do so:
/// OrvoSimTapTaken for others. OrvoSimNoMemory without memory for the copies (10 MiB) or a descriptor. `*tap`
/// is the caller's, to be closed; a listener ends with its process too.
ORVO_EXPORT int orvoSimOpenTap(unsigned board, unsigned port, struct OrvoSimTap** tap);

/// Takes the next frame: 1, with `frame` filled and at most `room` of its bytes in `bytes` (which may be null
/// where `room` is 0). 0 when none came within `timeoutMs` milliseconds of real time. OrvoSimServerGone once
/// the server has ended and all its frames are read. One thread at a time for a tap. Looks for frames every
/// 10 ms at least.
ORVO_EXPORT int orvoSimReadTap(struct OrvoSimTap* tap, struct OrvoSimTapFrame* frame, void* bytes,
                               size_t room, uint32_t timeoutMs);

/// How many frames found no room since the tap was opened, plus those that the receive ring of a "packet:"
/// wire had none for. Neither pointer may be null. Together with the frames that were or can be read, they
/// are all frames of the cable. Any thread.
ORVO_EXPORT int orvoSimReadTapMissed(struct OrvoSimTap* tap, uint64_t* received, uint64_t* sent);

/// Ends listening and releases `tap`; null is allowed. No other call with this tap may run or follow.
ORVO_EXPORT int orvoSimCloseTap(struct OrvoSimTap* tap);

/// The clock of PHY times, of moments in fault scripts and of time stamps in captures. It never goes back.
/// Virtual time stands still until orvoSimAdvanceTime or a queue read advances it: a read that finds fewer
/// words than it asks for waits at most 1 ms of real time for them, then advances the clock by its time-out.
/// Driven time is virtual time that only orvoSimAdvanceTime advances, so that one thread decides what time it
/// is; its time stamps start at 2000-01-01 UTC.
enum OrvoSimClock {
    OrvoSimRealTime = 0, ///< at the start
    OrvoSimVirtualTime = 1,
    OrvoSimDrivenTime = 2
};

/// Chooses one of OrvoSimClock.
ORVO_EXPORT int orvoSimUseVirtualTime(int clock);

/// Advances virtual time, which ends after 146 years. OrvoSimBadValue in real time.
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

/// The register map of a firmware version that a board runs, by its number from 0; null beyond the last. The
/// pointer is the applet that OHalConfigureFpga takes. The map belongs to the library and stays valid.
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
