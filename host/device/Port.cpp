// SPDX-License-Identifier: MIT
// The life of an interface object.
#include "device/Port.h"

#include "base/Failure.h"
#include "base/Signals.h"
#include "device/OpeningAdvice.h"

namespace orvo::host {
namespace {

constexpr std::uint32_t informationLevel = 3;
constexpr std::uint32_t errorLevel = 5;

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
    interface_->stop();
    interface_->waitForTermination();
}

void Port::open() {
    const SignalShield noShortSleeps;
    LogCollector errors(log_, errorLevel);
    if (!interface_->setup()) fail(errors.take(address_.text()));
    interface_->start();
    running_ = true;
}

void Port::fail(const std::vector<std::string>& causes) const {
    std::string cause;
    for (const auto& line : causes) cause += (cause.empty() ? ": " : ", ") + line;
    if (cause.empty() && !log_.available())
        cause = ", and the installation's log dispatcher does not tell why";
    throw Failure("port " + address_.text() + " cannot be opened" + cause + "; " + openingAdvice(cause));
}

std::vector<std::string> Port::finish() {
    interface_->stop();
    running_ = false;
    LogCollector statistics(log_, informationLevel);
    interface_->waitForTermination();
    return statistics.take(address_.text());
}

} // namespace orvo::host
