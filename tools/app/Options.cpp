// Declaration and reading of the shared options.
#include "app/Options.h"

#include "app/Failure.h"
#include "app/Numbers.h"

#include <CLI/CLI.hpp>

namespace orvo::host {
namespace {

// "P=WIRE" or "B/P=WIRE".
WireOption wireFrom(const std::string& text) {
    const auto equals = text.find('=');
    const WireOption option{text.substr(0, equals),
                            equals == std::string::npos ? "" : text.substr(equals + 1)};
    if (option.wire.empty() || !(PortAddress::parse(option.port) || PortAddress::parse("0/" + option.port)))
        throw CLI::ValidationError(
            "--wire", "'" + text + "' is not of the form PORT=WIRE or BOARD/PORT=WIRE, such as 0=port:0/1");
    return option;
}

} // namespace

PortAddress WireOption::address(unsigned defaultBoard) const {
    const auto full = PortAddress::parse(port);
    return full ? *full : PortAddress::parse(std::to_string(defaultBoard) + "/" + port).value();
}

void InstallationOptions::addTo(CLI::App& command) {
    command.add_option("--root", root, "Installation to use (default: the one this program belongs to)")
        ->type_name("DIR");
    command
        .add_option_function<std::vector<std::string>>(
            "--wire",
            [this](const std::vector<std::string>& texts) {
                for (const auto& text : texts) wires.push_back(wireFrom(text));
            },
            "Cable a port of the simulated board: loopback, port:BOARD/PORT, pcap:IN[,OUT], tap:NAME, "
            "packet:IFNAME or none; repeatable")
        ->type_name("PORT=WIRE")
        ->expected(1) // each time
        ->take_all();
    command
        .add_option_function<std::string>(
            "--time", [this](const std::string& text) { virtualTime = text == "virtual"; },
            "Time of the simulated board: real (default), or virtual, where pauses advance it without "
            "waiting")
        ->type_name("real|virtual")
        ->check(CLI::IsMember({"real", "virtual"}));
}

void InstallationOptions::addFaultsTo(CLI::App& command) {
    auto* const script =
        command
            .add_option("--faults", faults,
                        "Have the simulated board go wrong as this script says, and account for every frame")
            ->check(CLI::Validator(
                [](const std::string& text) { return text.empty() ? "it names no file" : ""; }, ""))
            ->type_name("FILE");
    addNumber(command, "--seed", seed, {}, "Seed of the script's random choices (default 0)").needs(script);
}

void InstallationOptions::requireRealTime() const {
    if (virtualTime)
        throw UsageFailure("live traffic keeps real time; leave --time virtual out (--no-reset saves the "
                           "board's reset)");
}

void addAddressTo(CLI::App& command, PortAddress& address) {
    constexpr NumberRange fiveDigits{.most = 99'999}; // which there are is for the installation to say
    addNumber(command, "--board", address.board, fiveDigits, "Board (default 0)");
    addNumber(command, "--port", address.port, fiveDigits, "GigE port of the board (default 0)");
}

void PortOptions::addTo(CLI::App& command, Reset reset) {
    addAddressTo(command, address);
    noReset = reset == Reset::Never;
    if (noReset) return;
    command.add_flag("--no-reset", noReset,
                     "Do not reset the board's GigE hardware first (it must be running)");
}

} // namespace orvo::host
