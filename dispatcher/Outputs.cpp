// SPDX-License-Identifier: MIT
#include "Outputs.h"

#include <orvo/tools/logging/LogLevel.h>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <atomic>
#include <cstdio>
#include <filesystem>

namespace orvo::dispatcher {
namespace {

spdlog::level::level_enum spdlogLevel(std::uint32_t level) {
    using enum tools::logging::LogLevel;
    const auto known = static_cast<tools::logging::LogLevel>(level);
    switch (known) {
    case Detail:
        return spdlog::level::debug;
    case Information:
        return spdlog::level::info;
    case Warning:
        return spdlog::level::warn;
    case Error:
        return spdlog::level::err;
    }
    return known < Detail ? spdlog::level::trace : spdlog::level::critical;
}

// Reports once per process: a full disk would otherwise be reported with every line.
void reportFileFailure(const std::string& reason) {
    static std::atomic<bool> reported{false};
    if (reported.exchange(true)) return;
    std::fprintf(stderr, "orvo log: log lines are being lost: %s; free space or name another ORVO_LOG_FILE\n",
                 reason.c_str());
}

std::unique_ptr<spdlog::logger> loggerTo(const std::string& name, spdlog::sink_ptr sink) {
    auto logger = std::make_unique<spdlog::logger>(name, std::move(sink));
    logger->set_level(spdlog::level::trace); // the dispatcher has compared the thresholds
    logger->flush_on(spdlog::level::trace);  // lines are rare, and the last ones before a crash matter most
    logger->set_error_handler(reportFileFailure);
    return logger;
}

/// Whether writing could wait for a reader, as with a pipe; every thread that logs would then wait.
bool canWait(const std::string& path) {
    std::error_code absent;
    const auto kind = std::filesystem::status(path, absent).type();
    return kind == std::filesystem::file_type::fifo || kind == std::filesystem::file_type::socket;
}

spdlog::sink_ptr openFile(const std::string& path) {
    if (path.empty()) return nullptr;
    try {
        if (canWait(path))
            throw spdlog::spdlog_ex("Failed opening file " + path + " for writing: it is a pipe");
        return std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
    } catch (const spdlog::spdlog_ex& error) {
        std::fprintf(stderr,
                     "orvo log: environment variable ORVO_LOG_FILE: %s; name a file that can be written "
                     "(going on without a log file)\n",
                     error.what());
        return nullptr;
    }
}

} // namespace

Lines::Lines(const std::string& loggerName, spdlog::sink_ptr console, spdlog::sink_ptr file)
    : console_(loggerTo(loggerName, std::move(console))),
      file_(file ? loggerTo(loggerName, std::move(file)) : nullptr) {}

void Lines::write(std::uint32_t level, std::string_view message, bool toConsole) const {
    if (message.ends_with('\n')) message.remove_suffix(1);
    if (toConsole) console_->log(spdlogLevel(level), spdlog::string_view_t(message.data(), message.size()));
    if (file_) file_->log(spdlogLevel(level), spdlog::string_view_t(message.data(), message.size()));
}

Outputs::Outputs(const std::string& logFile)
    : console_(std::make_shared<spdlog::sinks::stderr_color_sink_mt>()), file_(openFile(logFile)) {
    constexpr auto pattern = "%Y-%m-%d %H:%M:%S.%e %^%-8l%$ %n: %v";
    console_->set_pattern(pattern);
    if (file_) file_->set_pattern(pattern);
}

std::unique_ptr<Lines> Outputs::linesOf(const std::string& loggerName) const {
    return std::make_unique<Lines>(loggerName, console_, file_);
}

} // namespace orvo::dispatcher
