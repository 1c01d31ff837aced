// SPDX-License-Identifier: MIT
#include "device/Port.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/Phy.h"
#include "device/PluginMessages.h"

#include <algorithm>
#include <cstdio>

namespace orvo::host {
namespace {

/// ": FIRST, SECOND", or nothing.
std::string joined(const std::vector<std::string>& causes) {
    std::string text;
    for (const auto& line : causes) text += (text.empty() ? ": " : ", ") + line;
    return text;
}

/// While it lives, keeps the plug-in's warning from the console that frames wait in the port's queue: that is
/// normal where the far end sends already, and the opening drops them. An overflow is printed.
class FilledQueueWarning {
public:
    explicit FilledQueueWarning(const PluginLog& log) : subscription_(log, WarningLevel, collect, this) {}
    ~FilledQueueWarning() {
        subscription_.end();
        if (overflowed_)
            for (const auto& line : lines_) std::fprintf(stderr, "%s\n", line.c_str());
    }
    FilledQueueWarning(const FilledQueueWarning&) = delete;
    FilledQueueWarning& operator=(const FilledQueueWarning&) = delete;

private:
    static int collect(void* context, const char*, std::uint32_t level, const char* message) {
        auto& self = *static_cast<FilledQueueWarning*>(context);
        if (level != WarningLevel || !isFilledQueueWarning(message)) return 0;
        self.overflowed_ = self.overflowed_ || reportsOverflow(message);
        self.lines_.emplace_back(message);
        return 1;
    }

    std::vector<std::string> lines_; // written by the callback; read after the subscription's end
    bool overflowed_ = false;        // likewise
    LogSubscription subscription_;   // last: the callback uses the others
};

std::string progressText() {
    return endRequested() == 0 ? "preparing the ports (resetting a board takes about 5 s)"
                               : "ending as soon as the board's reset is over";
}

} // namespace

Port::Port(Plugin& plugin, const PluginLog& log, PortAddress address, bool resetBoard)
    : log_(log), address_(address), interface_(plugin.createInterface()) {
    interface_->injectDependency("id", address.text());
    interface_->injectDependency("boardId", static_cast<int>(address.board));
    interface_->injectDependency("portId", static_cast<int>(address.port));
    interface_->injectDependency("resetBoard", std::string(resetBoard ? "true" : "false"));
    interface_->postInjection();
}

Port::~Port() {
    if (!running_) return;
    stop();
    interface_->waitForTermination();
}

void Port::open() {
    const SignalShield noShortSleeps;
    LogCollector errors(log_, ErrorLevel);
    const FilledQueueWarning frames(log_);
    if (!interface_->setup()) fail(errors.take(address_.text()));
    interface_->start();
    running_ = true;
}

void Port::fail(const std::vector<std::string>& causes) const {
    auto cause = joined(causes);
    if (cause.empty() && !log_.available())
        cause = ", and this installation's log dispatcher does not provide the reason";
    throw Failure("port " + address_.text() + " cannot be opened" + cause + "; " + openingAdvice(cause));
}

std::optional<std::string> Port::reinitialize(core::zume::ReinitializationPhase phase) {
    const SignalShield noShortSleeps;
    LogCollector errors(log_, ErrorLevel);
    Playback::letOthersCatchUp();
    if (interface_->reinitialize(phase)) return std::nullopt;
    return joined(errors.take(address_.text()));
}

void Port::releaseDevice() {
    if (const auto cause = reinitialize(core::zume::ReleaseDevice))
        throw Failure("the device of port " + address_.text() + " was not released" + *cause +
                      "; try again once no operation of the port is running");
}

std::optional<std::string> Port::reopenDevice() {
    const auto cause = reinitialize(core::zume::ReopenDevice);
    if (!cause) return std::nullopt;
    return "the device of port " + address_.text() + " cannot be opened again" + *cause +
           "; trying again every second until Ctrl-C";
}

void Port::stop() {
    Playback::letOthersCatchUp(); // with what they read before the stop
    interface_->stop();
}

PortStatistics Port::finish() {
    stop();
    running_ = false;
    LogCollector statistics(log_, InformationLevel);
    interface_->waitForTermination();
    return {address_, statistics.take(address_.text())};
}

Ports::Ports(const BoardAccess& access, const std::vector<PortAddress>& addresses, bool resetBoards)
    : access_(access), log_(access.installation), plugin_(access.installation) {
    access.bind(plugin_);
    for (const auto address : addresses) access.requirePort(address); // all of them before a board is reset
    for (auto i = addresses.begin(); i != addresses.end(); ++i)
        if (std::find(addresses.begin(), i, *i) == i) ports_.emplace_back(plugin_, log_, *i, resetBoards);
}

Port& Ports::at(PortAddress address) {
    return *std::find_if(ports_.begin(), ports_.end(),
                         [&](const Port& port) { return port.address() == address; });
}

void Ports::openAll() {
    for (auto& port : ports_) {
        port.open();
        throwIfEndRequested();
    }
}

void Ports::open() {
    const Progress progress(progressText);
    openAll();
    for (const auto& port : ports_) waitForLink(access_, port.address());
}

void Ports::openLive() {
    const Progress progress(progressText);
    try {
        openAll();
        for (const auto& port : ports_)
            if (!tryWaitForLink(access_, port.address()))
                notice("port " + port.address().text() + " has no link yet; check the cable and the far end");
    } catch (const Interruption&) { // the traffic that follows sees the signal and ends at once
    }
}

void Ports::stop() {
    for (auto& port : ports_) port.stop();
}

std::vector<PortStatistics> Ports::finish() {
    std::vector<PortStatistics> statistics;
    for (auto& port : ports_) statistics.push_back(port.finish());
    return statistics;
}

} // namespace orvo::host
