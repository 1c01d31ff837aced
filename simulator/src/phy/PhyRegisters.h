// SPDX-License-Identifier: MIT
// Registers and bits of the PHYs, by the names of IEEE 802.3 clause 22.
#pragma once

#include <cstdint>

namespace orvo::sim {

inline constexpr unsigned phyRegisters = 32;
inline constexpr std::uint16_t noPhyAnswers = 0xFFFF; // what an MDIO read gives where nothing drives the line

enum PhyRegister : unsigned {
    phyControl = 0,
    phyStatus = 1,
    phyIdentifier1 = 2,
    phyIdentifier2 = 3,
    phyAdvertisement = 4,
    phyPartnerAbility = 5,
    phyExpansion = 6,
    phyNextPage = 7,
    phyPartnerNextPage = 8,
    phyGigabitControl = 9,
    phyGigabitStatus = 10,
    phyExtendedStatus = 15,
    phySpecificStatus = 17, // of this vendor: the link as it is, without latches
    phyExtendedIndex = 29,  // of this vendor: selects the extended register that register 30 reaches
    phyExtendedData = 30,
};

namespace control {
inline constexpr std::uint16_t reset = 0x8000; // clears itself
inline constexpr std::uint16_t speedLow = 0x2000;
inline constexpr std::uint16_t autoNegotiation = 0x1000;
inline constexpr std::uint16_t powerDown = 0x0800;
inline constexpr std::uint16_t isolate = 0x0400;
inline constexpr std::uint16_t restartNegotiation = 0x0200; // clears itself
inline constexpr std::uint16_t fullDuplex = 0x0100;
inline constexpr std::uint16_t speedHigh = 0x0040;
inline constexpr std::uint16_t writable = 0xFFC0;
} // namespace control

namespace status {
inline constexpr std::uint16_t abilities = 0x7949; // 10 and 100 Mbit/s, register 15, preamble suppression
inline constexpr std::uint16_t negotiated = 0x0020;
inline constexpr std::uint16_t link = 0x0004; // latches low
} // namespace status

namespace ability { // registers 4 and 5
inline constexpr std::uint16_t acknowledge = 0x4000;
inline constexpr std::uint16_t full100 = 0x0100;
inline constexpr std::uint16_t half100 = 0x0080;
inline constexpr std::uint16_t full10 = 0x0040;
inline constexpr std::uint16_t half10 = 0x0020;
inline constexpr std::uint16_t allWithPause = 0x0DE1; // selector of IEEE 802.3 included
} // namespace ability

namespace expansion {
inline constexpr std::uint16_t nextPageAble = 0x0004;
inline constexpr std::uint16_t partnerNextPageAble = 0x0008;
inline constexpr std::uint16_t pageReceived = 0x0002; // cleared by reading
inline constexpr std::uint16_t partnerNegotiates = 0x0001;
} // namespace expansion

namespace gigabit {                                   // register 9
inline constexpr std::uint16_t manualMaster = 0x1000; // the next bit decides
inline constexpr std::uint16_t master = 0x0800;
inline constexpr std::uint16_t multiPort = 0x0400; // prefers to be master
inline constexpr std::uint16_t full = 0x0200;
inline constexpr std::uint16_t half = 0x0100;
} // namespace gigabit

namespace gigabitStatus {                                 // register 10
inline constexpr std::uint16_t masterSlaveFault = 0x8000; // cleared by reading
inline constexpr std::uint16_t isMaster = 0x4000;
inline constexpr std::uint16_t receiversOk = 0x3000; // local and remote
inline constexpr unsigned partnerShift = 2; // register 9 of the partner, bits 8 and 9, in bits 10 and 11
inline constexpr std::uint16_t idleErrors = 0x00FF; // cleared by reading
} // namespace gigabitStatus

} // namespace orvo::sim
