// SPDX-License-Identifier: MIT
// Command-line options that several subcommands share.
#pragma once

#include "base/Failure.h"
#include "cli/CommandLine.h"
#include "device/BoardAccess.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace orvo::host {

/// Adds --root.
void addRootOption(CommandLine& line, std::string& root);

/// Adds --root and --wire.
void addInstallationOptions(CommandLine& line, BoardOptions& options);

/// Adds --time, for subcommands that can do without the real time.
void addTimeOption(CommandLine& line, BoardOptions& options);

/// Adds --record.
void addRecordOption(CommandLine& line, BoardOptions& options);

/// Adds --board-recording and --lenient.
Option addBoardRecordingOptions(CommandLine& line, BoardOptions& options);

/// Adds --time for a recording alone, for subcommands that have no addTimeOption.
void addRecordingTimeOption(CommandLine& line, BoardOptions& options, const Option& recording);

/// Adds --faults and --seed.
void addFaultOptions(CommandLine& line, BoardOptions& options,
                     const char* description = "Inject the faults of this script on the simulated board, and "
                                               "account for every frame");

/// Adds --board.
void addBoardOption(CommandLine& line, const std::function<void(unsigned)>& take, const char* description);

/// Adds --board and --port; the latter may name the board too, unless --board names another one.
void addAddressOptions(CommandLine& line, PortAddress& address);

/// Adds the options of every subcommand that moves frames through a port: --board, --port, --no-reset,
/// --crc-watch, --root, --wire, --faults, --seed, --record and --json.
template <class Request>
void addTrafficOptions(CommandLine& line, Request& request, bool& json,
                       const char* jsonMeaning = "Print the report as JSON") {
    addAddressOptions(line, request.port.address);
    line.flag("--no-reset", request.port.noReset,
              "Do not reset the board's GigE hardware first (it must be running)");
    line.flag("--crc-watch", request.port.crcWatch,
              "Have the plug-in log frames with a wrong check sequence as they come (on standard error)");
    addInstallationOptions(line, request.boards);
    addFaultOptions(line, request.boards);
    addRecordOption(line, request.boards);
    line.flag("--json", json, jsonMeaning);
}

/// Adds --duration, from a millisecond to 31 years.
void addDurationOption(CommandLine& line, std::chrono::duration<double>& time, const std::string& help);

/// Adds --at.
void addAtOption(CommandLine& line, bool& atWire);

/// What the text of an option was read as. Errors: WrongValue "TEXT is not of the form FORM" for nothing.
template <class Value>
Value parsed(const std::optional<Value>& value, const std::string& text, const std::string& form) {
    if (value) return *value;
    throw WrongValue(quoted(text) + " is not of the form " + form);
}

/// The value of an option in seconds, such as "2" or "0.5". Errors: WrongValue.
std::chrono::duration<double> secondsFrom(const std::string& text, double least, double most);

} // namespace orvo::host
