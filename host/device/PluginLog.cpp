// SPDX-License-Identifier: MIT
#include "device/PluginLog.h"

#include "base/DynamicLibrary.h"

#include <fmt/format.h>

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

LogSubscription::LogSubscription(const PluginLog& log, LogLevel level, OrvoLogCallback callback,
                                 void* context)
    : log_(log), id_(log.subscribe_ ? log.subscribe_(interfaceLogger, level, callback, context) : 0) {}

void LogSubscription::end() {
    if (const auto id = std::exchange(id_, 0)) log_.unsubscribe_(id);
}

LogCollector::LogCollector(const PluginLog& log, LogLevel level)
    : level_(level), subscription_(log, level, collect, this) {}

LogCollector::~LogCollector() {
    subscription_.end();
    for (const auto& message : messages_) std::fprintf(stderr, "%s\n", message.c_str());
}

int LogCollector::collect(void* context, const char*, std::uint32_t level, const char* message) {
    auto& self = *static_cast<LogCollector*>(context);
    if (level != self.level_) return 0;
    self.messages_.emplace_back(message);
    return 1;
}

std::vector<std::string> LogCollector::take(const std::string& interfaceId) {
    subscription_.end();
    std::vector<std::string> taken;
    std::erase_if(messages_, [&](const std::string& message) {
        const auto text = textAbout(interfaceId, message);
        if (text) taken.emplace_back(*text);
        return text.has_value();
    });
    return taken;
}

std::vector<std::string> LogCollector::takeAll() {
    subscription_.end();
    return std::exchange(messages_, {});
}

std::string messageText(const LoggedMessage& message) {
    constexpr std::array names = {"detail", "information", "warning", "error"};
    const auto place = message.level - DetailLevel;
    return fmt::format("{:9.3f} s  {:<11}  {}", message.seconds,
                       place < names.size() ? names[place] : std::to_string(message.level), message.text);
}

RunLog::RunLog(const PluginLog& log) : subscription_(log, DetailLevel, keep, this) {}

std::vector<LoggedMessage> RunLog::take() {
    subscription_.end();
    return std::exchange(messages_, {});
}

int RunLog::keep(void* context, const char*, std::uint32_t level, const char* message) {
    auto& self = *static_cast<RunLog*>(context);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - self.begin_;
    std::string text(message);
    text.erase(text.find_last_not_of("\n ") + 1);
    self.messages_.push_back({passed.count(), level, std::move(text)});
    return 0;
}

MessageCounter::MessageCounter(const PluginLog& log, const std::vector<PortAddress>& ports)
    : ports_(ports.begin(), ports.end()), subscription_(log, InformationLevel, take, this) {}

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
