// SPDX-License-Identifier: MIT
// What the plug-in logged, as the recording dispatcher of the unit tests' installation root took it.
#pragma once

#include <orvo/Export.h>
#include <orvo/tools/logging/Dispatcher.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvo::test {

struct LogRecord {
    std::string logger;
    std::uint32_t level;
    std::string text;
    std::uint64_t handle; // with which the logger logged, and the two arguments that go with a message
    std::uint32_t a;
    std::uint64_t b;
};

/// Everything logged since the last call.
ORVO_EXPORT std::vector<LogRecord> takeRecords();

/// The same, each as level and text without the thread prefix: "4 PHY Id 'gige': Packet is too large ...". A
/// message that lacks a thread prefix is returned whole.
ORVO_EXPORT std::vector<std::string> takeMessages();

/// Threshold of every logger, from now on and for those that exist; 2 at start.
ORVO_EXPORT void setThreshold(std::uint32_t threshold);

/// What the facility handed over when it attached last, and how often it attached and detached.
struct Attachment {
    tools::logging::Logging* facility = nullptr;
    tools::logging::DispatcherDetached detached = nullptr;
    tools::logging::SetLoggerLevel setLevel = nullptr;
    int attachCount = 0;
    int detachCount = 0;
};
ORVO_EXPORT Attachment attachment();

/// What the dispatcher does from within each attach from now on, on the attaching thread; empty: nothing.
ORVO_EXPORT void onAttach(std::function<void(const Attachment&)> action);

/// What the dispatcher does in each look-up from now on, on the calling thread, with its answer: handle and
/// threshold, which it may change; empty: nothing.
ORVO_EXPORT void onLookup(std::function<void(std::uint64_t&, std::uint32_t&)> action);

/// What the dispatcher does with each message from now on, after it is recorded, on the logging thread;
/// empty: nothing.
ORVO_EXPORT void onEmit(std::function<void()> action);

/// Forgets all names and their handles.
ORVO_EXPORT void forgetHandles();

/// Two names that share this handle from now on.
ORVO_EXPORT void shareHandle(const std::string& name, const std::string& otherName);

} // namespace orvo::test
