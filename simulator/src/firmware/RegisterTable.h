// SPDX-License-Identifier: MIT
// The firmware's registers: the one table of their names, kinds and addresses.
//
// Address of a register: bits 16 to 17 the kind (1 = one per port, 2 = one per board), bits 8 to 9 the port,
// bits 0 to 7 the offset within the kind, a multiple of 4.
#pragma once

#include <cstdint>

namespace orvo::sim {

inline constexpr unsigned maxPorts = 4;

inline constexpr std::uint32_t portScope = 0x1'0000;
inline constexpr std::uint32_t boardScope = 0x2'0000;
inline constexpr std::uint32_t portShift = 8;
inline constexpr std::uint32_t portBits = (maxPorts - 1) << portShift;

// clang-format off
#define ORVO_SIM_REGISTERS(ROW)                                                                              \
    ROW(portScope, GigeBufferReset, 0x00)                  /* write: begin a frame */                        \
    ROW(portScope, GigeWriteData, 0x04)                    /* write: append 16 bits, first byte low */       \
    ROW(portScope, GigeWriteComplete, 0x08)                /* write: transmit the frame */                   \
    ROW(portScope, GigeTxDisableCrcGeneration, 0x0C)       /* 1: frames bring their own check sequence */    \
    ROW(portScope, GigeTxTransferActive, 0x10)             /* read: 0 when the transmitter is idle */        \
    ROW(portScope, GigeRecvPktCnt, 0x14)                   /* read: good frames */                           \
    ROW(portScope, GigeRecvErrCnt, 0x18)                   /* read: frames with errors */                    \
    ROW(portScope, CtrlPktReceivedCnt, 0x1C)               /* read: good frames meant for the host */        \
    ROW(portScope, CtrlPktSendUiqCnt, 0x20)                /* read: frames that entered the receive queue */ \
    ROW(portScope, GvspFiFoOverflow_GigeTransceiver, 0x24) /* read: frames that the queue had no room for */ \
    ROW(portScope, GvcpFiFoNotEmpty_GigeTransceiver, 0x28) /* read: 1 while the receive queue holds data */  \
    ROW(portScope, ActionCmdConfigData, 0x2C)              /* configuration of action commands */            \
    ROW(portScope, GigeTxStart, 0x30)                      /* 1: the port's transmitter runs */              \
    ROW(boardScope, GigE_MdioRD, 0x00)                     /* write: start an MDIO read */                   \
    ROW(boardScope, GigE_MdioWR, 0x04)                     /* write: start an MDIO write */                  \
    ROW(boardScope, GigE_Mdio, 0x08)                       /* data of the next MDIO write */                 \
    ROW(boardScope, GigE_MdioRegAddr, 0x0C)                /* PHY register of the next access */             \
    ROW(boardScope, GigE_MdioPhyAddr, 0x10)                /* PHY address of the next access: the port */    \
    ROW(boardScope, MdioReadReg, 0x14)                     /* read: result of the last MDIO read */          \
    ROW(boardScope, GigE_Reset, 0x18)                      /* reset lines, active low, bit p for port p */   \
    ROW(boardScope, GigE_TxStart, 0x1C)                    /* 1: the board's transmitters run */             \
    ROW(boardScope, GigE_RxEnable, 0x20)                   /* 1: the board's receivers run */
// clang-format on

/// A register by its address; of those with one per port, port 0's.
#define ORVO_SIM_ENUMERATOR(scope, name, offset) name = scope + offset,
enum class Register : std::uint32_t { ORVO_SIM_REGISTERS(ORVO_SIM_ENUMERATOR) };
#undef ORVO_SIM_ENUMERATOR

struct RegisterRow {
    const char* name; ///< on the board, the port number follows where there is one per port
    std::uint32_t address;

    constexpr bool isPerPort() const noexcept { return (address & portScope) != 0; }
};

#define ORVO_SIM_ROW(scope, name, offset) {#name, scope + offset},
inline constexpr RegisterRow registerRows[] = {ORVO_SIM_REGISTERS(ORVO_SIM_ROW)};
#undef ORVO_SIM_ROW
#undef ORVO_SIM_REGISTERS

constexpr std::uint32_t portOf(std::uint32_t address) noexcept {
    return (address & portBits) >> portShift;
}

/// The register's bit in a set of registers of one kind.
constexpr std::uint32_t registerBit(std::uint32_t address) noexcept {
    return std::uint32_t{1} << ((address >> 2) & 31);
}

} // namespace orvo::sim
