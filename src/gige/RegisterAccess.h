// SPDX-License-Identifier: MIT
// Firmware registers by name, and access that tolerates their absence.
#pragma once

#include <cstdint>

namespace orvo::core::zume {

/// The address of a board-wide register, 0 where the firmware lacks it.
std::uint32_t resolveRegister(void* applet, const char* name);

/// The address of the register named `baseName` followed by `index` in decimal, 0 where the firmware lacks
/// it. The applet handle is read when the function runs.
int resolvePortRegister(void* const* applet, const char* baseName, int index);

/// The register's value, or `fallback` where the firmware lacks it or the read delivers nothing. The read's
/// status is not looked at.
std::uint64_t readOr(void* device, std::uint32_t address, std::uint64_t fallback);

/// Writes the register where the firmware has it.
void writeIfPresent(void* device, std::uint32_t address, std::uint64_t value);

} // namespace orvo::core::zume
