// SPDX-License-Identifier: MIT
#include "device/BoardAccess.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Pacing.h"
#include "device/Board.h"
#include "device/Plugin.h"
#include "device/recording/Recorder.h"
#include "device/recording/RecordingHeader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>

namespace orvo::host {

PortAddress WireOption::address(unsigned defaultBoard) const {
    const auto full = PortAddress::parse(port);
    return full ? *full : PortAddress::parse(std::to_string(defaultBoard) + "/" + port).value();
}

namespace {

CallsReach reachOf(const BoardOptions& options) {
    if (!options.recording.empty()) return CallsReach::Recording;
    return options.record.empty() ? CallsReach::Board : CallsReach::BoardAndRecorder;
}

std::optional<SimulatorControl> simulatorOf(const BoardLibraries& libraries) {
    return libraries.hal() ? SimulatorControl::find(*libraries.hal()) : std::nullopt;
}

bool isOfThisProgram(const nlohmann::json& header) {
    const auto program = header.find("program");
    return program != header.end() && program->is_string() &&
           program->get_ref<const std::string&>().starts_with("orvo-gige ");
}

thread_local double skippedSeconds = 0;

int skipSleep(std::uint64_t microseconds) {
    skippedSeconds += static_cast<double>(microseconds) / 1e6;
    return 0;
}

bool lacksCalls = false; // of a recording that has ended

} // namespace

BoardAccess::BoardAccess(const BoardOptions& options, unsigned defaultBoard)
    : installation(options.root), libraries(installation, reachOf(options)),
      simulator(simulatorOf(libraries)), virtualTime(options.virtualTime && options.recording.empty()),
      server(simulator && !options.isServer ? simulator->server() : ""), hasFaults(!options.faults.empty()) {
    if (!options.record.empty() && !options.recording.empty())
        throw UsageFailure(
            "--record is for a board, and a recording answers instead of one; leave one of both out");
    if (!options.recording.empty()) {
        playback.emplace(options.recording, options.playback);
        if (!options.playback.isRealTime) letSleepsAdvance(skipSleep);
    }
    if (!server.empty()) {
        notice("using the simulated boards of " + serverText(server));
        watch_.emplace(*simulator);
    }
    if (!options.wires.empty()) requireSimulator("--wire");
    if (virtualTime) requireSimulator("--time virtual");
    if (hasFaults) requireSimulator("--faults");
    if (simulator) useSimulator(options, defaultBoard);
    if (!options.record.empty())
        recorder_ =
            std::make_unique<Recorder>(options.record, libraries.entries(), header(), options.recordName);
}

BoardAccess::~BoardAccess() {
    endRecording();
    if (!playback) return;
    letSleepsAdvance(nullptr);
    letClockTell(nullptr, nullptr);
}

void BoardAccess::endRecording() {
    if (!recorder_) return;
    const auto lack = recorder_->finish();
    recorder_.reset();
    if (lack.empty()) return;
    notice(lack);
    lacksCalls = true;
}

bool BoardAccess::hasIncompleteRecording() noexcept {
    return lacksCalls;
}

void BoardAccess::useSimulator(const BoardOptions& options, unsigned defaultBoard) const {
    simulator->useClock(!virtualTime ? OrvoSimRealTime : hasFaults ? OrvoSimDrivenTime : OrvoSimVirtualTime);
    if (hasFaults) simulator->loadFaults(options.faults, options.seed); // before the wires, which pass them
    for (const auto& option : options.wires) simulator->setWire(option.address(defaultBoard), option.wire);
}

void BoardAccess::requireSimulator(const std::string& option) const {
    if (simulator) return;
    if (playback)
        throw UsageFailure(option +
                           " needs a simulated board, and a recording answers instead of a board; leave the "
                           "option out");
    throw Failure(option + " needs a simulated board, and the one of " +
                  quoted(installation.root().string()) + " is real; leave the option out");
}

nlohmann::json BoardAccess::header() const {
    auto header = recordingHeader("orvo-gige " ORVO_VERSION, installation.root().string());
    header["simulated"] = simulator.has_value();
    header["farEnds"] = nlohmann::json::object();
    if (!simulator) return header;
    for (unsigned board = 0; board < Board::indexLimit; ++board)
        for (unsigned port = 0; simulator->state({board, port}); ++port)
            if (const auto end = simulator->farEnd({board, port}))
                header["farEnds"][PortAddress{board, port}.text()] = end->text();
    return header;
}

void BoardAccess::bind(Plugin& plugin) const {
    if (const auto* const entries = libraries.pluginEntries()) plugin.setEntries(*entries);
    if (playback && !playback->isRealTime()) letClockTell(Playback::clock, plugin.address());
}

std::optional<PortAddress> BoardAccess::farEnd(PortAddress port) const {
    if (simulator) return simulator->farEnd(port);
    if (!playback) return std::nullopt;
    const auto ends = playback->header().value("farEnds", nlohmann::json::object());
    return ends.is_object() && ends.contains(port.text()) && ends[port.text()].is_string()
               ? PortAddress::parse(ends[port.text()].get<std::string>())
               : std::nullopt;
}

void BoardAccess::requirePort(PortAddress port) const {
    if (playback && !isOfThisProgram(playback->header())) return; // the other host asked no such questions
    const auto board = Board::at(libraries, port.board);
    const auto name = "board " + std::to_string(port.board);
    const auto advice = "; 'orvo-gige boards' lists boards and ports";
    if (!board) throw Failure("there is no " + name + ", or another program holds it" + advice);
    const auto ports = board->gigePorts();
    if (ports == 0) throw Failure(name + " has no GigE ports, it is for another kind of camera" + advice);
    if (port.port >= ports)
        throw Failure("there is no port " + std::to_string(port.port) + " on " + name +
                      ", whose ports are 0 to " + std::to_string(ports - 1) + advice);
}

double BoardAccess::seconds() const {
    // Calls that were recorded in virtual time have taken none themselves.
    if (playback) return std::max(Playback::seconds(), skippedSeconds);
    if (virtualTime) return simulator->seconds();
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace orvo::host
