// SPDX-License-Identifier: MIT
// Subscriptions at the log dispatcher.
#include "device/PluginLog.h"

#include "base/DynamicLibrary.h"

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
    // Without it, the plug-in would do without a log, and without a word.
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

LogCollector::LogCollector(const PluginLog& log, std::uint32_t level)
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

std::optional<std::string_view> textAbout(std::string_view interfaceId, std::string_view message) {
    const auto prefix = "|PHY Id '" + std::string(interfaceId) + "': ";
    const auto found = message.find(prefix);
    if (found == std::string_view::npos) return std::nullopt;
    auto text = message.substr(found + prefix.size());
    while (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

} // namespace orvo::host
