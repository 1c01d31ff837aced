// SPDX-License-Identifier: MIT
// A log dispatcher that keeps every message for the test program that is linked to it.
#include "support/RecordedLog.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <regex>
#include <utility>

namespace orvo::test {
namespace {

std::mutex lock; // of everything below
std::vector<LogRecord> records;
std::map<std::string, std::uint64_t> handles;
std::uint32_t currentThreshold = 2;
Attachment current;
std::function<void(const Attachment&)> attachAction;
std::function<void(std::uint64_t&, std::uint32_t&)> lookupAction;
std::function<void()> emitAction;

std::uint64_t handleOf(const std::string& name) {
    return handles.emplace(name, handles.size() + 1).first->second;
}

std::string nameOf(std::uint64_t handle) {
    const auto entry =
        std::find_if(handles.begin(), handles.end(), [&](auto& each) { return each.second == handle; });
    return entry == handles.end() ? "" : entry->first;
}

void lookup(const char* name, std::uint64_t* handle, std::uint32_t* threshold) {
    std::function<void(std::uint64_t&, std::uint32_t&)> action;
    {
        const std::lock_guard guard(lock);
        *handle = handleOf(name);
        *threshold = currentThreshold;
        action = lookupAction;
    }
    if (action) action(*handle, *threshold);
}

void emit(std::uint64_t handle, std::uint32_t level, const char* message, std::uint32_t a, std::uint64_t b) {
    std::function<void()> action;
    {
        const std::lock_guard guard(lock);
        records.push_back({nameOf(handle), level, message, handle, a, b});
        action = emitAction;
    }
    if (action) action();
}

void attach(tools::logging::Logging* facility, tools::logging::DispatcherDetached detached,
            tools::logging::SetLoggerLevel setLevel, tools::logging::LookupLogger* lookupSlot,
            tools::logging::EmitMessage* emitSlot) {
    std::function<void(const Attachment&)> action;
    const Attachment attachment{facility, detached, setLevel, current.attachCount + 1, current.detachCount};
    {
        const std::lock_guard guard(lock);
        current = attachment;
        action = attachAction;
    }
    *lookupSlot = lookup;
    *emitSlot = emit;
    if (action) action(attachment);
}

void detach(tools::logging::Logging*) {
    const std::lock_guard guard(lock);
    ++current.detachCount;
}

} // namespace

std::vector<LogRecord> takeRecords() {
    const std::lock_guard guard(lock);
    return std::exchange(records, {});
}

std::vector<std::string> takeMessages() {
    static const std::regex threadPrefix("^thread-id=[0-9]+\\|");
    std::vector<std::string> messages;
    for (const auto& record : takeRecords())
        messages.push_back(std::to_string(record.level) + " " +
                           std::regex_replace(record.text, threadPrefix, ""));
    return messages;
}

void setThreshold(std::uint32_t threshold) {
    std::map<std::string, std::uint64_t> known;
    tools::logging::SetLoggerLevel setLevel = nullptr;
    {
        const std::lock_guard guard(lock);
        currentThreshold = threshold;
        setLevel = current.setLevel;
        known = handles;
    }
    if (!setLevel) return;
    for (const auto& [name, handle] : known) setLevel(handle, threshold);
}

Attachment attachment() {
    const std::lock_guard guard(lock);
    return current;
}

void onAttach(std::function<void(const Attachment&)> action) {
    const std::lock_guard guard(lock);
    attachAction = std::move(action);
}

void onLookup(std::function<void(std::uint64_t&, std::uint32_t&)> action) {
    const std::lock_guard guard(lock);
    lookupAction = std::move(action);
}

void onEmit(std::function<void()> action) {
    const std::lock_guard guard(lock);
    emitAction = std::move(action);
}

void forgetHandles() {
    const std::lock_guard guard(lock);
    handles.clear();
}

void shareHandle(const std::string& name, const std::string& otherName) {
    const std::lock_guard guard(lock);
    handles[otherName] = handleOf(name);
}

} // namespace orvo::test

extern "C" ORVO_EXPORT const orvo::tools::logging::DispatcherDescriptor logging_dispatcher_descriptor;
const orvo::tools::logging::DispatcherDescriptor logging_dispatcher_descriptor = {orvo::test::attach,
                                                                                  orvo::test::detach};
