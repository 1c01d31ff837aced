// SPDX-License-Identifier: MIT
// Values over time, drawn and in words.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

struct Chart {
    struct Series {
        std::string name;
        std::vector<std::optional<double>>
            values; ///< one for each time; unknown ones leave a gap in the line
    };

    std::string id; ///< unique within the page
    std::string title;
    std::string unit; ///< "Mbit/s"
    std::vector<double> seconds;
    std::vector<Series> series;
};

/// A figure: the drawing, its description for screen readers, a legend, and the values as a table.
std::string figureOf(const Chart& chart);

} // namespace orvo::host
