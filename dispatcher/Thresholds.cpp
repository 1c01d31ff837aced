// SPDX-License-Identifier: MIT
#include "Thresholds.h"

#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <charconv>
#include <stdexcept>
#include <vector>

namespace orvo::dispatcher {

using tools::logging::highestThreshold;

namespace {

std::string trimmed(const std::string& text) {
    return boost::algorithm::trim_copy_if(text, boost::algorithm::is_any_of(" \t\r\n"));
}

std::uint32_t thresholdFrom(const std::string& digits, const std::string& name) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error == std::errc{} && end == digits.data() + digits.size() && value <= highestThreshold)
        return value;
    throw std::invalid_argument("the threshold '" + digits + "' of '" + name +
                                "' is not a number from 0 to " + std::to_string(highestThreshold));
}

} // namespace

Thresholds Thresholds::parse(const std::string& text) {
    Thresholds thresholds;
    if (trimmed(text).empty()) return thresholds;
    std::vector<std::string> entries;
    for (const auto& entry : boost::algorithm::split(entries, text, boost::algorithm::is_any_of(",")))
        thresholds.add(entry);
    return thresholds;
}

void Thresholds::add(const std::string& entry) {
    const auto equals = entry.find('=');
    const auto name = trimmed(entry.substr(0, equals));
    if (equals == std::string::npos || name.empty())
        throw std::invalid_argument("'" + trimmed(entry) + "' is not of the form NAME=THRESHOLD");
    const auto threshold = thresholdFrom(trimmed(entry.substr(equals + 1)), name);
    if (name == "*")
        others_ = threshold;
    else
        named_.insert_or_assign(name, threshold);
}

std::uint32_t Thresholds::of(std::string_view loggerName) const {
    const auto found = named_.find(loggerName);
    return found == named_.end() ? others_ : found->second;
}

} // namespace orvo::dispatcher
