// SPDX-License-Identifier: MIT
// A table of ports, and below it what their counters came to.
#include "watch/Screen.h"

#include "app/Output.h"
#include "watch/Sparkline.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

namespace orvo::host {
namespace {

enum class Style { Plain, Head, Good, Warning, Alarm };

struct Cell {
    std::string text;
    Style style = Style::Plain;
};

const char* codeOf(Style style) {
    switch (style) {
    case Style::Plain:
        break;
    case Style::Head:
        return "\033[1m";
    case Style::Good:
        return "\033[32m";
    case Style::Warning:
        return "\033[33m";
    case Style::Alarm:
        return "\033[1;31m";
    }
    return "";
}

std::size_t columnsOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// One line in the making; what does not fit any more is cut off.
class Line {
public:
    explicit Line(const ScreenForm& form) : form_(form) {}

    void add(const Cell& cell, std::size_t width, bool toTheRight) {
        const auto used = columnsOf(cell.text);
        const std::string blanks(width - std::min(width, used), ' ');
        put(toTheRight ? blanks : "", Style::Plain);
        put(cell.text, cell.style);
        put(toTheRight ? "" : blanks, Style::Plain);
    }

    std::string take() {
        text_.erase(text_.find_last_not_of(' ') + 1);
        return std::move(text_);
    }

private:
    void put(std::string text, Style style) {
        while (columns_ + columnsOf(text) > form_.columns) {
            while ((static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) text.pop_back();
            text.pop_back();
        }
        columns_ += columnsOf(text);
        const bool isColoured = form_.colour && style != Style::Plain && !text.empty();
        text_ += isColoured ? codeOf(style) + text + "\033[0m" : text;
    }

    const ScreenForm& form_;
    std::size_t columns_ = 0;
    std::string text_;
};

std::string rateText(const Figure& figure) {
    if (!figure.perSecond) return "-";
    const auto rate = *figure.perSecond;
    return rate > 0 && rate < 10 ? fmt::format("{:.1f}", rate)
                                 : grouped(static_cast<std::uint64_t>(std::llround(rate)));
}

std::string mbitText(const Figure& bytes) {
    const auto rate = mbitPerSecond(bytes);
    return rate ? fmt::format("{:.1f}", *rate) : "-";
}

Cell linkCell(const PortTrack& port) {
    const auto& up = port.of(Counter::LinkUp).value;
    const auto speed = port.of(Counter::LinkSpeed).value.value_or(0) / 1'000'000;
    const std::string text = linkText(port);
    if (!up) return {text, text == "gone" ? Style::Alarm : Style::Plain};
    if (*up == 0) return {text, Style::Alarm};
    return {speed != 0 ? fmt::format("{} {}", text, speed) : text,
            speed == 1000 ? Style::Good : Style::Warning};
}

/// Kinds of trouble that there were, or are.
Cell troubleCell(const PortTrack& port) {
    std::uint64_t troubles = 0;
    bool hasRisen = false;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        if (!row.isTrouble()) return;
        const auto& figure = port.of(counter);
        if ((row.isCount() ? figure.sinceStart : figure.value).value_or(0) != 0) ++troubles;
        hasRisen = hasRisen || figure.hasRisen;
    });
    if (hasRisen) return {"rising", Style::Alarm};
    return troubles != 0 ? Cell{"some", Style::Warning} : Cell{"none", Style::Plain};
}

struct Column {
    const char* title;
    std::size_t width;
    bool toTheRight;
    int importance; // the least is left out first
    std::function<Cell(const PortTrack&, std::size_t width)> cell;
};

std::size_t widthOf(const std::vector<Column>& columns) {
    return std::accumulate(columns.begin(), columns.end(), columns.size() - 1,
                           [](std::size_t sum, const Column& column) { return sum + column.width; });
}

std::vector<Column> portColumns(const ScreenForm& form) {
    constexpr std::size_t longestHistory = 60;
    const auto rate = [](Counter counter) {
        return [counter](const PortTrack& port, std::size_t) { return Cell{rateText(port.of(counter))}; };
    };
    const auto mbit = [](Counter counter) {
        return [counter](const PortTrack& port, std::size_t) { return Cell{mbitText(port.of(counter))}; };
    };
    const auto history = [blocks = form.blocks](const PortTrack& port, std::size_t width) {
        return Cell{sparkline(port.history(Counter::ReceivedPackets), width, blocks)};
    };
    std::vector<Column> columns = {
        {"PORT", 5, false, 9, [](const PortTrack& port, std::size_t) { return Cell{port.port().text()}; }},
        {"LINK", 8, false, 8, [](const PortTrack& port, std::size_t) { return linkCell(port); }},
        {"RECEIVED/s", 10, true, 7, rate(Counter::ReceivedPackets)},
        {"Mbit/s", 7, true, 4, mbit(Counter::WireReceivedBytes)},
        {"", 8, false, 3, history},
        {"SENT/s", 10, true, 5, rate(Counter::WireSentFrames)},
        {"Mbit/s", 7, true, 2, mbit(Counter::WireSentBytes)},
        {"TROUBLE", 7, false, 6, [](const PortTrack& port, std::size_t) { return troubleCell(port); }},
    };
    while (columns.size() > 1 && widthOf(columns) > form.columns)
        columns.erase(std::ranges::min_element(columns, {}, &Column::importance));
    for (auto& column : columns)
        if (!*column.title)
            column.width = std::min(longestHistory, column.width + form.columns - widthOf(columns));
    return columns;
}

using Lines = std::vector<std::string>;

void addPorts(Lines& lines, const WatchState& state, const ScreenForm& form) {
    const auto columns = portColumns(form);
    const auto addLine = [&](const auto& cellOf) {
        Line line(form);
        for (const auto& column : columns) {
            if (&column != &columns.front()) line.add({}, 1, false);
            line.add(cellOf(column), column.width, column.toTheRight);
        }
        lines.push_back(line.take());
    };
    addLine([](const Column& column) { return Cell{column.title, Style::Head}; });
    for (const auto& port : state.ports)
        addLine([&](const Column& column) { return column.cell(port, column.width); });
}

constexpr std::size_t nameWidth = 24;
constexpr std::size_t countWidth = 13;

Cell countCell(const Figure& figure, const CounterRow& row) {
    const auto value = row.isCount() ? figure.sinceStart : figure.value;
    if (!value) return {"-"};
    const bool isTrouble = row.isTrouble() && *value != 0;
    return {grouped(*value), !isTrouble ? Style::Plain : figure.hasRisen ? Style::Alarm : Style::Warning};
}

/// Counters that no port has are left out, and so are ports that there is no room for.
void addCounters(Lines& lines, const WatchState& state, const ScreenForm& form) {
    const auto room = form.columns > nameWidth ? (form.columns - nameWidth) / countWidth : 0;
    const auto shown = std::min(room, state.ports.size());
    const auto addLine = [&](const Cell& name, const auto& cellOf) {
        Line line(form);
        line.add(name, nameWidth, false);
        for (std::size_t i = 0; i < shown; ++i) line.add(cellOf(state.ports[i]), countWidth, true);
        lines.push_back(line.take());
    };
    lines.emplace_back();
    addLine({"SINCE START", Style::Head}, [](const PortTrack& port) {
        return Cell{port.port().text(), Style::Head};
    });
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto isKnown = [&](const PortTrack& port) {
            return port.of(counter).value.has_value() || port.of(counter).sinceStart.has_value();
        };
        if ((row.isCount() || row.isTrouble()) && std::ranges::any_of(state.ports, isKnown))
            addLine({row.name},
                    [&, c = counter](const PortTrack& port) { return countCell(port.of(c), row); });
    });
    if (shown < state.ports.size()) {
        Line line(form);
        line.add({fmt::format("(a wider terminal has room for {} more)",
                              counted(state.ports.size() - shown, "port"))},
                 0, false);
        lines.push_back(line.take());
    }
}

std::string title(const WatchState& state, bool isLast) {
    const auto seconds = static_cast<std::uint64_t>(state.seconds);
    return fmt::format("orvo-gige: {}, every {} s, for {}:{:02}:{:02}{}", counted(state.ports.size(), "port"),
                       state.interval, seconds / 3600, seconds / 60 % 60, seconds % 60,
                       isLast ? "" : "; Ctrl-C ends");
}

} // namespace

std::vector<std::string> screenOf(const WatchState& state, const ScreenForm& form) {
    Lines lines;
    const auto addText = [&](const std::string& text, Style style) {
        Line line(form);
        line.add({text, style}, 0, false);
        lines.push_back(line.take());
    };
    addText(title(state, form.lines == 0), Style::Plain);
    addText(state.news.empty() ? "" : state.news.back(), Style::Warning);
    addPorts(lines, state, form);
    addCounters(lines, state, form);
    if (form.lines != 0 && lines.size() > form.lines) lines.resize(form.lines);
    return lines;
}

} // namespace orvo::host
