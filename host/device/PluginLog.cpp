// SPDX-License-Identifier: MIT
#include "device/PluginLog.h"

#include "base/DynamicLibrary.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace orvo::host {
namespace {

constexpr auto interfaceLogger = "orvo.core.zume.OrvoGbePhysicalNetworkInterface";

} // namespace

PluginLog::PluginLog(const Installation& installation) {
    const auto path = installation.library("common-logging-dispatcher");
    if (!std::filesystem::exists(path)) return;
    const DynamicLibrary dispatcher(path);
    // Without this symbol, the plug-in would silently have no log.
    static_cast<void>(dispatcher.require<const void>("logging_dispatcher_descriptor"));
    subscribe_ = dispatcher.find<decltype(::orvoLogSubscribe)>("orvoLogSubscribe");
    unsubscribe_ = dispatcher.find<decltype(::orvoLogUnsubscribe)>("orvoLogUnsubscribe");
    if (!unsubscribe_) subscribe_ = nullptr;
}

std::uint64_t PluginLog::subscribe(std::uint32_t level, OrvoLogCallback callback, void* context) const {
    return subscribe_ ? subscribe_(interfaceLogger, level, callback, context) : 0;
}

void PluginLog::unsubscribe(std::uint64_t subscription) const {
    if (subscription != 0) unsubscribe_(subscription);
}

LogCollector::LogCollector(const PluginLog& log, LogLevel level)
    : log_(log), level_(level), subscription_(log.subscribe(level, collect, this)) {}

LogCollector::~LogCollector() {
    end();
    for (const auto& message : messages_) std::fprintf(stderr, "%s\n", message.c_str());
}

void LogCollector::end() {
    log_.unsubscribe(subscription_);
    subscription_ = 0;
}

int LogCollector::collect(void* context, const char*, std::uint32_t level, const char* message) {
    auto& self = *static_cast<LogCollector*>(context);
    if (level != self.level_) return 0;
    self.messages_.emplace_back(message);
    return 1;
}

std::vector<std::string> LogCollector::take(const std::string& interfaceId) {
    end();
    std::vector<std::string> taken;
    std::erase_if(messages_, [&](const std::string& message) {
        const auto text = textAbout(interfaceId, message);
        if (text) taken.emplace_back(*text);
        return text.has_value();
    });
    return taken;
}

std::vector<std::string> LogCollector::takeAll() {
    end();
    return std::exchange(messages_, {});
}

MessageCounter::MessageCounter(const PluginLog& log, const std::vector<PortAddress>& ports) : log_(log) {
    for (const auto port : ports) ports_.emplace_back().address = port;
    subscription_ = log.subscribe(InformationLevel, take, this);
}

MessageCounter::~MessageCounter() {
    log_.unsubscribe(subscription_);
}

std::uint64_t MessageCounter::count(PortAddress port, CountedMessage message) const {
    const auto found = std::ranges::find(ports_, port, &Port::address);
    return found != ports_.end() ? found->counts[static_cast<std::size_t>(message)].load() : 0;
}

int MessageCounter::take(void* context, const char*, std::uint32_t, const char* message) {
    for (auto& port : static_cast<MessageCounter*>(context)->ports_)
        if (const auto counted = countedMessage(port.address, message)) {
            ++port.counts[static_cast<std::size_t>(*counted)];
            return isCausedByFaultsOnly(*counted) ? 1 : 0;
        }
    return 0;
}

} // namespace orvo::host
