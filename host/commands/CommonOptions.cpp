// SPDX-License-Identifier: MIT
#include "commands/CommonOptions.h"

#include "base/Numbers.h"

#include <fmt/format.h>

#include <memory>

namespace orvo::host {
namespace {

// "P=WIRE" or "B/P=WIRE".
WireOption wireFrom(const std::string& text) {
    const auto equals = text.find('=');
    WireOption option{text.substr(0, equals), equals == std::string::npos ? "" : text.substr(equals + 1)};
    if (option.wire.empty() || !(PortAddress::parse(option.port) || PortAddress::parse("0/" + option.port)))
        throw WrongValue(quoted(text) +
                         " is not of the form PORT=WIRE or BOARD/PORT=WIRE, such as 0=port:0/1");
    return option;
}

/// "N" or "B/N". `givenBoard` is that of --board.
PortAddress portFrom(const std::string& text, std::optional<unsigned> givenBoard) {
    const auto full = PortAddress::parse(text);
    const auto port = full ? full : PortAddress::parse("0/" + text);
    if (!port)
        throw WrongValue(quoted(text) +
                         " is not of the form PORT or BOARD/PORT, such as 1 or 0/1, each up to 99999");
    if (full && givenBoard && full->board != *givenBoard)
        throw WrongValue(fmt::format("{} is on board {}, but --board is {}; leave --board out", quoted(text),
                                     full->board, *givenBoard));
    return {full ? full->board : givenBoard.value_or(0), port->port};
}

} // namespace

std::chrono::duration<double> secondsFrom(const std::string& text, double least, double most) {
    const auto seconds = decimalNumber(text);
    if (seconds && *seconds >= least && *seconds <= most) return std::chrono::duration<double>(*seconds);
    throw WrongValue(
        fmt::format("{} is not a number of seconds from {} to {:.0f}", quoted(text), least, most));
}

void addRootOption(CommandLine& line, std::string& root) {
    line.text("--root", "DIR", root, "Installation to use (default: the one this program belongs to)")
        .notEmpty();
}

void addInstallationOptions(CommandLine& line, BoardOptions& options) {
    addRootOption(line, options.root);
    line.values(
        "--wire", "PORT=WIRE",
        [&options](const std::string& text) { options.wires.push_back(wireFrom(text)); },
        "Cable a port of the simulated board: loopback, port:BOARD/PORT, pcap:IN[,OUT], tap:NAME, "
        "packet:IFNAME or none; repeatable");
}

void addTimeOption(CommandLine& line, BoardOptions& options) {
    line.choice(
        "--time", {"real", "virtual"},
        [&options](const std::string& text) {
            options.virtualTime = text == "virtual";
            options.playback.isRealTime = text == "real";
        },
        "Time of the simulated board: real (default), or virtual, where pauses take no real time; that of a "
        "recording is virtual unless real is named");
}

void addRecordOption(CommandLine& line, BoardOptions& options) {
    line.text("--record", "FILE", options.record, "Record every call into the board's libraries in this file")
        .notEmpty();
}

Option addBoardRecordingOptions(CommandLine& line, BoardOptions& options) {
    const auto recording =
        line.text("--board-recording", "FILE", options.recording,
                  "Let this recording answer instead of a board; the run must make the recorded calls")
            .notEmpty();
    line.flag("--lenient", options.playback.isLenient,
              "Answer from the recording by entry and register, whatever is called")
        .needs(recording);
    return recording;
}

void addRecordingTimeOption(CommandLine& line, BoardOptions& options, const Option& recording) {
    line.choice(
            "--time", {"real", "virtual"},
            [&options](const std::string& text) { options.playback.isRealTime = text == "real"; },
            "Time of the recording: virtual (default), where pauses take no real time, or real")
        .needs(recording);
}

void addFaultOptions(CommandLine& line, BoardOptions& options, const char* description) {
    const auto script = line.text("--faults", "FILE", options.faults, description).notEmpty();
    line.number("--seed", options.seed, {}, "Seed of the script's random choices (default 0)").needs(script);
}

void addBoardOption(CommandLine& line, const std::function<void(unsigned)>& take, const char* description) {
    constexpr NumberRange fiveDigits{.most = 99'999}; // the installation decides which ones exist
    line.number(
        "-b,--board", [take](std::uint64_t number) { take(static_cast<unsigned>(number)); }, fiveDigits,
        description);
}

// The parser reads options in the order of their declaration: the board is known before the port.
void addAddressOptions(CommandLine& line, PortAddress& address) {
    const auto board = std::make_shared<std::optional<unsigned>>();
    addBoardOption(
        line, [&address, board](unsigned number) { *board = address.board = number; }, "Board (default 0)");
    line.value(
        "-p,--port", "PORT", [&address, board](const std::string& text) { address = portFrom(text, *board); },
        "GigE port: its number on the board, or BOARD/PORT (default 0)");
}

void addDurationOption(CommandLine& line, std::chrono::duration<double>& time, const std::string& help) {
    line.value(
        "-d,--duration", "S", [&time](const std::string& text) { time = secondsFrom(text, 0.001, 1e9); },
        help);
}

void addAtOption(CommandLine& line, bool& atWire) {
    line.choice(
        "--at", {"host", "wire"}, [&atWire](const std::string& text) { atWire = text == "wire"; },
        "Where to listen: host, at what the port hands over (the default); wire, at both directions of a "
        "simulated port's cable, with frame check sequences and damaged frames");
}

} // namespace orvo::host
