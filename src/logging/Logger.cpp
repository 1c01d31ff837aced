// SPDX-License-Identifier: MIT
#include <orvo/tools/logging/Logger.h>

#include "logging/Logging.h"
#include "platform/RecursiveMutex.h"

#include <pthread.h>

#include <set>

namespace orvo::tools::logging {

using templates::platform::RecursiveMutex;
using templates::platform::RecursiveMutexGuard;

struct Logger::D {
    explicit D(std::uint64_t loggerHandle) : handle(loggerHandle) {}

    const std::uint64_t handle; // the dispatcher's; 0 for the root logger
    RecursiveMutex mutex;
    std::set<pthread_t> mutedThreads; // under `mutex`
};

Logger::Logger(std::uint64_t handle, std::uint32_t threshold)
    : threshold_(threshold), d_(std::make_unique<D>(handle)) {}

Logger::~Logger() = default;

bool Logger::isEnabled(std::uint32_t level) {
    if (!passes(level)) return false;
    const RecursiveMutexGuard guard(&d_->mutex);
    return !d_->mutedThreads.contains(pthread_self());
}

void Logger::log(std::uint32_t level, const char* message, std::uint32_t a, std::uint64_t b) {
    Logging::emit(d_->handle, level, message, a, b);
}

void Logger::setLevel(std::uint32_t threshold) {
    threshold_.store(threshold, std::memory_order_relaxed);
}

bool Logger::setThreadEnabled(bool enabled) {
    const RecursiveMutexGuard guard(&d_->mutex);
    const pthread_t self = pthread_self();
    const bool wasEnabled = !d_->mutedThreads.contains(self);
    if (enabled)
        d_->mutedThreads.erase(self);
    else
        d_->mutedThreads.insert(self);
    return wasEnabled;
}

} // namespace orvo::tools::logging
