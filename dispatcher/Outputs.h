// SPDX-License-Identifier: MIT
// Writes log lines to standard error, in colour on a terminal, and optionally to a file.
#pragma once

#include <spdlog/logger.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orvo::dispatcher {

/// Writes the lines of one logger: time, level, logger name, message. Any thread.
class Lines {
public:
    Lines(const std::string& loggerName, spdlog::sink_ptr console, spdlog::sink_ptr file);

    /// Adds a line feed unless `message` ends with one.
    void write(std::uint32_t level, std::string_view message, bool toConsole) const;

private:
    std::unique_ptr<spdlog::logger> console_;
    std::unique_ptr<spdlog::logger> file_; // null without a log file
};

/// The outputs that all loggers of a dispatcher share.
class Outputs {
public:
    /// Opens `logFile` for appending unless it is empty. If it cannot be opened, says so in one line on
    /// standard error and goes on without a log file.
    explicit Outputs(const std::string& logFile);

    std::unique_ptr<Lines> linesOf(const std::string& loggerName) const;

private:
    spdlog::sink_ptr console_;
    spdlog::sink_ptr file_; // null without a log file
};

} // namespace orvo::dispatcher
