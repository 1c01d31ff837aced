// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace orvo::host {

/// A board and one of its ports.
struct PortAddress {
    unsigned board = 0;
    unsigned port = 0;

    bool operator==(const PortAddress&) const = default;

    /// "BOARD/PORT".
    std::string text() const;

    /// Reads "BOARD/PORT", with at most five digits each; nothing when the text is something else.
    static std::optional<PortAddress> parse(const std::string& text);
};

} // namespace orvo::host
