// SPDX-License-Identifier: MIT
// Recorded calls as lines and as JSON, and which of them to show.
#pragma once

#include "device/recording/RecordedCall.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace orvo::host {

/// Which calls to show; what is empty lets all pass.
struct CallFilter {
    std::string entry;        ///< part of its name
    std::string registerName; ///< likewise
    std::optional<unsigned> thread;
    double from = 0,
           to = std::numeric_limits<double>::infinity(); ///< seconds of the recording, of a call's begin

    bool passesAll() const {
        return entry.empty() && registerName.empty() && !thread && from == 0 && std::isinf(to);
    }
    bool passes(const RecordedCall& call, const RegisterNames& registers) const;
};

/// "   1.234567 s  T0   CALL  (12.3 us)", with its newline.
std::string callLine(const RecordedCall& call, const RegisterNames& registers);

/// A JSON document in one line, with its newline.
std::string callJsonLine(const RecordedCall& call, const RegisterNames& registers);

/// The arguments by name, the register by name, bytes in hexadecimal.
nlohmann::ordered_json callJson(const RecordedCall& call, const RegisterNames& registers);

} // namespace orvo::host
