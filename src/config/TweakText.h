// SPDX-License-Identifier: MIT
// Texts that give tuning values.
#pragma once

#include <optional>
#include <sstream>
#include <string>

namespace orvo::templates::platform {

/// What a text says as a T; nothing when it does not convert. Behind the value there may be more, which is
/// not looked at.
template <class T> std::optional<T> converted(const std::string& text) {
    std::istringstream stream(text);
    T value{};
    stream >> value;
    if (stream.fail()) return std::nullopt; // fail or bad bit
    return value;
}

/// What follows '=' in an argument of the form "--option=value" (any number of dashes, any case), if it is of
/// that form and the option is this one.
std::optional<std::string> optionValue(const std::string& argument, const std::string& option);

} // namespace orvo::templates::platform
