// SPDX-License-Identifier: MIT
// What the plug-in says during a run, to be kept.
#pragma once

#include "device/PluginLog.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

struct LoggedMessage {
    double seconds; ///< since the log began
    std::uint32_t level;
    std::string text;
};

/// "   1.234 s  warning  TEXT"
std::string textOf(const LoggedMessage& message);

/// While it lives, keeps every message of the interfaces; they go on to the console as ever.
class RunLog {
public:
    explicit RunLog(const PluginLog& log);
    ~RunLog();
    RunLog(const RunLog&) = delete;
    RunLog& operator=(const RunLog&) = delete;

    /// Ends the keeping.
    std::vector<LoggedMessage> take();

private:
    static int keep(void* context, const char* loggerName, std::uint32_t level, const char* message);

    const PluginLog& log_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::vector<LoggedMessage> messages_; // written in the callback; read once the subscription has ended
    std::uint64_t subscription_;
};

} // namespace orvo::host
