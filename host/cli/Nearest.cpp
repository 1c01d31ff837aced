// SPDX-License-Identifier: MIT
#include "cli/Nearest.h"

#include "base/Failure.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

namespace orvo::host {
namespace {

using Row = std::vector<std::size_t>;

/// The number of letters to insert, remove, replace, or swap with a neighbour ("optimal string alignment").
std::size_t distanceBetween(std::string_view one, std::string_view other) {
    Row beforeLast, last(other.size() + 1), row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= one.size(); ++i) {
        beforeLast = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (one[i - 1] != other[j - 1])});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row.back();
}

std::string_view withoutDashes(std::string_view word) {
    return word.substr(std::min(word.find_first_not_of('-'), word.size()));
}

} // namespace

std::string nearestHint(const std::string& word, const std::vector<std::string>& candidates) {
    const auto letters = withoutDashes(word);
    auto least = std::max<std::size_t>(letters.size(), 2) / 3 + 1; // a distance that is too large
    const std::string* nearest = nullptr;
    for (const auto& candidate : candidates)
        if (const auto distance = distanceBetween(letters, withoutDashes(candidate)); distance < least) {
            least = distance;
            nearest = &candidate;
        }
    return nearest ? "; did you mean " + quoted(*nearest) + "?" : "";
}

} // namespace orvo::host
