// SPDX-License-Identifier: MIT
#include "inspect/diagnosis/PhyFields.h"

#include <array>

namespace orvo::host {
namespace {

constexpr const char* no = "no";
constexpr const char* yes = "yes";

// clang-format off
constexpr PhyField fields[] = {
    { 0, 15, 15, "reset", "normal operation", "in reset"},
    { 0, 14, 14, "loopback", "off", "on: the PHY hears itself"},
    { 0, 13, 13, "speed selection, low bit", "", ""},
    { 0, 12, 12, "auto-negotiation", "off", "on"},
    { 0, 11, 11, "power down", "normal operation", "powered down"},
    { 0, 10, 10, "isolate", "normal operation", "isolated from the MAC"},
    { 0,  9,  9, "restart auto-negotiation", "normal operation", "restarting"},
    { 0,  8,  8, "duplex mode", "half", "full"},
    { 0,  7,  7, "collision test", "off", "on"},
    { 0,  6,  6, "speed selection, high bit", "", ""},
    { 0,  5,  5, "unidirectional enable", no, yes},
    { 1, 15, 15, "100BASE-T4 ability", no, yes},
    { 1, 14, 14, "100BASE-X full duplex ability", no, yes},
    { 1, 13, 13, "100BASE-X half duplex ability", no, yes},
    { 1, 12, 12, "10 Mbit/s full duplex ability", no, yes},
    { 1, 11, 11, "10 Mbit/s half duplex ability", no, yes},
    { 1, 10, 10, "100BASE-T2 full duplex ability", no, yes},
    { 1,  9,  9, "100BASE-T2 half duplex ability", no, yes},
    { 1,  8,  8, "extended status in register 15", no, yes},
    { 1,  7,  7, "unidirectional ability", no, yes},
    { 1,  6,  6, "management frames without preamble", "not accepted", "accepted"},
    { 1,  5,  5, "auto-negotiation complete", no, yes},
    { 1,  4,  4, "remote fault", "none", "reported by the partner"},
    { 1,  3,  3, "auto-negotiation ability", no, yes},
    { 1,  2,  2, "link status", "down now, or since it was last read", "up"},
    { 1,  1,  1, "jabber", "none", "detected"},
    { 1,  0,  0, "extended registers", no, yes},
    { 2, 15,  0, "organizationally unique identifier, bits 3 to 18", "", ""},
    { 3, 15, 10, "organizationally unique identifier, bits 19 to 24", "", ""},
    { 3,  9,  4, "model", "", ""},
    { 3,  3,  0, "revision", "", ""},
    { 4, 15, 15, "next page", no, yes},
    { 4, 13, 13, "remote fault", no, yes},
    { 4, 11, 11, "offers asymmetric pause", no, yes},
    { 4, 10, 10, "offers pause", no, yes},
    { 4,  9,  9, "offers 100BASE-T4", no, yes},
    { 4,  8,  8, "offers 100BASE-TX full duplex", no, yes},
    { 4,  7,  7, "offers 100BASE-TX", no, yes},
    { 4,  6,  6, "offers 10BASE-T full duplex", no, yes},
    { 4,  5,  5, "offers 10BASE-T", no, yes},
    { 4,  4,  0, "selector", "", ""},
    { 5, 15, 15, "next page", no, yes},
    { 5, 14, 14, "acknowledge", no, yes},
    { 5, 13, 13, "remote fault", no, yes},
    { 5, 11, 11, "partner offers asymmetric pause", no, yes},
    { 5, 10, 10, "partner offers pause", no, yes},
    { 5,  9,  9, "partner offers 100BASE-T4", no, yes},
    { 5,  8,  8, "partner offers 100BASE-TX full duplex", no, yes},
    { 5,  7,  7, "partner offers 100BASE-TX", no, yes},
    { 5,  6,  6, "partner offers 10BASE-T full duplex", no, yes},
    { 5,  5,  5, "partner offers 10BASE-T", no, yes},
    { 5,  4,  0, "selector", "", ""},
    { 6,  4,  4, "parallel detection fault", no, yes},
    { 6,  3,  3, "partner next page ability", no, yes},
    { 6,  2,  2, "next page ability", no, yes},
    { 6,  1,  1, "page received", no, yes},
    { 6,  0,  0, "partner auto-negotiation ability", no, yes},
    { 7, 15, 15, "next page", no, yes},
    { 7, 13, 13, "message page", no, yes},
    { 7, 12, 12, "acknowledge 2", no, yes},
    { 7, 11, 11, "toggle", "", ""},
    { 7, 10,  0, "message or unformatted code", "", ""},
    { 8, 15, 15, "next page", no, yes},
    { 8, 14, 14, "acknowledge", no, yes},
    { 8, 13, 13, "message page", no, yes},
    { 8, 12, 12, "acknowledge 2", no, yes},
    { 8, 11, 11, "toggle", "", ""},
    { 8, 10,  0, "message or unformatted code", "", ""},
    { 9, 15, 13, "test mode", "", ""},
    { 9, 12, 12, "master/slave configuration", "automatic", "manual"},
    { 9, 11, 11, "manual configuration", "slave", "master"},
    { 9, 10, 10, "port type", "single-port device, prefers slave", "multiport device, prefers master"},
    { 9,  9,  9, "offers 1000BASE-T full duplex", no, yes},
    { 9,  8,  8, "offers 1000BASE-T half duplex", no, yes},
    {10, 15, 15, "master/slave configuration fault", "none", "both ends want the same role"},
    {10, 14, 14, "resolved role", "slave", "master"},
    {10, 13, 13, "local receiver", "not ready", "ready"},
    {10, 12, 12, "remote receiver", "not ready", "ready"},
    {10, 11, 11, "partner offers 1000BASE-T full duplex", no, yes},
    {10, 10, 10, "partner offers 1000BASE-T half duplex", no, yes},
    {10,  7,  0, "idle errors since the last reading", "", ""},
    {15, 15, 15, "1000BASE-X full duplex ability", no, yes},
    {15, 14, 14, "1000BASE-X half duplex ability", no, yes},
    {15, 13, 13, "1000BASE-T full duplex ability", no, yes},
    {15, 12, 12, "1000BASE-T half duplex ability", no, yes},
};

constexpr std::array registerNames = {
    "control", "status", "PHY identifier 1", "PHY identifier 2", "auto-negotiation advertisement",
    "auto-negotiation partner ability", "auto-negotiation expansion", "next page to send", "partner's next page",
    "1000BASE-T control", "1000BASE-T status", "PSE control", "PSE status", "MMD access control",
    "MMD access address", "extended status",
};
// clang-format on

} // namespace

std::string PhyField::bits() const {
    return high == low ? std::to_string(high) : std::to_string(high) + ":" + std::to_string(low);
}

std::string PhyField::meaningOf(std::uint16_t content) const {
    if (high != low) return "";
    return of(content) == 0 ? ifZero : ifOne;
}

std::span<const PhyField> phyFields() {
    return fields;
}

const char* phyRegisterName(unsigned phyRegister) {
    return phyRegister < registerNames.size() ? registerNames[phyRegister] : "vendor specific";
}

} // namespace orvo::host
