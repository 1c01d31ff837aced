// SPDX-License-Identifier: MIT
#include "base/Numbers.h"

#include <charconv>
#include <cmath>

namespace orvo::host {
namespace {

template <class Value> std::optional<Value> whole(std::string_view text) {
    Value value = {};
    const auto* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<std::uint64_t> wholeNumber(std::string_view text) {
    const auto value = whole<std::uint64_t>(text);
    return value && *value <= largestNumber ? value : std::nullopt;
}

std::optional<double> decimalNumber(std::string_view text) {
    const auto value = whole<double>(text);
    return value && std::isfinite(*value) && !std::signbit(*value) ? value : std::nullopt;
}

double wholeMilliseconds(double seconds) {
    return std::round(1000 * seconds) / 1000;
}

} // namespace orvo::host
