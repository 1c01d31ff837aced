// SPDX-License-Identifier: MIT
#include "device/recording/PlayedThread.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace orvo::host {
namespace {

constexpr std::uint64_t longPoll =
    16; // reads of a register in a row: a wait, whose length is a matter of time

std::uint16_t unitAt(const RecordedCall& run, std::uint64_t index) {
    std::uint16_t unit = 0;
    std::memcpy(&unit, run.arguments[2].get_binary().data() + 2 * index, sizeof unit);
    return unit;
}

bool isSameText(const nlohmann::json& recorded, std::uint64_t argument) {
    const auto* const text = reinterpret_cast<const char*>(argument);
    return text ? recorded.is_string() && recorded.get_ref<const std::string&>() == text : recorded.is_null();
}

bool areSameBytes(const nlohmann::json& recorded, std::uint64_t argument, std::uint64_t length) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(argument);
    if (!bytes || !recorded.is_binary()) return !bytes && recorded.is_null();
    return std::ranges::equal(recorded.get_binary(), std::span(bytes, length));
}

/// Whether it reads the size of what comes next. The rest has to follow at once.
bool beginsTransmission(const LiveCall& live) {
    return live.isQueueRead() && live.arguments[3] == sizeof(std::uint32_t);
}

} // namespace

RecordedCall LiveCall::described() const {
    const auto& row = rowOf(entry);
    RecordedCall call{entry, 0, 0, 0, 1, nullptr, {}};
    for (std::size_t i = 0; i < row.argumentCount; ++i) {
        const auto kind = row.kinds[i];
        const auto* const pointer = reinterpret_cast<const char*>(arguments[i]);
        if (kind == ValueKind::Text && pointer)
            call.arguments.emplace_back(pointer);
        else if (kind == ValueKind::WordsIn && pointer)
            call.arguments.push_back(nlohmann::json::binary(ByteString(pointer, pointer + arguments[i + 1])));
        else if (kind >= ValueKind::Text)
            call.arguments.emplace_back(nullptr);
        else
            call.arguments.emplace_back(static_cast<std::int64_t>(arguments[i]));
    }
    return call;
}

bool LiveCall::isQueueRead() const noexcept {
    return entry == Entry::OHalDataQueueReadBufferLong || entry == Entry::OHalDataQueueReadBuffer;
}

bool LiveCall::matches(const RecordedCall& call, std::uint64_t times) const {
    if (call.entry != entry) return false;
    const auto& row = rowOf(entry);
    for (std::size_t i = 0; i < row.argumentCount; ++i) {
        const auto& recorded = call.arguments[i];
        const auto kind = row.kinds[i];
        if (kind == ValueKind::NumberOut || kind == ValueKind::WordsOut) continue;
        bool isSame = false;
        if (i == 2 && call.isRun())
            isSame = unitAt(call, times) == arguments[i];
        else if (kind == ValueKind::Text)
            isSame = isSameText(recorded, arguments[i]);
        else if (kind == ValueKind::WordsIn)
            isSame = areSameBytes(recorded, arguments[i], arguments[i + 1]);
        else
            isSame = recorded.get<std::int64_t>() == static_cast<std::int64_t>(arguments[i]);
        if (!isSame) return false;
    }
    return true;
}

bool PlayedThread::isElastic(const RecordedCall& call) {
    return call.isEmptyRead() || (call.entry == Entry::OHalRegisterRead && call.times >= longPoll);
}

std::size_t PlayedThread::firstFixed(std::size_t from) const {
    while (from < calls_.size() && isElastic(calls_[from])) ++from;
    return from;
}

bool PlayedThread::isUnusedAndBeginsWith(const LiveCall& live) const {
    if (isUsed_) return false;
    const auto fixed = firstFixed(0);
    for (std::size_t i = 0; i <= fixed && i < calls_.size(); ++i)
        if (live.matches(calls_[i], 0)) return true;
    return false;
}

void PlayedThread::advance() noexcept {
    ++next_;
    times_ = 0;
}

Answer PlayedThread::take(const LiveCall& live, const std::function<bool(const RecordedCall&)>& isDue) {
    using enum Answer::Kind;
    // A queue that was found empty may have something by now.
    if (next_ < calls_.size() && calls_[next_].isEmptyRead()) {
        const auto fixed = firstFixed(next_);
        if (fixed < calls_.size() && live.matches(calls_[fixed], 0) && isDue(calls_[fixed])) {
            next_ = fixed;
            times_ = 0;
        }
    }
    for (; next_ < calls_.size(); advance()) {
        const auto& call = calls_[next_];
        const bool isPoll = isElastic(call);
        const bool isThrough = isPoll && times_ >= call.times && next_ + 1 < calls_.size() &&
                               !call.isEmptyRead() && live.matches(calls_[next_ + 1], 0);
        if (!isThrough && live.matches(call, times_)) {
            if (beginsTransmission(live) && !call.isEmptyRead() && !isDue(call)) return {Empty};
            ++times_;
            isAwaited_ = true;
            if (!isPoll && times_ == call.times) advance();
            return {Call, &call};
        }
        if (!isPoll || (times_ == 0 && !call.isEmptyRead())) break;
    }
    return {live.isQueueRead() && mayBeEmpty(live) ? Empty : Difference};
}

/// Whether this is a further look at a queue, and not a wrong read of what it holds next.
bool PlayedThread::mayBeEmpty(const LiveCall& live) const {
    const auto isSameQueue = [&](const RecordedCall& call) {
        return call.isQueueRead() && call.arguments[1] == live.arguments[1];
    };
    if (next_ < calls_.size() && isSameQueue(calls_[next_])) return false;
    return std::any_of(calls_.begin(), calls_.begin() + static_cast<std::ptrdiff_t>(next_),
                       [&](const RecordedCall& call) { return isSameQueue(call) && live.matches(call, 0); });
}

bool PlayedThread::hasPassed(std::int64_t moment) const {
    auto next = next_;
    if (next < calls_.size() && times_ > 0) ++next; // it has begun
    next = firstFixed(next);
    return next == calls_.size() || calls_[next].begin > moment;
}

const RecordedCall* PlayedThread::missing() const {
    const auto fixed = firstFixed(next_);
    return fixed < calls_.size() ? &calls_[fixed] : nullptr;
}

bool PlayedThread::isLate(std::int64_t moment) const {
    const auto* const next = isAwaited_ ? missing() : nullptr;
    return next && next->isQueueRead() && next->end() <= moment;
}

bool PlayedThread::clears(std::uint64_t queue) const {
    return std::ranges::any_of(calls_, [queue](const RecordedCall& call) {
        return call.entry == Entry::OHalDataQueueClear && call.arguments[1] == queue;
    });
}

std::vector<const RecordedCall*> PlayedThread::before(std::size_t most) const {
    std::vector<const RecordedCall*> calls;
    for (auto i = next_ - std::min(most, next_); i < next_; ++i) calls.push_back(&calls_[i]);
    return calls;
}

} // namespace orvo::host
