// SPDX-License-Identifier: MIT
// The registers that exist once for each port, as one table.
#pragma once

#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"

#include <cstdint>

namespace orvo::core::zume {

struct PortRegisterRow {
    const char* baseName; // on the board: this, then the port number, as in "GigeWriteData2"
    Relaxed<std::uint32_t> PortState::*address; // 0 where this firmware lacks the register
};

/// In the order in which they are looked up.
inline constexpr PortRegisterRow portRegisterRows[] = {
    // write 0: begin a frame
    {"GigeBufferReset", &PortState::regGigeBufferReset},
    // write: append 16 bits, first byte low
    {"GigeWriteData", &PortState::regGigeWriteData},
    // write 0: transmit the frame
    {"GigeWriteComplete", &PortState::regGigeWriteComplete},
    // 1: frames carry their own frame check sequence
    {"GigeTxDisableCrcGeneration", &PortState::regGigeTxDisableCrcGeneration},
    // read: 0 when the transmitter is idle
    {"GigeTxTransferActive", &PortState::regGigeTxTransferActive},
    // received packets
    {"GigeRecvPktCnt", &PortState::regGigeRecvPktCnt},
    // packets received with errors
    {"GigeRecvErrCnt", &PortState::regGigeRecvErrCnt},
    // control packets received
    {"CtrlPktReceivedCnt", &PortState::regCtrlPktReceivedCnt},
    // control packets passed to the receive queue
    {"CtrlPktSendUiqCnt", &PortState::regCtrlPktSendUiqCnt},
    // not 0 after the stream packet FIFO overflowed
    {"GvspFiFoOverflow_GigeTransceiver", &PortState::regGvspFifoOverflow},
    // not 0 while the control packet FIFO holds data
    {"GvcpFiFoNotEmpty_GigeTransceiver", &PortState::regGvcpFifoNotEmpty},
};

/// Looks all of them up in the applet's map.
void resolvePortRegisters(PortState& d);

/// One firmware counter or flag, as `setup` remembers it and the two reports show it.
struct PortCounterRow {
    Relaxed<std::uint32_t> PortState::*address;
    Relaxed<std::uint64_t> PortState::*initial;
    bool isFlag; // shown as it is, in hexadecimal, by the statistics; the others as growth since `setup`
    const char* statisticsText;
    const char* dumpText;
};

inline constexpr PortCounterRow portCounterRows[] = {
    {&PortState::regGigeRecvPktCnt, &PortState::initialRecvPktCnt, false,
     "':        ........ Hardware Packet Count : ", "' [REGISTER]      Hardware Packet Count : "},
    {&PortState::regGigeRecvErrCnt, &PortState::initialRecvErrCnt, false,
     "':        ....... Hardware Packet Errors : ", "' [REGISTER]     Hardware Packet Errors : "},
    {&PortState::regCtrlPktReceivedCnt, &PortState::initialCtrlPktReceivedCnt, false,
     "':        ....... Ctrl Packet Recv Count : ", "' [REGISTER]     Ctrl Packet Recv Count : "},
    {&PortState::regCtrlPktSendUiqCnt, &PortState::initialCtrlPktSendUiqCnt, false,
     "':        ... Ctrl Packet Send UIQ Count : ", "' [REGISTER] Ctrl Packet Send UIQ Count : "},
    {&PortState::regGvspFifoOverflow, &PortState::initialGvspFifoOverflow, true,
     "':        ........... GVSP FIFO overflow : ", "' [REGISTER]         GVSP FIFO overflow : "},
    {&PortState::regGvcpFifoNotEmpty, &PortState::initialGvcpFifoNotEmpty, true,
     "':        .......... GVCP FIFO not empty : ", "' [REGISTER]        GVCP FIFO not empty : "},
};

} // namespace orvo::core::zume
