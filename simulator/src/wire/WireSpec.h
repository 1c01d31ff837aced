// SPDX-License-Identifier: MIT
// What a port is to be cabled with, as text and taken apart.
#pragma once

#include "base/Text.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orvo::sim {

/// A wire that cannot be had; what() is one sentence for the user.
struct WireError : std::runtime_error {
    explicit WireError(const std::string& sentence) : std::runtime_error(oneLine(sentence)) {}
};

struct PortPlace {
    unsigned board = 0;
    unsigned port = 0;
    auto operator<=>(const PortPlace&) const = default; // NOLINT(modernize-use-nullptr): there is none
};

std::string toText(PortPlace place); ///< "BOARD/PORT"

struct WireSpec {
    enum class Kind { None, Loopback, Port, Capture, Tap, Packet };

    Kind kind = Kind::Loopback;
    PortPlace far = {};                ///< the other end of a cable
    std::filesystem::path input = {};  ///< of a capture: what is played towards the port
    std::filesystem::path output = {}; ///< of a capture: what records the port; may be empty
    std::string interface = {};        ///< of a wire to a live network

    std::string text() const; ///< as parseWire takes it
};

/// Takes the text of a wire apart; relative paths start at `directory` (empty: they stay). Throws WireError;
/// looks at no file and no interface, and knows no boards.
WireSpec parseWire(std::string_view wire, const std::filesystem::path& directory = {});

} // namespace orvo::sim
