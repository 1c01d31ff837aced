// SPDX-License-Identifier: MIT
// Lines in SVG. Colours and sizes of letters are the page's.
#include "inspect/report/Chart.h"

#include "base/Output.h"
#include "inspect/report/Html.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orvo::host {
namespace {

using html::escaped;
using html::tag;

constexpr double width = 520, height = 220; // of the drawing, in its own units
constexpr double left = 72, right = 508, top = 12, bottom = 180;
constexpr int gridLines = 4;

/// 1, 2 or 5 times a power of ten, at least `least`.
double roundStep(double least) {
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= least * (1 - 1e-9)) return factor * power;
    return 10 * power;
}

std::string numberText(double value) {
    const double rounded = std::round(value);
    if (std::abs(value - rounded) < 1e-6 * std::max(1.0, std::abs(value)) || value >= 1000)
        return grouped(static_cast<std::uint64_t>(rounded));
    return fmt::format("{:.{}f}", value, value < 1 ? 2 : 1);
}

/// The same in the room beside an axis: six characters of the size that they have on a narrow page.
std::string axisText(double value) {
    if (value >= 1e6) return fmt::format("{:.4g} M", value / 1e6);
    if (value >= 1e4) return fmt::format("{:.4g} k", value / 1e3);
    return value >= 1000 ? numberText(value) : fmt::format("{:.4g}", value);
}

/// Where values are drawn.
class Plane {
public:
    explicit Plane(const Chart& chart) {
        for (const auto& series : chart.series)
            for (const auto& value : series.values) mostValue_ = std::max(mostValue_, value.value_or(0));
        if (!chart.seconds.empty()) mostSeconds_ = std::max(chart.seconds.back(), 0.1);
        valueStep_ = roundStep(std::max(mostValue_, 1.0) / gridLines);
        mostValue_ = valueStep_ * std::max(1.0, std::ceil(mostValue_ / valueStep_ - 1e-9));
        secondsStep_ = roundStep(mostSeconds_ / gridLines);
    }

    double x(double seconds) const { return left + (right - left) * seconds / mostSeconds_; }
    double y(double value) const { return bottom - (bottom - top) * value / mostValue_; }

    std::string grid() const {
        std::string text;
        for (int i = 0; i * valueStep_ <= mostValue_ * (1 + 1e-9); ++i)
            text += fmt::format("<line class=\"grid\" x1=\"{0}\" x2=\"{1}\" y1=\"{2:.1f}\" y2=\"{2:.1f}\"/>"
                                "<text x=\"{3}\" y=\"{4:.1f}\" text-anchor=\"end\">{5}</text>\n",
                                left, right, y(i * valueStep_), left - 8, y(i * valueStep_) + 4,
                                axisText(i * valueStep_));
        for (int i = 0; i * secondsStep_ <= mostSeconds_ * (1 + 1e-9); ++i)
            text +=
                fmt::format("<text x=\"{:.1f}\" y=\"{}\" text-anchor=\"middle\">{}{}</text>\n",
                            x(i * secondsStep_), bottom + 22, axisText(i * secondsStep_), i == 0 ? " s" : "");
        return text;
    }

private:
    double mostValue_ = 0, mostSeconds_ = 1;
    double valueStep_ = 1, secondsStep_ = 1;
};

/// Runs of known values as lines, single ones as dots.
std::string lineOf(const Chart& chart, std::size_t which, const Plane& plane) {
    const auto& values = chart.series[which].values;
    std::string text;
    for (std::size_t i = 0; i < values.size();) {
        std::string points;
        const auto first = i;
        for (; i < values.size() && values[i]; ++i)
            points += fmt::format("{}{:.1f},{:.1f}", points.empty() ? "" : " ", plane.x(chart.seconds[i]),
                                  plane.y(*values[i]));
        if (i - first == 1)
            text += fmt::format("<circle class=\"dot{}\" cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"2\"/>\n", which,
                                plane.x(chart.seconds[first]), plane.y(*values[first]));
        else if (i > first)
            text += fmt::format("<polyline class=\"line{}\" points=\"{}\"/>\n", which, points);
        while (i < values.size() && !values[i]) ++i;
    }
    return text;
}

std::string captionOf(const Chart& chart) {
    return chart.title + " (" + chart.unit + ")";
}

std::string inWords(const Chart& chart, const Chart::Series& series) {
    double most = 0, sum = 0;
    std::size_t known = 0;
    for (const auto& value : series.values) {
        if (!value) continue;
        most = std::max(most, *value);
        sum += *value;
        ++known;
    }
    if (known == 0) return series.name + ": unknown";
    return fmt::format("{}: at most {} {}, {} on average", series.name, numberText(most), chart.unit,
                       numberText(sum / static_cast<double>(known)));
}

std::string drawingOf(const Chart& chart) {
    const Plane plane(chart);
    std::string words;
    for (const auto& series : chart.series) words += inWords(chart, series) + ". ";
    auto content = tag("title", {{"id", chart.id + "-title"}}, escaped(chart.title)) +
                   tag("desc", {{"id", chart.id + "-words"}}, escaped(words)) + "\n" + plane.grid();
    for (std::size_t i = 0; i < chart.series.size(); ++i) content += lineOf(chart, i, plane);
    return tag("svg",
               {{"xmlns", "http://www.w3.org/2000/svg"},
                {"viewBox", fmt::format("0 0 {} {}", width, height)},
                {"role", "img"},
                {"aria-labelledby", chart.id + "-title " + chart.id + "-words"}},
               content) +
           "\n";
}

std::string legendOf(const Chart& chart) {
    std::string entries;
    for (std::size_t i = 0; i < chart.series.size(); ++i)
        entries +=
            tag("li", fmt::format("<svg class=\"key\" viewBox=\"0 0 24 8\" aria-hidden=\"true\">"
                                  "<line class=\"line{}\" x1=\"0\" x2=\"24\" y1=\"4\" y2=\"4\"/></svg> ",
                                  i) +
                          escaped(inWords(chart, chart.series[i])));
    return tag("ul", entries) + "\n";
}

std::string valuesOf(const Chart& chart) {
    html::Table table{captionOf(chart), {"seconds"}, {}, {0}};
    for (std::size_t i = 0; i < chart.series.size(); ++i) {
        table.heading.push_back(chart.series[i].name);
        table.numbers.push_back(i + 1);
    }
    for (std::size_t i = 0; i < chart.seconds.size(); ++i) {
        std::vector<std::string> row = {fmt::format("{:.2f}", chart.seconds[i])};
        for (const auto& series : chart.series)
            row.push_back(series.values[i] ? numberText(*series.values[i]) : "unknown");
        table.rows.push_back(std::move(row));
    }
    return html::details("The values", tableOf(table), false);
}

} // namespace

std::string figureOf(const Chart& chart) {
    return tag("figure", tag("figcaption", escaped(captionOf(chart))) + "\n" + drawingOf(chart) +
                             legendOf(chart) + valuesOf(chart)) +
           "\n";
}

} // namespace orvo::host
