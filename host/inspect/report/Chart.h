// SPDX-License-Identifier: MIT
// Values over time as a drawing, with the same in words.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

struct Chart {
    struct Series {
        std::string name;
        std::vector<std::optional<double>> values; ///< one for each time; nothing: unknown, a gap in the line
    };

    std::string id; ///< of its own within the page
    std::string title;
    std::string unit; ///< "Mbit/s"
    std::vector<double> seconds;
    std::vector<Series> series;
};

/// A figure: the drawing, its description for those who do not see it, a legend and the values as a table.
std::string figureOf(const Chart& chart);

} // namespace orvo::host
