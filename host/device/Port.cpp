// SPDX-License-Identifier: MIT
#include "device/Port.h"

#include "base/Failure.h"
#include "base/Signals.h"
#include "device/PluginMessages.h"

namespace orvo::host {

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
    LogCollector errors(log_, ErrorLevel);
    if (!interface_->setup()) fail(errors.take(address_.text()));
    interface_->start();
    running_ = true;
}

void Port::fail(const std::vector<std::string>& causes) const {
    std::string cause;
    for (const auto& line : causes) cause += (cause.empty() ? ": " : ", ") + line;
    if (cause.empty() && !log_.available())
        cause = ", and this installation's log dispatcher does not provide the reason";
    throw Failure("port " + address_.text() + " cannot be opened" + cause + "; " + openingAdvice(cause));
}

PortStatistics Port::finish() {
    interface_->stop();
    running_ = false;
    LogCollector statistics(log_, InformationLevel);
    interface_->waitForTermination();
    return {address_, statistics.take(address_.text())};
}

} // namespace orvo::host
