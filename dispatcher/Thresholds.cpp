// SPDX-License-Identifier: MIT
#include "Thresholds.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace orvo::dispatcher {

using tools::logging::highestThreshold;

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::uint32_t thresholdFrom(std::string_view digits, std::string_view name) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error == std::errc{} && end == digits.data() + digits.size() && value <= highestThreshold)
        return value;
    throw std::invalid_argument("the threshold '" + std::string(digits) + "' of '" + std::string(name) +
                                "' is no number from 0 to " + std::to_string(highestThreshold));
}

} // namespace

Thresholds Thresholds::parse(std::string_view text) {
    Thresholds thresholds;
    if (trimmed(text).empty()) return thresholds;
    for (std::size_t begin = 0; begin <= text.size();) {
        const auto end = std::min(text.find(',', begin), text.size());
        thresholds.add(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return thresholds;
}

void Thresholds::add(std::string_view entry) {
    const auto equals = entry.find('=');
    const auto name = trimmed(entry.substr(0, equals));
    if (equals == std::string_view::npos || name.empty())
        throw std::invalid_argument("'" + std::string(trimmed(entry)) +
                                    "' is not of the form NAME=THRESHOLD");
    const auto threshold = thresholdFrom(trimmed(entry.substr(equals + 1)), name);
    if (name == "*")
        others_ = threshold;
    else
        named_.insert_or_assign(std::string(name), threshold);
}

std::uint32_t Thresholds::of(std::string_view loggerName) const {
    const auto found = named_.find(loggerName);
    return found == named_.end() ? others_ : found->second;
}

} // namespace orvo::dispatcher
