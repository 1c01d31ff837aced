// SPDX-License-Identifier: MIT
// A subscription to everything.
#include "inspect/report/RunLog.h"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace orvo::host {
namespace {

constexpr std::uint32_t detailLevel = 2;
constexpr std::array names = {"detail", "information", "warning", "error"};

} // namespace

std::string textOf(const LoggedMessage& message) {
    const auto place = message.level - detailLevel;
    return fmt::format("{:9.3f} s  {:<11}  {}", message.seconds,
                       place < names.size() ? names[place] : std::to_string(message.level), message.text);
}

RunLog::RunLog(const PluginLog& log) : log_(log), subscription_(log.subscribe(detailLevel, keep, this)) {}

RunLog::~RunLog() {
    log_.unsubscribe(subscription_);
}

std::vector<LoggedMessage> RunLog::take() {
    log_.unsubscribe(std::exchange(subscription_, 0));
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

} // namespace orvo::host
