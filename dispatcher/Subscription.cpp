// SPDX-License-Identifier: MIT
#include "Subscription.h"

namespace orvo::dispatcher {

Subscription::Subscription(const char* loggerName, std::uint32_t level, OrvoLogCallback callback,
                           void* context)
    : loggerName_(loggerName ? std::optional<std::string>(loggerName) : std::nullopt), level_(level),
      callback_(callback), context_(context) {}

bool Subscription::covers(const std::string& loggerName) const {
    return !loggerName_ || *loggerName_ == loggerName;
}

bool Subscription::deliver(const std::string& loggerName, std::uint32_t level, const char* message) {
    if (level < level_ || !covers(loggerName)) return false;
    const std::lock_guard lock(running_);
    if (ended_) return false;
    return callback_(context_, loggerName.c_str(), level, message) != 0;
}

void Subscription::awaitCallback() {
    const std::lock_guard lock(running_);
}

} // namespace orvo::dispatcher
