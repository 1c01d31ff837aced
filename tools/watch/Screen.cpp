// SPDX-License-Identifier: MIT
// A table of ports, and below it what their counters came to.
#include "watch/Screen.h"

#include "app/Output.h"
#include "watch/CounterSelection.h"
#include "watch/Sparkline.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <span>
#include <utility>

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

/// One line in the making. Of what does not fit any more, text is cut off, and a number left out: a part of
/// it would be another one.
class Line {
public:
    explicit Line(const ScreenForm& form) : form_(form) {}

    void add(const Cell& cell, std::size_t width, bool toTheRight) {
        const auto used = columnsOf(cell.text);
        if (toTheRight && columns_ + std::max(used, width) > form_.columns) return;
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

/// What is shown of a counter.
std::optional<std::uint64_t> shownValue(const PortTrack& port, Counter counter) {
    const auto& figure = port.of(counter);
    return rowOf(counter).isCount() ? figure.sinceStart : figure.value;
}

enum class Trouble { Rising, Some, None };

Trouble troubleOf(const PortTrack& port) {
    auto trouble = Trouble::None;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        if (!row.isTrouble()) return;
        if (port.of(counter).hasRisen) trouble = Trouble::Rising;
        if (shownValue(port, counter).value_or(0) != 0) trouble = std::min(trouble, Trouble::Some);
    });
    return trouble;
}

Cell troubleCell(const PortTrack& port) {
    switch (troubleOf(port)) {
    case Trouble::Rising:
        return {"rising", Style::Alarm};
    case Trouble::Some:
        return {"some", Style::Warning};
    case Trouble::None:
        break;
    }
    return {"none"};
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
        {"RECEIVED/s", 10, true, 6, rate(Counter::ReceivedPackets)},
        {"Mbit/s", 7, true, 4, mbit(Counter::WireReceivedBytes)},
        {"", 8, false, 3, history},
        {"SENT/s", 10, true, 5, rate(Counter::WireSentFrames)},
        {"Mbit/s", 7, true, 2, mbit(Counter::WireSentBytes)},
        {"TROUBLE", 7, false, 7, [](const PortTrack& port, std::size_t) { return troubleCell(port); }},
    };
    while (columns.size() > 1 && widthOf(columns) > form.columns)
        columns.erase(std::ranges::min_element(columns, {}, &Column::importance));
    for (auto& column : columns)
        if (!*column.title)
            column.width = std::min(longestHistory, column.width + form.columns - widthOf(columns));
    return columns;
}

using Lines = std::vector<std::string>;

using Ports = std::vector<const PortTrack*>;
void addBlock(Lines& lines, const std::vector<Counter>& counters, std::span<const PortTrack> ports,
              const ScreenForm& form) {
    const auto nameRoom = std::min(nameWidth, form.columns - std::min(form.columns, countWidth));
    const auto addLine = [&](const Cell& name, const auto& cellOf) {
        Line line(form);
        line.add({name.text.substr(0, nameRoom), name.style}, nameRoom, false); // names are ASCII
        for (const auto& port : ports) line.add(cellOf(port), countWidth, true);
        lines.push_back(line.take());
    };
    lines.emplace_back();
    addLine({"SINCE START", Style::Head}, [](const PortTrack& port) {
        return Cell{port.port().text(), Style::Head};
    });
    for (const auto counter : counters)
        addLine({rowOf(counter).name},
                [&](const PortTrack& port) { return countCell(port.of(counter), rowOf(counter)); });
}

/// The last line that there is room for, where something is left out.
void addHint(Lines& lines, std::size_t ports, std::size_t counters, const ScreenForm& form) {
    std::string missing;
    for (const auto& [number, thing] : {std::pair(ports, "port"), std::pair(counters, "counter")})
        if (number != 0) missing += (missing.empty() ? "+" : ", +") + counted(number, thing);
    Line line(form);
    line.add({missing + " on a larger terminal", Style::Warning}, 0, false);
    lines.push_back(line.take());
}

void addCounters(Lines& lines, const WatchState& state, const ScreenForm& form) {
    const auto room = form.columns > nameWidth ? (form.columns - nameWidth) / countWidth : 0;
    auto selection = allCounters(state, std::max<std::size_t>(room, 1));
    const bool isTooMuch = form.lines != 0 && lines.size() + selection.lines() > form.lines;
    std::size_t hiddenPorts = 0;
    if (isTooMuch) {
        const auto lastLine = form.lines - 1;
        hiddenPorts = lines.size() - std::min(lines.size(), lastLine); // of the table of ports
        lines.resize(lines.size() - hiddenPorts);
        selection = reduced(std::move(selection), state, lastLine - lines.size());
        if (!selection.counters.empty()) hiddenPorts = state.ports.size() - selection.ports;
    }
    for (std::size_t i = 0; i < selection.ports; i += selection.portsInBlock)
        addBlock(lines, selection.counters,
                 std::span(state.ports).subspan(i, std::min(selection.portsInBlock, selection.ports - i)),
                 form);
    if (isTooMuch) addHint(lines, hiddenPorts, selection.hiddenCounters, form);
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
    addText(lines, title(state, form.lines == 0), Style::Plain, form);
    addText(lines, state.news.empty() ? "" : state.news.back(), Style::Warning, form);
    form.lines == 0 ? addEverything(lines, state, form) : addWhatFits(lines, state, form);
    return lines;
}

} // namespace orvo::host
