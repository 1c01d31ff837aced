// SPDX-License-Identifier: MIT
// Declaration and reading of the shared options.
#include "commands/SharedOptions.h"

#include "base/Failure.h"
#include "base/Numbers.h"

#include <fmt/format.h>

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

} // namespace

std::chrono::duration<double> secondsFrom(const std::string& text, double least, double most) {
    const auto seconds = decimalNumber(text);
    if (seconds && *seconds >= least && *seconds <= most) return std::chrono::duration<double>(*seconds);
    throw WrongValue(fmt::format("{} is no number of seconds from {} to {:.0f}", quoted(text), least, most));
}

void addRootTo(CommandLine& line, std::string& root) {
    line.text("--root", "DIR", root, "Installation to use (default: the one this program belongs to)");
}

void addTo(CommandLine& line, InstallationOptions& options) {
    addRootTo(line, options.root);
    line.values(
        "--wire", "PORT=WIRE",
        [&options](const std::string& text) { options.wires.push_back(wireFrom(text)); },
        "Cable a port of the simulated board: loopback, port:BOARD/PORT, pcap:IN[,OUT], tap:NAME, "
        "packet:IFNAME or "
        "none; repeatable");
    line.choice(
        "--time", {"real", "virtual"},
        [&options](const std::string& text) { options.virtualTime = text == "virtual"; },
        "Time of the simulated board: real (default), or virtual, where pauses advance it without waiting");
}

void addFaultsTo(CommandLine& line, InstallationOptions& options) {
    const auto script =
        line.text("--faults", "FILE", options.faults,
                  "Have the simulated board go wrong as this script says, and account for every frame")
            .notEmpty();
    line.number("--seed", options.seed, {}, "Seed of the script's random choices (default 0)").needs(script);
}

void addAddressTo(CommandLine& line, PortAddress& address) {
    constexpr NumberRange fiveDigits{.most = 99'999}; // which there are is for the installation to say
    line.number("--board", address.board, fiveDigits, "Board (default 0)");
    line.number("--port", address.port, fiveDigits, "GigE port of the board (default 0)");
}

void addTo(CommandLine& line, PortOptions& options) {
    addAddressTo(line, options.address);
    line.flag("--no-reset", options.noReset,
              "Do not reset the board's GigE hardware first (it must be running)");
}

} // namespace orvo::host
