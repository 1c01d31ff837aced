// SPDX-License-Identifier: MIT
#include "logging/LogLine.h"

#include <pthread.h>

#include <new>

namespace orvo::tools::logging {

void LogLine::begin(Logger* logger, LogLevel level) noexcept {
    message_.reset(new (std::nothrow) Message{logger, level, {}});
    *this << "thread-id=" << static_cast<unsigned long>(pthread_self()) << "|";
}

LogLine& LogLine::operator<<(std::string_view text) noexcept {
    if (!message_) return *this; // there was no memory for it
    try {
        message_->text.append(text);
    } catch (const std::bad_alloc&) {
        message_.reset();
    }
    return *this;
}

void LogLine::send() noexcept {
    message_->logger->log(static_cast<std::uint32_t>(message_->level), message_->text.c_str(), 0, 0);
}

} // namespace orvo::tools::logging
