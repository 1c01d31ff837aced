// SPDX-License-Identifier: MIT
#include "inspect/watch/Screen.h"

#include "base/Output.h"
#include "frames/streams/StreamText.h"
#include "inspect/watch/Sparkline.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numeric>

namespace orvo::host {
namespace {

// Control sequences of the terminal (ECMA-48, SGR).
constexpr auto plain = "";
constexpr auto bold = "\033[1m";
constexpr auto green = "\033[32m";
constexpr auto yellow = "\033[33m";
constexpr auto red = "\033[1;31m";

struct Cell {
    std::string text;
    const char* style = plain;
};

struct PlacedCell {
    Cell cell;
    std::size_t width;
    bool isNumber; // and thus stands to the right
};

using Lines = std::vector<std::string>;
using Ports = std::vector<const PortHistory*>;
using Counters = std::vector<Counter>;

std::size_t columnsOf(const std::string& text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string styled(const Cell& cell, const ScreenForm& form) {
    return form.colour && *cell.style && !cell.text.empty() ? cell.style + cell.text + "\033[0m" : cell.text;
}

/// Cells side by side, with a blank between them. One that does not fit is left out as a whole: part of a
/// number would be another number.
std::string lineOf(const std::vector<PlacedCell>& cells, const ScreenForm& form) {
    std::string line;
    std::size_t columns = 0;
    for (const auto& [cell, width, isNumber] : cells) {
        const std::size_t gap = columns == 0 ? 0 : 1, used = columnsOf(cell.text);
        if (columns + gap + std::max(width, used) > form.columns) break;
        const std::string blanks(width - std::min(width, used), ' ');
        line +=
            std::string(gap, ' ') + (isNumber ? blanks : "") + styled(cell, form) + (isNumber ? "" : blanks);
        columns += gap + std::max(width, used);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/// For texts of ASCII.
std::string lineOf(const std::string& text, const char* style, const ScreenForm& form) {
    return styled({text.substr(0, form.columns), style}, form);
}

/// Counts since the start, flags as they are.
std::uint64_t shownValue(const PortHistory& port, Counter counter) {
    const auto& figure = port.of(counter);
    return (rowOf(counter).isCount() ? figure.sinceStart : figure.value).value_or(0);
}

bool isKnown(const PortHistory& port, Counter counter) {
    return port.of(counter).value || port.of(counter).sinceStart;
}

/// Whether the condition is true of any error counter or flag.
template <class Condition> bool anyTrouble(const Condition& condition) {
    bool found = false;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        found = found || (row.isTrouble() && condition(counter));
    });
    return found;
}

bool hasTrouble(const PortHistory& port) {
    return anyTrouble([&](Counter counter) { return shownValue(port, counter) != 0; });
}

Cell errorCell(const PortHistory& port) {
    if (anyTrouble([&](Counter counter) { return port.of(counter).hasRisen; })) return {"rising", red};
    return hasTrouble(port) ? Cell{"some", yellow} : Cell{"none"};
}

Cell linkCell(const PortHistory& port) {
    const auto& up = port.of(Counter::LinkUp).value;
    const auto mbit = linkMbit(port);
    const std::string text = linkText(port);
    if (!up) return {text, text == "gone" ? red : plain};
    if (*up == 0) return {text, red};
    return {mbit != 0 ? fmt::format("{} {}", text, mbit) : text, mbit == 1000 ? green : yellow};
}

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

Cell countCell(const PortHistory& port, Counter counter) {
    if (!isKnown(port, counter)) return {"-"};
    const auto value = shownValue(port, counter);
    const auto style = !rowOf(counter).isTrouble() || value == 0 ? plain
                       : port.of(counter).hasRisen               ? red
                                                                 : yellow;
    return {grouped(value), style};
}

struct Column {
    const char* title; // "": the history, which takes the width that is left
    std::size_t width;
    bool isNumber;
    int importance; // the least important is left out first
    std::function<Cell(const PortHistory&, std::size_t width)> cell;
};

std::size_t widthOf(const std::vector<Column>& columns) {
    return std::accumulate(columns.begin(), columns.end(), columns.size() - 1,
                           [](std::size_t sum, const Column& column) { return sum + column.width; });
}

std::vector<Column> portColumns(const ScreenForm& form) {
    constexpr std::size_t longestHistory = 60;
    const auto rate = [](Counter counter) {
        return [counter](const PortHistory& port, std::size_t) { return Cell{rateText(port.of(counter))}; };
    };
    const auto mbit = [](Counter counter) {
        return [counter](const PortHistory& port, std::size_t) { return Cell{mbitText(port.of(counter))}; };
    };
    const auto history = [blocks = form.blocks](const PortHistory& port, std::size_t width) {
        return Cell{sparkline(port.series(Counter::ReceivedPackets), width, blocks)};
    };
    std::vector<Column> columns = {
        {"PORT", 5, false, 9, [](const auto& port, std::size_t) { return Cell{port.port().text()}; }},
        {"LINK", 8, false, 8, [](const auto& port, std::size_t) { return linkCell(port); }},
        {"RECEIVED/s", 10, true, 6, rate(Counter::ReceivedPackets)},
        {"Mbit/s", 7, true, 4, mbit(Counter::WireReceivedBytes)},
        {"", 8, false, 3, history},
        {"SENT/s", 10, true, 5, rate(Counter::WireSentFrames)},
        {"Mbit/s", 7, true, 2, mbit(Counter::WireSentBytes)},
        {"ERRORS", 6, false, 7, [](const auto& port, std::size_t) { return errorCell(port); }},
    };
    while (columns.size() > 1 && widthOf(columns) > form.columns)
        columns.erase(std::ranges::min_element(columns, {}, &Column::importance));
    for (auto& column : columns)
        if (!*column.title)
            column.width = std::min(longestHistory, column.width + form.columns - widthOf(columns));
    return columns;
}

void addPorts(Lines& lines, const Ports& ports, const ScreenForm& form) {
    const auto columns = portColumns(form);
    const auto addLine = [&](const auto& cellOf) {
        std::vector<PlacedCell> cells;
        cells.reserve(columns.size());
        for (const auto& column : columns) cells.push_back({cellOf(column), column.width, column.isNumber});
        lines.push_back(lineOf(cells, form));
    };
    addLine([](const Column& column) { return Cell{column.title, bold}; });
    for (const auto* port : ports)
        addLine([&](const Column& column) { return column.cell(*port, column.width); });
}

/// A client that begins anew opens another stream. The old one goes after a while.
std::vector<WatchedStream> liveStreams(const std::vector<WatchedStream>& streams) {
    constexpr double longestSilence = 60;
    std::vector<WatchedStream> live;
    for (auto stream = streams.begin(); stream != streams.end(); ++stream) {
        const auto isNewer = [&](const WatchedStream& other) {
            return other.port == stream->port && other.ends.camera == stream->ends.camera;
        };
        if (stream->silentSeconds < longestSilence || std::none_of(stream + 1, streams.end(), isNewer))
            live.push_back(*stream);
    }
    return live;
}

/// One line for each stream; nothing without streams.
void addStreams(Lines& lines, const std::vector<WatchedStream>& streams, const ScreenForm& form) {
    constexpr std::array<std::size_t, 5> widths = {21, 9, 14, 14, 16};
    const auto addLine = [&](const std::array<Cell, widths.size()>& cells) {
        std::vector<PlacedCell> placed;
        for (std::size_t i = 0; i < cells.size(); ++i) placed.push_back({cells.at(i), widths.at(i), i != 0});
        lines.push_back(lineOf(placed, form));
    };
    if (!streams.empty())
        addLine({{{"STREAM FROM", bold},
                  {"IMAGES/s", bold},
                  {"COMPLETE", bold},
                  {"INCOMPLETE", bold},
                  {"PACKETS MISSING", bold}}});
    for (const auto& stream : streams) {
        const auto lossCell = [&](std::uint64_t count) {
            return Cell{grouped(count), count == 0 ? plain : stream.hasRisen ? red : yellow};
        };
        addLine({{{fmt::format("{:<5} {}", stream.port.text(), ipv4Text(stream.ends.camera))},
                  {fmt::format("{:.1f}", stream.imagesPerSecond)},
                  {grouped(stream.complete)},
                  lossCell(stream.incomplete),
                  lossCell(stream.missingPackets)}});
    }
}

/// Ports as columns; those that do not fit follow in a table below.
void addCounters(Lines& lines, const Ports& ports, const Counters& counters, const ScreenForm& form) {
    constexpr std::size_t longestName = 24, countWidth = 12, placeWidth = countWidth + 1;
    const auto nameWidth = std::min(longestName, std::max(form.columns, placeWidth) - placeWidth);
    const auto across =
        std::max<std::size_t>((form.columns - std::min(form.columns, nameWidth)) / placeWidth, 1);
    for (std::size_t first = 0; first < ports.size(); first += across) {
        const auto last = std::min(first + across, ports.size());
        const auto addLine = [&](const std::string& name, const char* style, const auto& cellOf) {
            std::vector<PlacedCell> cells = {{{name.substr(0, nameWidth), style}, nameWidth, false}};
            for (auto i = first; i < last; ++i) cells.push_back({cellOf(*ports[i]), countWidth, true});
            lines.push_back(lineOf(cells, form));
        };
        addLine("SINCE START", bold, [](const auto& port) { return Cell{port.port().text(), bold}; });
        for (const auto counter : counters)
            addLine(rowOf(counter).name, plain, [&](const auto& port) { return countCell(port, counter); });
    }
}

/// Ports with trouble first. Trouble stays until the end, so that rows do not jump to and fro.
Ports portsByImportance(const WatchState& state) {
    Ports ports;
    for (const auto& port : state.ports) ports.push_back(&port);
    std::stable_partition(ports.begin(), ports.end(), [](const auto* port) { return hasTrouble(*port); });
    return ports;
}

/// The same for streams: there may be more of them than lines.
std::vector<WatchedStream> streamsByImportance(std::vector<WatchedStream> streams) {
    std::ranges::stable_partition(
        streams, [](const auto& stream) { return stream.incomplete + stream.missingPackets != 0; });
    return streams;
}

/// Counters that some port has: error counters that are not 0, others that are not 0, the rest.
Counters countersByImportance(const Ports& ports) {
    Counters counters;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        if ((row.isCount() || row.isTrouble()) &&
            std::ranges::any_of(ports, [&](const auto* port) { return isKnown(*port, counter); }))
            counters.push_back(counter);
    });
    std::ranges::stable_sort(counters, {}, [&](Counter counter) {
        if (std::ranges::all_of(ports, [&](const auto* port) { return shownValue(*port, counter) == 0; }))
            return 2;
        return rowOf(counter).isTrouble() ? 0 : 1;
    });
    return counters;
}

std::string title(const WatchState& state, bool isLast) {
    const auto seconds = static_cast<std::uint64_t>(state.seconds);
    return fmt::format("orvo-gige: {}, every {} s, for {}:{:02}:{:02}{}", counted(state.ports.size(), "port"),
                       state.interval, seconds / 3600, seconds / 60 % 60, seconds % 60,
                       isLast ? "" : "; Ctrl-C ends");
}

} // namespace

std::vector<std::string> screenOf(const WatchState& state, const ScreenForm& form) {
    const auto ports = portsByImportance(state);
    Lines lines = {lineOf(title(state, form.lines == 0), plain, form)};
    if (!state.news.empty()) lines.push_back(lineOf(state.news.back(), yellow, form));
    addPorts(lines, ports, form);
    addStreams(lines, streamsByImportance(form.lines == 0 ? state.streams : liveStreams(state.streams)),
               form);
    if (const auto counters = countersByImportance(ports); !counters.empty())
        addCounters(lines, ports, counters, form);
    if (form.lines == 0 || lines.size() <= form.lines) return lines;
    const auto missing = lines.size() - (form.lines - 1);
    lines.resize(form.lines - 1);
    lines.push_back(lineOf("+" + counted(missing, "more line") + " on a larger terminal", plain, form));
    return lines;
}

} // namespace orvo::host
