// SPDX-License-Identifier: MIT
// Acts on a server's boards from outside: cables, plugs, faults, reports and power.
#include "base/DynamicLibrary.h"
#include "base/Failure.h"
#include "base/Numbers.h"
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/Installation.h"
#include "device/SimulatorControl.h"

#include <orvo/hal/orvo_hal.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <map>
#include <optional>

namespace orvo::host {
namespace {

constexpr unsigned boardLimit = 32, portLimit = 4;

struct Request {
    const DynamicLibrary& hal;
    const SimulatorControl& simulator;
    const std::vector<std::string>& arguments;
    std::optional<unsigned> board;
    std::optional<std::uint64_t> seed;
    bool json;

    template <class Function> Function* entry(const char* name) const { return hal.require<Function>(name); }
    void takes(std::size_t least, std::size_t most, const char* form) const {
        if (arguments.size() < least || arguments.size() > most)
            throw UsageFailure(std::string("write it as: orvo-gige sim ") + form);
    }
    PortAddress port() const {
        if (const auto address = PortAddress::parse(arguments.front())) return *address;
        throw UsageFailure(quoted(arguments.front()) + " is not a port; write BOARD/PORT, such as 0/1");
    }
};

/// `what` is the sentence for the user, without its end.
void require(int result, const std::string& what) {
    if (result == OrvoSimServerGone)
        throw Failure(what + ": the server of the boards has ended; start it again: orvo-gige simulate");
    if (result == OrvoSimNoSuchPlace)
        throw Failure(what + ": there is no such board or port; 'orvo-gige sim status' lists them");
    if (result < 0) throw Failure(fmt::format("{} (result {})", what, result));
}

struct PortRow {
    PortAddress address;
    OrvoSimPort state;
    bool isPlugged;
    bool isOn; ///< its board
    std::string wire;
};

bool isBoardOn(const Request& request, unsigned board) {
    void* const device = request.entry<decltype(::OHalGetDevice)>("OHalGetDevice")(static_cast<int>(board));
    if (device) request.entry<decltype(::OHalPutDevice)>("OHalPutDevice")(device);
    return device;
}

std::vector<PortRow> portRows(const Request& request) {
    const auto isPlugged = request.entry<decltype(::orvoSimIsPlugged)>("orvoSimIsPlugged");
    std::vector<PortRow> rows;
    for (unsigned board = 0; board < boardLimit; ++board)
        for (unsigned port = 0; port < portLimit; ++port) {
            const PortAddress address{board, port};
            const auto state = request.simulator.state(address);
            if (!state) break;
            rows.push_back({address, *state, isPlugged(board, port) != 0, isBoardOn(request, board),
                            request.simulator.wire(address)});
        }
    return rows;
}

std::string linkText(const OrvoSimPort& state, bool isOn) {
    if (!isOn) return "board off";
    return state.linkUp != 0 ? fmt::format("{} Mbit/s", state.linkMbit) : "down";
}

/// What acts on frames of a board's ports beside their wires.
std::string notesText(const std::vector<PortRow>& rows) {
    std::string text;
    for (const auto& [address, state, isPlugged, isOn, wire] : rows) {
        if (address.port != 0) continue; // it is the same for all ports of a board
        if (state.hasFaults != 0)
            text += fmt::format("board {}: faults of a script are active\n", address.board);
        if (state.hasLineRate != 0)
            text += fmt::format("board {}: frames take their time on the wire\n", address.board);
    }
    return text;
}

void printStatus(const Request& request) {
    request.takes(0, 0, "status [--json]");
    const auto rows = portRows(request);
    if (request.json) {
        auto ports = nlohmann::ordered_json::array();
        for (const auto& [address, state, isPlugged, isOn, wire] : rows)
            ports.push_back({{"port", address.text()},
                             {"linkMbit", state.linkUp != 0 ? state.linkMbit : 0},
                             {"plugged", isPlugged},
                             {"on", isOn},
                             {"lineRate", state.hasLineRate != 0},
                             {"faults", state.hasFaults != 0},
                             {"wire", wire},
                             {"sentFrames", state.sentFrames},
                             {"receivedFrames", state.receivedFrames},
                             {"receiveErrors", state.receiveErrors},
                             {"overflowFrames", state.overflowFrames}});
        return print(nlohmann::ordered_json{{"ports", std::move(ports)}});
    }
    std::vector<std::vector<std::string>> lines = {
        {"PORT", "LINK", "SENT", "RECEIVED", "ERRORS", "OVERFLOW", "WIRE"}};
    for (const auto& [address, state, isPlugged, isOn, wire] : rows)
        lines.push_back({address.text(), linkText(state, isOn), grouped(state.sentFrames),
                         grouped(state.receivedFrames), grouped(state.receiveErrors),
                         grouped(state.overflowFrames), isPlugged ? wire : wire + " (unplugged)"});
    print(table(lines) + notesText(rows));
}

void setWire(const Request& request) {
    request.takes(1, 1, "wire BOARD/PORT=WIRE");
    const auto& text = request.arguments.front();
    const auto equals = text.find('=');
    const auto place = text.substr(0, equals);
    auto port = PortAddress::parse(place);
    if (port && request.board) throw UsageFailure(quoted(place) + " names the board; leave --board out");
    if (!port) port = PortAddress::parse(std::to_string(request.board.value_or(0)) + "/" + place);
    if (!port || equals == std::string::npos)
        throw UsageFailure(quoted(text) + " is not of the form PORT=WIRE, such as 0/1=loopback");
    request.simulator.setWire(*port, text.substr(equals + 1));
}

void setPlugged(const Request& request, bool plugged) {
    request.takes(1, 1, plugged ? "plug BOARD/PORT" : "unplug BOARD/PORT");
    const auto port = request.port();
    const auto set = request.entry<decltype(::orvoSimSetPlugged)>("orvoSimSetPlugged");
    require(set(port.board, port.port, plugged ? 1 : 0),
            "cannot " + std::string(plugged ? "plug" : "unplug") + " port " + port.text());
}

void setFaults(const Request& request) {
    request.takes(1, 1, "faults FILE [--seed N], or: orvo-gige sim faults off");
    const auto& script = request.arguments.front();
    if (script != "off") return request.simulator.loadFaults(script, request.seed.value_or(0));
    if (request.seed) throw UsageFailure("--seed is for a script; leave it out");
    request.simulator.endFaults();
}

void reportActionTimeouts(const Request& request) {
    request.takes(1, 2, "action BOARD/PORT [COUNT]");
    const auto port = request.port();
    const auto count = request.arguments.size() > 1 ? wholeNumber(request.arguments[1]) : 1;
    if (!count || *count < 1 || *count > 0xFFFF)
        throw UsageFailure(quoted(request.arguments[1]) + " is not a count from 1 to 65535");
    const auto report =
        request.entry<decltype(::orvoSimReportActionCommandTimeout)>("orvoSimReportActionCommandTimeout");
    const int result = report(port.board, port.port, static_cast<std::uint16_t>(*count));
    if (result == OrvoSimFull)
        throw Failure("the action command queue of port " + port.text() + " is full; nothing reads it");
    require(result, "cannot report at port " + port.text());
}

void setPower(const Request& request) {
    request.takes(1, 1, "power on|off [--board N]");
    const auto& state = request.arguments.front();
    if (state != "on" && state != "off") throw UsageFailure(quoted(state) + " is neither 'on' nor 'off'");
    const auto set = request.entry<decltype(::orvoSimSetBoardPresent)>("orvoSimSetBoardPresent");
    const auto board = request.board.value_or(0);
    require(set(board, state == "on" ? 1 : 0), fmt::format("cannot switch board {} {}", board, state));
}

struct Action {
    void (*run)(const Request&);
    const char* option = ""; // that it can have
};

const std::map<std::string, Action>& actions() {
    static const std::map<std::string, Action> all = {
        {"status", {printStatus, "--json"}},
        {"wire", {setWire, "--board"}},
        {"unplug", {[](const Request& request) { setPlugged(request, false); }}},
        {"plug", {[](const Request& request) { setPlugged(request, true); }}},
        {"faults", {setFaults, "--seed"}},
        {"action", {reportActionTimeouts}},
        {"power", {setPower, "--board"}}};
    return all;
}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const auto& [name, action] : actions()) all.push_back(name);
    return all;
}

class SimCommand : public Command {
public:
    explicit SimCommand(Program& program)
        : Command(program, "sim", "Show and change the simulated boards that 'simulate' holds") {
        line()
            .choice(
                "ACTION", names(), [this](const std::string& text) { action_ = text; },
                "status; wire PORT=WIRE; unplug or plug BOARD/PORT; faults FILE or off; "
                "action BOARD/PORT [COUNT]; power on or off")
            .required();
        line().rest("ARGUMENT", "ARGUMENT", arguments_, "What the action takes");
        line().number(
            "-b,--board", [this](std::uint64_t number) { board_ = static_cast<unsigned>(number); },
            {.most = boardLimit - 1}, "Board of 'power' and 'wire' (default 0)");
        line().number(
            "--seed", [this](std::uint64_t number) { seed_ = number; }, {},
            "Seed of the script's random choices (default 0)");
        line().flag("--json", json_, "Print the status as JSON");
        addRootOption(line(), root_);
    }

    int run() override {
        const auto& action = actions().at(action_);
        line().refuseOthers({"--root", action.option}, "not for 'sim " + action_ + "'");
        const DynamicLibrary hal(Installation(root_).library("orvo_hal"));
        const auto simulator = SimulatorControl::find(hal);
        if (!simulator || simulator->server().empty())
            throw Failure("sim acts on boards that programs share, and none are found; start them: orvo-gige "
                          "simulate (ORVO_BOARD chooses others than 'default')");
        action.run({hal, *simulator, arguments_, board_, seed_, json_});
        return Done;
    }

private:
    std::string root_;
    std::string action_;
    std::vector<std::string> arguments_;
    std::optional<unsigned> board_;
    std::optional<std::uint64_t> seed_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeSimCommand(Program& program) {
    return std::make_unique<SimCommand>(program);
}

} // namespace orvo::host
