// SPDX-License-Identifier: MIT
// Thresholds by logger name.
#pragma once

#include <orvo/tools/logging/LogLevel.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace orvo::dispatcher {

inline constexpr auto defaultThreshold = static_cast<std::uint32_t>(tools::logging::LogLevel::Warning);

/// A threshold for every logger name.
class Thresholds {
public:
    Thresholds() = default;

    /// Reads "NAME=THRESHOLD,...". The name "*" stands for all names that are not given; white space around
    /// names and numbers is allowed; the later of two entries for one name wins; an empty text gives the
    /// default. Errors: std::invalid_argument with a text that says which part is wrong and why.
    static Thresholds parse(const std::string& text);

    std::uint32_t of(std::string_view loggerName) const;

private:
    void add(const std::string& entry);

    std::map<std::string, std::uint32_t, std::less<>> named_;
    std::uint32_t others_ = defaultThreshold;
};

} // namespace orvo::dispatcher
