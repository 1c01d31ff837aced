// SPDX-License-Identifier: MIT
// Making of the process's boards, and the one report of a bad configuration file.
#include "process/Process.h"

#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace orvo::sim {

namespace {

struct Process {
    std::unique_ptr<Simulation> simulation;
    std::string error;
};

const char anchor = 0; // an address inside this library

std::string refusal; // this and the next are set before the process is made
bool isShared = false;

/// From the file that ORVO_SIMULATOR_CONFIG names, else from "simulator.toml" in the directory above that of
/// this library, if it is there.
Configuration loadUsualConfiguration() {
    const char* const named = std::getenv("ORVO_SIMULATOR_CONFIG");
    if (named && *named) return loadConfiguration(named);
    const auto usual = installationRoot() / "simulator.toml";
    std::error_code unreadable; // then reading the file says why
    const bool absent =
        std::filesystem::status(usual, unreadable).type() == std::filesystem::file_type::not_found;
    return absent ? defaultConfiguration() : loadConfiguration(usual);
}

Process& process();

/// The threads of wires end with the process, and frames that they have not sent yet would too. A FIFO of
/// full frames takes 0.3 s at 10 Mbit/s.
void settleWires() {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds{500};
    const std::unique_lock lock(benchMutex, std::try_to_lock); // who holds it now may never release it
    if (!lock) return;
    for (const auto& board : process().simulation->boards())
        for (const Port& port : board->ports())
            port.settleWire(std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()));
}

Process* makeProcess() {
    auto process = std::make_unique<Process>();
    try {
        if (!refusal.empty()) throw std::runtime_error(refusal);
        process->simulation = std::make_unique<Simulation>(loadUsualConfiguration(), isShared);
    } catch (const std::runtime_error& error) { // of the configuration, or the refusal
        process->error = error.what();
        process->simulation = std::make_unique<Simulation>(Configuration{});
    }
    std::atexit(settleWires); // fails without memory only
    return process.release();
}

Process& process() {
    static Process* const made = makeProcess();
    return *made;
}

constinit std::atomic<bool> isReported{false};

} // namespace

std::filesystem::path installationRoot() {
    Dl_info library{};
    if (dladdr(&anchor, &library) == 0 || !library.dli_fname) return {};
    std::error_code failed; // then the name is used as it is
    const auto file = std::filesystem::canonical(library.dli_fname, failed);
    return (failed ? std::filesystem::path(library.dli_fname) : file).parent_path().parent_path();
}

void refuseOwnBoards(std::string reason) {
    refusal = std::move(reason);
}

void shareOwnBoards() {
    isShared = true;
}

Simulation& simulation() {
    return *process().simulation;
}

const std::string& configurationError() {
    return process().error;
}

void reportConfigurationError() {
    const std::string& error = configurationError();
    if (error.empty() || isReported.exchange(true)) return;
    std::fprintf(stderr, "simulated board: no board appears: %s\n", error.c_str());
}

const char* takeConfigurationError() {
    const std::string& error = configurationError();
    if (error.empty()) return nullptr;
    isReported.store(true);
    return error.c_str();
}

Board* refuseHandle(HandleBits handle) noexcept {
    Board* const board = placeOf(handle).board.load(std::memory_order_acquire);
    if (board && DeviceHandles::wasOpen(handle)) board->countStaleAccess();
    return nullptr;
}

} // namespace orvo::sim
