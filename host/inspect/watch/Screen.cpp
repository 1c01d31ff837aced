// SPDX-License-Identifier: MIT
// A table of ports, and below it what their counters came to.
#include "inspect/watch/Screen.h"

#include "base/Output.h"
#include "inspect/watch/Sparkline.h"

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
using Counters = std::vector<Counter>;

/// As many as there is room for, those of the lowest rank, in their order.
template <class Entry, class Rank>
std::vector<Entry> chosen(const std::vector<Entry>& all, std::size_t room, const Rank& rankOf) {
    std::vector<std::size_t> places(all.size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    std::ranges::stable_sort(places, {}, [&](std::size_t place) { return rankOf(all[place]); });
    places.resize(std::min(room, places.size()));
    std::ranges::sort(places);
    std::vector<Entry> entries;
    entries.reserve(places.size());
    for (const auto place : places) entries.push_back(all[place]);
    return entries;
}

/// The worst, if there is no room for all.
Ports chosenPorts(const WatchState& state, std::size_t room) {
    Ports all;
    for (const auto& port : state.ports) all.push_back(&port);
    return chosen(all, room, [](const PortTrack* port) { return troubleOf(*port); });
}

/// That some port has.
Counters knownCounters(const WatchState& state) {
    Counters counters;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto isKnown = [&](const PortTrack& port) {
            return port.of(counter).value || port.of(counter).sinceStart;
        };
        if ((row.isCount() || row.isTrouble()) && std::ranges::any_of(state.ports, isKnown))
            counters.push_back(counter);
    });
    return counters;
}

/// What is in trouble first, what is 0 everywhere last.
Counters chosenCounters(const WatchState& state, const Counters& all, std::size_t room) {
    return chosen(all, room, [&](Counter counter) {
        const auto isSet = [&](const PortTrack& port) { return shownValue(port, counter).value_or(0) != 0; };
        if (std::ranges::none_of(state.ports, isSet)) return 2;
        return rowOf(counter).isTrouble() ? 0 : 1;
    });
}

void addPorts(Lines& lines, const Ports& ports, const ScreenForm& form) {
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
    for (const auto* port : ports)
        addLine([&](const Column& column) { return column.cell(*port, column.width); });
}

constexpr std::size_t longestName = 24;
constexpr std::size_t countWidth = 13;

/// Names give way to numbers.
std::size_t nameWidth(const ScreenForm& form) {
    return std::min(longestName, std::max(form.columns, countWidth) - countWidth);
}

std::size_t portsAcross(const ScreenForm& form) {
    return std::max<std::size_t>((form.columns - std::min(form.columns, nameWidth(form))) / countWidth, 1);
}

Cell countCell(const PortTrack& port, Counter counter) {
    const auto value = shownValue(port, counter);
    if (!value) return {"-"};
    const bool isTrouble = rowOf(counter).isTrouble() && *value != 0;
    return {grouped(*value), !isTrouble                  ? Style::Plain
                             : port.of(counter).hasRisen ? Style::Alarm
                                                         : Style::Warning};
}

void addCounters(Lines& lines, const Ports& ports, const Counters& counters, const ScreenForm& form) {
    const auto addLine = [&](const std::string& name, Style style, const auto& cellOf) {
        Line line(form);
        line.add({name.substr(0, nameWidth(form)), style}, nameWidth(form), false);
        for (const auto* port : ports) line.add(cellOf(*port), countWidth, true);
        lines.push_back(line.take());
    };
    addLine("SINCE START", Style::Head, [](const PortTrack& port) {
        return Cell{port.port().text(), Style::Head};
    });
    for (const auto counter : counters)
        addLine(rowOf(counter).name, Style::Plain,
                [&](const PortTrack& port) { return countCell(port, counter); });
}

void addText(Lines& lines, const std::string& text, Style style, const ScreenForm& form) {
    Line line(form);
    line.add({text, style}, 0, false);
    lines.push_back(line.take());
}

/// Below each other where there is no room beside each other.
void addEverything(Lines& lines, const WatchState& state, const ScreenForm& form) {
    auto ports = chosenPorts(state, state.ports.size());
    addPorts(lines, ports, form);
    const auto counters = knownCounters(state);
    while (!ports.empty()) {
        const auto end =
            ports.begin() + static_cast<std::ptrdiff_t>(std::min(portsAcross(form), ports.size()));
        lines.emplace_back();
        addCounters(lines, {ports.begin(), end}, counters, form);
        ports.erase(ports.begin(), end);
    }
}

std::string hintAt(std::size_t ports, std::size_t counters) {
    std::string missing;
    if (ports != 0) missing = "+" + counted(ports, "port");
    if (counters != 0) missing += (missing.empty() ? "+" : ", +") + counted(counters, "counter");
    return "(" + missing + " on a larger terminal)";
}

std::size_t less(std::size_t room, std::size_t taken) {
    return room - std::min(room, taken);
}

/// The last line says what is missing.
void addWhatFits(Lines& lines, const WatchState& state, const ScreenForm& form) {
    const auto ports = state.ports.size(), across = std::min(ports, portsAcross(form));
    const auto room = less(form.lines, lines.size() + 1);
    const auto listed = ports <= room ? ports : less(room, 1);
    addPorts(lines, chosenPorts(state, listed), form);
    const auto counters = knownCounters(state);
    const bool isShort =
        listed < ports || (!counters.empty() && (across < ports || counters.size() + 2 > room - listed));
    const auto rows = isShort ? std::min(counters.size(), less(room - listed, 2)) : counters.size();
    if (!isShort && rows != 0) lines.emplace_back();
    if (rows != 0)
        addCounters(lines, chosenPorts(state, across), chosenCounters(state, counters, rows), form);
    if (!isShort) return;
    lines.resize(std::min(lines.size(), less(form.lines, 1)));
    addText(lines, hintAt(ports - (rows != 0 ? across : listed), counters.size() - rows), Style::Plain, form);
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
