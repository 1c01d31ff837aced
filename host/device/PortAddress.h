// SPDX-License-Identifier: MIT
// Which port of which board.
#pragma once

#include <optional>
#include <string>

namespace orvo::host {

struct PortAddress {
    unsigned board = 0;
    unsigned port = 0;

    bool operator==(const PortAddress&) const = default;

    /// "BOARD/PORT", as users write it.
    std::string text() const;

    /// Reads "BOARD/PORT"; nothing when it is something else. Numbers have at most five digits.
    static std::optional<PortAddress> parse(const std::string& text);
};

} // namespace orvo::host
