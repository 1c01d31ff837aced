// SPDX-License-Identifier: MIT
// The registers of an Ethernet PHY by name and bit (IEEE 802.3 clause 22, with 28 for auto-negotiation and 40
// for 1000BASE-T).
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace orvo::host {

/// One field of a PHY register, bits `high` to `low`.
struct PhyField {
    unsigned phyRegister;
    unsigned high;
    unsigned low;
    const char* name;
    const char* ifZero; ///< meaning of a one-bit field that is 0; empty where the value speaks for itself
    const char* ifOne;  ///< the same for 1

    std::uint16_t of(std::uint16_t content) const {
        return static_cast<std::uint16_t>((unsigned{content} >> low) & ((1U << (high - low + 1)) - 1));
    }
    /// "15", or "7:0".
    std::string bits() const;
    /// What the value means, empty where it speaks for itself.
    std::string meaningOf(std::uint16_t content) const;
};

/// The fields of registers 0 to 10 and 15, register by register, from the highest bit down.
std::span<const PhyField> phyFields();

/// The register's name in the standard; "vendor specific" or "reserved" beyond.
const char* phyRegisterName(unsigned phyRegister);

} // namespace orvo::host
