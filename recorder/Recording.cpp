// SPDX-License-Identifier: MIT
#include "Recording.h"

#include "LoadedPlugin.h"

#include "base/Failure.h"
#include "device/recording/CallBits.h"
#include "device/recording/Recorder.h"
#include "device/recording/RecordingHeader.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>

namespace orvo::recorder {
namespace {

using host::Failure;
using host::quoted;

/// Everything under `lock`, which is recursive: the board's libraries may fork while they are opened.
struct State {
    std::recursive_mutex lock;
    std::string awaitedFile;      // of a recording that the plug-in's first call begins; empty: none
    std::string plugin;           // its path
    host::EntryTable originals{}; // of the recording
    std::unique_ptr<host::Recorder> recorder;
};

std::atomic<bool> expects{false}; // as of `expectsPlugin`

void beforeFork();
void afterForkInParent();
void afterForkInChild();

/// Never destroyed: the host may call the board until the very end.
State& state() {
    static State& only = []() -> State& {
        pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
        return *new State;
    }();
    return only;
}

void beforeFork() {
    state().lock.lock();
}

void afterForkInParent() {
    state().lock.unlock();
}

/// The recording and its thread are the parent's. What has yet to begin may begin in the child as well.
void afterForkInChild() {
    auto& own = state();
    new (&own.lock) std::recursive_mutex; // the owner was a thread of the parent's
    if (!own.recorder) return;
    own.recorder.release()->leaveToParent();
    own.awaitedFile.clear();
    expects = false;
}

/// The libraries' entries, null where one has none or cannot be opened. A host may have put others in their
/// place.
host::EntryTable boundEntries(LoadedPlugin& plugin) {
    auto& variables = plugin.variables();
    if (!variables.areBound() || variables.read() == host::recordingEntries) plugin.bind();
    auto table = variables.read();
    for (std::size_t i = 0; i < host::entryCount; ++i)
        if (table[i] == host::recordingEntries[i]) table[i] = nullptr;
    return table;
}

/// Errors: std::exception; calls are passed on unrecorded then.
void begin(State& own, LoadedPlugin& plugin, const std::string& file) {
    own.originals = boundEntries(plugin);
    host::setOriginals(own.originals);
    plugin.variables().write(own.originals);
    if (!plugin.variables().areBound())
        throw Failure("the board's libraries below " + quoted(plugin.root()) +
                      " cannot be opened; repair the installation");
    own.recorder = std::make_unique<host::Recorder>(
        file, own.originals, host::recordingHeader("orvo-recorder " ORVO_VERSION, plugin.root()));
    own.plugin = plugin.path();
    plugin.variables().write(host::recordingEntries);
    expects = true;
}

/// For the plug-in's first call. Whether calls go somewhere now.
bool beginAwaited() noexcept {
    auto& own = state();
    const std::lock_guard guard(own.lock);
    if (own.awaitedFile.empty()) return true;
    try {
        auto plugin = LoadedPlugin::find(own.plugin.c_str());
        if (!plugin) return false;
        begin(own, *plugin, std::exchange(own.awaitedFile, ""));
    } catch (const std::exception& error) {
        tell(std::string(error.what()) + "; nothing is recorded");
        expects = false;
    }
    return true;
}

/// In place of an entry until the plug-in has opened the board's libraries, which it does at its first call.
template <host::Entry entry, class Function> struct FirstCall;
template <host::Entry entry, class Result, class... Types> struct FirstCall<entry, Result (*)(Types...)> {
    static Result call(Types... arguments) {
        if (!beginAwaited()) return host::fromBits<Result>(host::rowOf(entry).unbound);
        auto* const recording = host::recordingEntries[static_cast<std::size_t>(entry)];
        return reinterpret_cast<Result (*)(Types...)>(recording)(arguments...);
    }
};

} // namespace

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&FirstCall<host::Entry::name, decltype(&::name)>::call),
static const host::EntryTable firstCalls = {{
#include <hal/OrvoHalEntries.def>
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&FirstCall<host::Entry::name, decltype(&::name)>::call),
#include <hal/KivRuntimeEntries.def>
}};

namespace {

void record(State& own, LoadedPlugin& plugin) {
    auto& variables = plugin.variables();
    if (variables.read() == host::recordingEntries) return; // opened once more
    if (own.recorder) {
        if (own.plugin == plugin.path())
            variables.write(host::recordingEntries); // loaded anew
        else
            tell("a second plug-in, " + quoted(plugin.path()) + ", is not recorded");
        return;
    }
    if (own.awaitedFile.empty()) return;
    if (variables.areBound()) return begin(own, plugin, std::exchange(own.awaitedFile, ""));
    own.plugin = plugin.path();
    host::setOriginals(firstCalls);
    variables.write(host::recordingEntries);
}

} // namespace

void tell(const std::string& text) noexcept {
    std::fprintf(stderr, "orvo-recorder: %s\n", host::oneLine(text).c_str());
}

void awaitPlugin(std::string file) noexcept {
    auto& own = state();
    const std::lock_guard guard(own.lock);
    own.awaitedFile = std::move(file);
    expects = true;
}

bool expectsPlugin() noexcept {
    return expects.load(std::memory_order_relaxed);
}

/// The loader is asked before the lock is taken: it has one of its own, which a thread holds that comes here
/// from the initialiser of a library, while another may be here on behalf of the plug-in.
void noteOpened(const char* path) noexcept {
    try {
        auto plugin = LoadedPlugin::find(path);
        if (!plugin) return;
        auto& own = state();
        const std::lock_guard guard(own.lock);
        record(own, *plugin);
    } catch (const std::exception& error) {
        tell(std::string(error.what()) + "; nothing is recorded");
    }
}

void start(const std::string& file, const char* path) {
    auto& own = state();
    const std::lock_guard guard(own.lock);
    if (own.recorder) throw Failure("this process is recorded already; stop that recording first");
    auto plugin = LoadedPlugin::find(path);
    if (!plugin)
        throw Failure(path ? quoted(path) + " is not loaded, or no GigE plug-in; load it first"
                           : std::string("no GigE plug-in is loaded; load it first"));
    own.awaitedFile.clear();
    begin(own, *plugin, file);
}

std::string stop() {
    auto& own = state();
    const std::lock_guard guard(own.lock);
    if (!own.recorder) throw Failure("this process is not recorded; start a recording first");
    expects = false;
    if (auto plugin = LoadedPlugin::find(own.plugin.c_str())) plugin->variables().write(own.originals);
    const auto recorder = std::move(own.recorder);
    return recorder->finish();
}

void end() noexcept {
    try {
        auto& own = state();
        const std::lock_guard guard(own.lock);
        if (!own.recorder) return;
        if (const auto lack = std::exchange(own.recorder, nullptr)->finish(); !lack.empty()) tell(lack);
    } catch (const std::exception& error) {
        tell(error.what());
    }
}

} // namespace orvo::recorder
