// SPDX-License-Identifier: MIT
#include "inspect/calls/CallDiff.h"

#include "device/recording/CallText.h"
#include "inspect/calls/CallView.h"

#include <fmt/format.h>

#include <algorithm>

namespace orvo::host {
namespace {

constexpr std::size_t shownBefore = 5;

using Calls = std::vector<const RecordedCall*>;

/// Without the looks at an empty queue.
Calls substanceOf(const std::vector<RecordedCall>& calls) {
    Calls result;
    for (const auto& call : calls)
        if (!call.isEmptyRead()) result.push_back(&call);
    return result;
}

bool isSame(const RecordedCall& one, const RecordedCall& other) {
    return one.entry == other.entry && one.times == other.times && one.result == other.result &&
           one.arguments == other.arguments;
}

/// What a thread does, told by its first call: its entry, and the queue that it reads.
bool isSameRole(const std::vector<RecordedCall>& one, const std::vector<RecordedCall>& other) {
    if (one.empty() || other.empty()) return one.empty() == other.empty();
    const auto &first = one.front(), &second = other.front();
    return first.entry == second.entry && (!first.isQueueRead() || first.arguments[1] == second.arguments[1]);
}

std::optional<CallDifference> compare(unsigned thread, const Calls& first, const Calls& second) {
    const auto [one, other] = std::mismatch(first.begin(), first.end(), second.begin(), second.end(),
                                            [](const auto* a, const auto* b) { return isSame(*a, *b); });
    if (one == first.end() && other == second.end()) return std::nullopt;
    const auto position = static_cast<std::size_t>(one - first.begin());
    return CallDifference{thread,
                          one == first.end() ? nullptr : *one,
                          other == second.end() ? nullptr : *other,
                          {one - static_cast<std::ptrdiff_t>(std::min(position, shownBefore)), one}};
}

std::int64_t momentOf(const CallDifference& difference) {
    return difference.first ? difference.first->begin : difference.second->begin;
}

} // namespace

WholeRecording::WholeRecording(const std::string& path) {
    RecordingReader reader(path);
    while (auto block = reader.next()) {
        lost += block->lost;
        for (auto& call : block->calls) {
            if (call.thread >= threads.size()) threads.resize(call.thread + 1U);
            threads[call.thread].push_back(std::move(call));
        }
    }
    registers = reader.registers();
    fault = reader.fault();
}

std::vector<CallDifference> differencesOf(const WholeRecording& first, const WholeRecording& second) {
    std::vector<CallDifference> differences;
    const auto add = [&](std::optional<CallDifference> found) {
        if (found) differences.push_back(std::move(*found));
    };
    std::vector<bool> paired(second.threads.size());
    for (unsigned i = 0; i < first.threads.size(); ++i) {
        std::size_t partner = 0;
        while (partner < paired.size() &&
               (paired[partner] || !isSameRole(first.threads[i], second.threads[partner])))
            ++partner;
        const bool isPaired = partner < paired.size();
        if (isPaired) paired[partner] = true;
        add(compare(i, substanceOf(first.threads[i]),
                    isPaired ? substanceOf(second.threads[partner]) : Calls()));
    }
    for (unsigned i = 0; i < paired.size(); ++i)
        if (!paired[i]) add(compare(i, {}, substanceOf(second.threads[i])));
    std::ranges::sort(differences, {}, momentOf);
    return differences;
}

std::string differencesText(const std::vector<CallDifference>& differences, const RegisterNames& registers) {
    if (differences.empty()) return "the recordings have the same calls\n";
    std::string text;
    const auto line = [&](const char* head, const RecordedCall* call) {
        return fmt::format("  {:<8}{}\n", head, call ? callText(*call, registers) : "no further call");
    };
    for (const auto& difference : differences) {
        text += fmt::format("thread {} at {:.6f} s:\n", difference.thread,
                            static_cast<double>(momentOf(difference)) / 1e9);
        for (const auto* const call : difference.before) text += line("before", call);
        text += line("first", difference.first) + line("second", difference.second);
    }
    return text;
}

nlohmann::ordered_json differencesJson(const std::vector<CallDifference>& differences,
                                       const RegisterNames& registers) {
    using Json = nlohmann::ordered_json;
    const auto json = [&](const RecordedCall* call) {
        return call ? callJson(*call, registers) : Json(nullptr);
    };
    auto list = Json::array();
    for (const auto& difference : differences) {
        auto before = Json::array();
        for (const auto* const call : difference.before) before.push_back(json(call));
        list.push_back({{"thread", difference.thread},
                        {"first", json(difference.first)},
                        {"second", json(difference.second)},
                        {"before", std::move(before)}});
    }
    return {{"differences", std::move(list)}};
}

} // namespace orvo::host
