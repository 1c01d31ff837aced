// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Relaxed.h"

#include <orvo/tools/logging/LogLevel.h>
#include <orvo/tools/logging/Logger.h>

#include <charconv>
#include <concepts>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace orvo::tools::logging {

/// A number to be written as lower-case hexadecimal with the prefix "0x"; zero is written "0".
template <std::unsigned_integral T> struct Hex { T value; };
template <class T> Hex(T) -> Hex<T>;

/// A log message that is built after the level check and sent when it goes out of scope.
///
/// A line whose level does not pass is false and holds nothing; test it before writing to it:
///     if (auto line = LogLine(logger, LogLevel::Warning)) line << "text" << number;
/// Every line begins with the thread prefix, "thread-id=" with the calling thread's id and "|".
/// Errors: without memory the message is lost; nothing is thrown, so that a failed report does not end the
/// work that it is about. Threads: one thread creates, fills and sends a line.
class LogLine {
public:
    /// No line without a logger.
    LogLine(Logger* logger, LogLevel level) noexcept {
        const auto number = static_cast<std::uint32_t>(level);
        if (logger && logger->passes(number) && logger->isEnabled(number)) begin(logger, level);
    }
    /// A line about one interface: "PHY Id '" and the interface's id follow the thread prefix.
    LogLine(Logger* logger, LogLevel level, const std::string& interfaceId) noexcept
        : LogLine(logger, level) {
        if (message_) *this << "PHY Id '" << interfaceId;
    }
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;
    ~LogLine() {
        if (message_) send();
    }

    explicit operator bool() const noexcept { return message_ != nullptr; }

    LogLine& operator<<(std::string_view text) noexcept;

    template <std::integral T> LogLine& operator<<(T number) noexcept {
        char digits[24];
        return *this << std::string_view(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }

    template <class T> LogLine& operator<<(const templates::platform::Relaxed<T>& number) noexcept {
        return *this << T(number);
    }

    template <class T> LogLine& operator<<(Hex<T> number) noexcept {
        if (number.value == 0) return *this << "0";
        char digits[24];
        const auto* end = std::to_chars(digits, digits + sizeof digits, number.value, 16).ptr;
        return *this << "0x" << std::string_view(digits, end);
    }

private:
    friend class HeldLines;

    struct Message {
        Logger* logger;
        LogLevel level;
        std::string text;
        std::unique_ptr<Message> next = nullptr; // of those that HeldLines keeps
    };

    void begin(Logger* logger, LogLevel level) noexcept;
    void send() noexcept { deliver(std::move(message_)); }
    static void deliver(std::unique_ptr<Message> message) noexcept;

    std::unique_ptr<Message> message_; // null unless the level passed, and when the message is lost
};

/// While it lives, keeps the lines that its thread completes; at its end it sends them in their order.
/// Declared before a lock, it lets nobody wait for that lock while a dispatcher is slow or calls back.
class HeldLines {
public:
    HeldLines() noexcept;
    HeldLines(const HeldLines&) = delete;
    HeldLines& operator=(const HeldLines&) = delete;
    ~HeldLines();

private:
    friend class LogLine;
    using Message = LogLine::Message;

    HeldLines* outer_; // that the thread had before, null for none
    std::unique_ptr<Message> first_;
    std::unique_ptr<Message>* end_ = &first_; // where the next one goes
};

} // namespace orvo::tools::logging
