// Building and sending of a message that passed its level.
#include "logging/LogLine.h"

#include <pthread.h>

namespace orvo::tools::logging {

void LogLine::begin(Logger* logger, LogLevel level) {
    message_.reset(new Message{logger, level, {}});
    *this << "thread-id=" << static_cast<unsigned long>(pthread_self()) << "|";
}

LogLine& LogLine::operator<<(std::string_view text) {
    message_->text.append(text);
    return *this;
}

void LogLine::send() noexcept {
    message_->logger->log(static_cast<std::uint32_t>(message_->level), message_->text.c_str(), 0, 0);
}

} // namespace orvo::tools::logging
