// SPDX-License-Identifier: MIT
// What the host reads of a transmission with a fault.
#include "faults/QueueFaults.h"

#include <algorithm>
#include <utility>

namespace orvo::sim {

namespace {

constexpr std::uint32_t largestSize = 65'536; // the largest frame size that a host accepts
constexpr int wordBytes = sizeof(std::uint32_t);

constexpr std::uint64_t dataWordsOf(std::uint32_t sizeWord) noexcept {
    return (std::uint64_t{sizeWord} + 1) / 2;
}

} // namespace

QueueFaults::QueueFaults(std::vector<ScriptedFault*> faults, const DataQueue& queue)
    : faults_(std::move(faults)), wordsLeft_(queue.words()) {}

ScriptedFault* QueueFaults::choose() {
    ScriptedFault* chosen = nullptr;
    for (ScriptedFault* const fault : faults_) {
        if (!fault->occurs(simClock.now())) continue;
        if (chosen)
            fault->postpone();
        else
            chosen = fault;
    }
    return chosen;
}

int QueueFaults::delivered(DataQueue& queue, std::uint32_t* out, std::size_t words, std::size_t count) {
    const std::lock_guard lock(mutex_);
    const bool begins = words == 1 && count == 1 && wordsLeft_ == 0;
    if (begins) {
        if (ScriptedFault* const fault = choose()) {
            taken_.fetch_add(1);
            const int result = begin(*fault, queue, out);
            if (!staged_) fault->countInjection(simClock.now());
            return result;
        }
    }
    walk(out, count);
    return static_cast<int>(count) * wordBytes;
}

void QueueFaults::walk(const std::uint32_t* words, std::size_t count) {
    while (count > 0) {
        if (wordsLeft_ == 0) {
            wordsLeft_ = dataWordsOf(*words);
            taken_.fetch_add(1);
            ++words;
            --count;
        }
        const auto step = std::min<std::uint64_t>(count, wordsLeft_);
        wordsLeft_ -= step;
        words += step;
        count -= step;
    }
}

/// Takes the whole transmission out of the queue, and answers the read of its size word.
int QueueFaults::begin(ScriptedFault& fault, DataQueue& queue, std::uint32_t* sizeWord) {
    const std::uint32_t size = *sizeWord;
    stage(queue, dataWordsOf(size));
    staged_ = &fault;
    switch (fault.kind()) {
    case FaultKind::SizeZero:
        *sizeWord = 0;
        staged_ = nullptr;
        break;
    case FaultKind::SizeWild:
        *sizeWord = largestSize + 1 + static_cast<std::uint32_t>(fault.random(UINT32_MAX - largestSize));
        staged_ = nullptr;
        break;
    case FaultKind::SizeLong:
        *sizeWord = size + 8;
        break;
    case FaultKind::SizeShort:
        *sizeWord = std::max(size / 4 * 2, 2U);
        break;
    case FaultKind::EndMissing:
        stage_.back() &= ~endOfTransmission;
        break;
    case FaultKind::ReadShort:
        stage_.resize(std::max<std::size_t>(stage_.size() / 2, 1));
        break;
    case FaultKind::ReadFailed:
        failed_.fetch_add(1);
        staged_ = nullptr;
        return fault.spec().result;
    default:
        break; // takes effect at the read of the frame
    }
    return wordBytes;
}

void QueueFaults::stage(DataQueue& queue, std::size_t dataWords) {
    stage_.resize(dataWords);
    stage_.resize(queue.take(stage_.data(), dataWords));
}

std::optional<int> QueueFaults::readStaged(std::uint32_t* out, std::size_t words) {
    const std::lock_guard lock(mutex_);
    ScriptedFault* const fault = std::exchange(staged_, nullptr);
    if (!fault) return std::nullopt;
    fault->countInjection(simClock.now());
    const std::size_t count = std::min(words, stage_.size());
    std::copy_n(stage_.begin(), count, out);
    if (fault->kind() == FaultKind::ReadTorn) return 2;
    const int bytes = static_cast<int>(count) * wordBytes;
    return fault->kind() == FaultKind::ReadLong ? static_cast<int>(words) * wordBytes + 4 : bytes;
}

void QueueFaults::refused(DataQueue& queue) {
    const std::lock_guard lock(mutex_);
    if (wordsLeft_ == 0 && !staged_) return;
    failed_.fetch_add(1);
    stage(queue, std::exchange(wordsLeft_, 0));
    if (ScriptedFault* const fault = std::exchange(staged_, nullptr))
        fault->postpone(); // it had no effect yet
}

void QueueFaults::cleared(std::uint64_t queued) {
    const std::lock_guard lock(mutex_);
    const auto gone = taken_.load() + dropped_.load();
    dropped_.fetch_add(queued - std::min(queued, gone));
    wordsLeft_ = 0;
    staged_ = nullptr;
}

bool QueueFaults::isSettled() {
    const std::lock_guard lock(mutex_);
    return !staged_;
}

void QueueFaults::catchUp(std::uint64_t queued, const DataQueue& queue) {
    const std::lock_guard lock(mutex_);
    const auto kept = queued - std::min(queued, dropped_.load());
    taken_.store(kept - std::min<std::uint64_t>(kept, queue.transmissions()));
}

} // namespace orvo::sim
