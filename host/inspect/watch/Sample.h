// SPDX-License-Identifier: MIT
// One reading of a port.
#pragma once

#include "device/CounterTable.h"
#include "device/PortAddress.h"

#include <array>
#include <cstdint>
#include <optional>

namespace orvo::host {

struct Sample {
    double seconds = 0;                                              ///< when, from an arbitrary start
    std::uint32_t serial = 0;                                        ///< of the board; 0 while it is gone
    std::array<std::optional<std::uint64_t>, counterCount> values{}; ///< nothing: not to be had, or not read

    std::optional<std::uint64_t>& operator[](Counter counter) {
        return values[static_cast<std::size_t>(counter)];
    }
    const std::optional<std::uint64_t>& operator[](Counter counter) const {
        return values[static_cast<std::size_t>(counter)];
    }
};

struct PortSample {
    PortAddress port;
    Sample sample;
};

} // namespace orvo::host
