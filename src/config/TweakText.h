// SPDX-License-Identifier: MIT
// Texts that give tuning values.
#pragma once

#include <boost/algorithm/string/predicate.hpp>

#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>
#include <string>

namespace orvo::templates::platform {

/// The value of type T at the beginning of `text`, as a stream reads it; nothing when it does not convert.
/// Characters behind the value are ignored.
template <class T> std::optional<T> converted(const std::string& text) {
    std::istringstream stream(text);
    T value{};
    stream >> value;
    if (stream.fail()) return std::nullopt; // fail or bad bit
    return value;
}

/// The text after '=' in an argument of the form "--option=value" for this option: any number of dashes,
/// upper and lower case alike. Nothing for any other argument.
inline std::optional<std::string> optionValue(const std::string& argument, const std::string& option) {
    const auto nameStart = argument.find_first_not_of('-');
    if (nameStart == std::string::npos) return std::nullopt;
    const auto equals = argument.find('=', nameStart);
    if (equals == std::string::npos) return std::nullopt;
    if (!boost::algorithm::iequals(argument.substr(nameStart, equals - nameStart), option))
        return std::nullopt;
    return argument.substr(equals + 1);
}

inline constexpr const char* preSendWaitVariable = "ORVO_PRE_SEND_WAIT_TIME";

/// The time that a port waits before each frame: milliseconds, as the variable's text says; nothing when
/// there is none (null), or when it does not begin with a number from 0 to 4294967295.
inline std::optional<std::uint32_t> preSendWaitMs(const char* text) {
    const auto waitMs = text ? converted<long long>(text) : std::nullopt;
    if (!waitMs || *waitMs < 0 || *waitMs > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    return static_cast<std::uint32_t>(*waitMs);
}

} // namespace orvo::templates::platform
