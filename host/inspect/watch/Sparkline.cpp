// SPDX-License-Identifier: MIT
// Scaling of histories.
#include "inspect/watch/Sparkline.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace orvo::host {
namespace {

constexpr const char* blockSteps[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr const char* asciiSteps[] = {"_", ".", "-", "=", "+", "*", "%", "#"};
constexpr std::size_t stepCount = std::size(blockSteps);
static_assert(stepCount == std::size(asciiSteps));

/// The lowest step is for 0 alone.
std::size_t stepOf(double value, double largest) {
    if (value <= 0 || largest <= 0) return 0;
    const auto step = std::ceil(value / largest * static_cast<double>(stepCount - 1));
    return std::clamp(static_cast<std::size_t>(step), std::size_t{1}, stepCount - 1);
}

} // namespace

std::string sparkline(const PortTrack::History& history, std::size_t width, bool blocks) {
    const auto shown = std::min(width, history.size());
    const auto first = history.end() - static_cast<std::ptrdiff_t>(shown);
    double largest = 0;
    for (auto entry = first; entry != history.end(); ++entry) largest = std::max(largest, entry->value_or(0));
    std::string text(width - shown, ' ');
    for (auto entry = first; entry != history.end(); ++entry)
        text += *entry ? (blocks ? blockSteps : asciiSteps)[stepOf(**entry, largest)] : " ";
    return text;
}

} // namespace orvo::host
