// SPDX-License-Identifier: MIT
#include "logging/LogLine.h"

#include <pthread.h>

#include <new>

namespace orvo::tools::logging {
namespace {

// This model reserves the pointer when the thread is made. The usual one allocates it on first use, and the
// process ends where there is no memory for it.
[[gnu::tls_model("initial-exec")]] constinit thread_local HeldLines* innermost = nullptr;

} // namespace

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

void LogLine::deliver(std::unique_ptr<Message> message) noexcept {
    if (auto* const holder = innermost) {
        *holder->end_ = std::move(message);
        holder->end_ = &(*holder->end_)->next;
    } else {
        message->logger->log(static_cast<std::uint32_t>(message->level), message->text.c_str(), 0, 0);
    }
}

HeldLines::HeldLines() noexcept : outer_(std::exchange(innermost, this)) {}

HeldLines::~HeldLines() {
    innermost = outer_;
    while (auto message = std::move(first_)) {
        first_ = std::move(message->next);
        LogLine::deliver(std::move(message));
    }
}

} // namespace orvo::tools::logging
