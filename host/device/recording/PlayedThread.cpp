// SPDX-License-Identifier: MIT
#include "device/recording/PlayedThread.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace orvo::host {
namespace {

// Reads of a register in a row: a wait, whose length is a matter of time. As many may be added to it, since
// its moments are not exact. One that a run repeats stands for many where there were many, which a busy wait
// makes in millions; but first and last ones do not.
constexpr std::uint64_t longPoll = 16;
constexpr std::uint64_t mostPollSteps = 4096;

bool isLongPoll(const RecordedCall& call) {
    return call.entry == Entry::OHalRegisterRead && call.times >= longPoll;
}

bool isElastic(const RecordedCall& call) {
    return call.isEmptyRead() || isLongPoll(call);
}

std::uint64_t mostOf(const RecordedCall& call) {
    return call.times + (isLongPoll(call) ? longPoll : 0);
}

std::uint64_t stepOf(const RecordedCall& call, std::uint64_t made) {
    const auto step = call.times / mostPollSteps;
    return isLongPoll(call) && step > 1 && made > 0 && made + 2 * step < call.times ? step : 1;
}

bool areEqual(const RecordedCall& one, const RecordedCall& other) {
    return one.entry == other.entry && one.result == other.result && one.arguments == other.arguments;
}

/// The writer begins a new record now and then even while calls repeat.
std::vector<RecordedCall> withWholeWaits(std::vector<RecordedCall> calls) {
    std::vector<RecordedCall> whole;
    whole.reserve(calls.size());
    for (auto& call : calls) {
        if (whole.empty() || !isElastic(whole.back()) || !areEqual(whole.back(), call)) {
            whole.push_back(std::move(call));
            continue;
        }
        whole.back().times += call.times;
        whole.back().duration = call.end() - whole.back().begin;
    }
    return whole;
}

/// The end of one of a call's repetitions, as if they had taken equal times; later where it has fewer.
std::int64_t endOf(const RecordedCall& call, std::uint64_t repetition) {
    return call.begin +
           static_cast<std::int64_t>(static_cast<double>(call.duration) * static_cast<double>(repetition) /
                                     static_cast<double>(call.times));
}

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

std::int64_t momentOf(const RecordedCall& call) noexcept {
    return call.isQueueRead() ? call.end() : call.begin;
}

PlayedThread::PlayedThread(std::size_t place, std::vector<RecordedCall> calls)
    : number(place), calls_(withWholeWaits(std::move(calls))) {}

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
    const auto mayCome = [&](const RecordedCall& call) {
        return call.isEmptyRead() || !beginsTransmission(live) || isDue(call);
    };
    for (; next_ < calls_.size(); advance()) {
        const auto& call = calls_[next_];
        const bool isWait = isElastic(call), isLong = isWait && times_ >= mostOf(call);
        const bool hasNext = next_ + 1 < calls_.size() && live.matches(calls_[next_ + 1], 0);
        if (isLong && hasNext && mayCome(calls_[next_ + 1])) continue;
        if (live.matches(call, times_)) {
            if ((isLong && call.isEmptyRead()) || !mayCome(call)) return {Empty};
            return made();
        }
        if (!isWait || (times_ == 0 && !call.isEmptyRead())) break;
    }
    return {live.isQueueRead() && mayBeEmpty(live) ? Empty : Difference};
}

Answer PlayedThread::made() {
    const auto& call = calls_[next_];
    times_ += stepOf(call, times_);
    isAwaited_ = true;
    const Answer answer{Answer::Kind::Call, &call, endOf(call, times_)};
    if (times_ >= call.times && !isElastic(call)) advance();
    return answer;
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

const RecordedCall* PlayedThread::missing() const {
    const auto fixed = firstFixed(next_);
    return fixed < calls_.size() ? &calls_[fixed] : nullptr;
}

std::int64_t PlayedThread::nextMoment() const {
    const bool hasBegun = next_ < calls_.size() && times_ > 0;
    const auto fixed = firstFixed(hasBegun ? next_ + 1 : next_);
    return fixed < calls_.size() ? momentOf(calls_[fixed]) : std::numeric_limits<std::int64_t>::max();
}

bool PlayedThread::isBehind(std::int64_t moment) const {
    const bool isElsewhere = next_ < calls_.size() && times_ == 0 && calls_[next_].begin < moment;
    return isAwaited_ && (isElsewhere || nextMoment() < moment);
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
