// SPDX-License-Identifier: MIT
#include "device/recording/Playback.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"
#include "device/recording/CallText.h"
#include "device/recording/PackedWords.h"
#include "device/recording/RecordingFile.h"

#include <fmt/format.h>

#include <orvo/hal/orvo_hal.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdio>
#include <cstring>
#include <thread>
#include <unordered_map>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds emptyWait{2}; // in virtual time, of a queue that has nothing
constexpr std::chrono::seconds longestSilence{5}; // of a run, or a thread, that makes no recorded calls
constexpr std::chrono::milliseconds longestSleep{
    100};                                        // in real time, before a look whether the user ends the run
constexpr std::chrono::seconds clockPatience{1}; // before a clock goes on without calls
constexpr std::size_t shownBefore = 5;

std::atomic<Playback*> current{nullptr};
std::atomic<std::uint64_t> epochs{0};

thread_local struct {
    std::uint64_t epoch = 0;
    PlayedThread* thread = nullptr;
    std::int64_t now = 0;      // nanoseconds of the recording
    Clock::time_point since{}; // when they became that
} ownPart;

std::string& leftOutText() {
    static std::string text;
    return text;
}

/// The calls of a whole recording by thread. Errors: Failure when calls are missing, unless `isLenient`.
std::vector<std::vector<RecordedCall>> readThreads(RecordingReader& reader, bool isLenient) {
    std::vector<std::vector<RecordedCall>> threads;
    std::uint64_t lost = 0;
    while (auto block = reader.next()) {
        lost += block->lost;
        for (auto& call : block->calls) {
            if (call.thread >= threads.size()) threads.resize(call.thread + 1U);
            threads[call.thread].push_back(std::move(call));
        }
    }
    const auto advice = "; record again, or play it with --lenient";
    if (!isLenient && lost != 0)
        throw Failure("the recording " + quoted(reader.path()) + " lacks " + counted(lost, "call") + advice);
    if (!reader.fault().empty()) {
        if (!isLenient) throw Failure(reader.fault() + advice);
        notice(reader.fault() + "; these are used");
    }
    return threads;
}

/// Writes what the call wrote, and returns its result's bits.
std::uint64_t repeat(const RecordedCall& call, const LiveCall& live) {
    const auto& row = rowOf(call.entry);
    for (std::size_t i = 0; i < row.argumentCount; ++i) {
        auto* const target = reinterpret_cast<std::uint8_t*>(live.arguments[i]);
        const auto& value = call.arguments[i];
        if (!target || value.is_null()) continue;
        if (row.kinds[i] == ValueKind::NumberOut) {
            const auto number = value.get<std::int64_t>();
            std::memcpy(target, &number, sizeof number);
        } else if (row.kinds[i] == ValueKind::WordsOut) {
            const auto words = unpackedWords(value.get_binary(), call.deliveredBytes());
            std::memcpy(target, words.data(), std::min<std::size_t>(words.size(), live.arguments[i + 1]));
        }
    }
    if (call.result.is_null()) return 0;
    if (row.result == ValueKind::Text)
        return reinterpret_cast<std::uint64_t>(call.result.get_ref<const std::string&>().c_str());
    if (row.result == ValueKind::Fraction) return std::bit_cast<std::uint64_t>(call.result.get<double>());
    return static_cast<std::uint64_t>(call.result.get<std::int64_t>());
}

} // namespace

/// Calls by entry and register.
struct Playback::Lenient {
    struct Sequence {
        std::vector<RecordedCall> calls;
        std::size_t next = 0;
        std::uint64_t times = 0;
    };

    /// Entry, and those arguments that say what is accessed.
    static std::string keyOf(const RecordedCall& call) {
        auto key = std::to_string(static_cast<unsigned>(call.entry));
        const auto& row = rowOf(call.entry);
        const bool isWrite = call.entry == Entry::OHalRegisterWrite;
        for (std::size_t i = 0; i < row.argumentCount; ++i)
            if (row.kinds[i] <= ValueKind::Text && !(isWrite && i == 2) && !(call.isQueueRead() && i > 1))
                key += " " + call.arguments[i].dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        return key;
    }

    void add(RecordedCall&& call) {
        if (!call.isEmptyRead()) sequences[keyOf(call)].calls.push_back(std::move(call));
    }

    /// Null where the recording has no such call, or a queue has no more.
    const RecordedCall* take(const LiveCall& live) {
        const auto found = sequences.find(keyOf(live.described()));
        if (found == sequences.end()) return nullptr;
        auto& sequence = found->second;
        if (sequence.next == sequence.calls.size()) {
            if (live.isQueueRead()) return nullptr;
            return &sequence.calls.back();
        }
        const auto& call = sequence.calls[sequence.next];
        if (++sequence.times >= call.times) {
            ++sequence.next;
            sequence.times = 0;
        }
        return &call;
    }

    bool hasFrames() const {
        return std::ranges::any_of(sequences, [](const auto& row) {
            const auto& sequence = row.second;
            return sequence.next < sequence.calls.size() && sequence.calls.front().isQueueRead();
        });
    }

    std::unordered_map<std::string, Sequence> sequences;
};

Playback::Playback(const std::string& path, const PlaybackOptions& options)
    : path_(path), options_(options), epoch_(++epochs) {
    RecordingReader reader(path);
    header_ = reader.header();
    if (options.isLenient) lenient_ = std::make_unique<Lenient>();
    for (auto& calls : readThreads(reader, options.isLenient)) {
        if (!lenient_)
            threads_.emplace_back(threads_.size(), std::move(calls));
        else
            for (auto& call : calls) lenient_->add(std::move(call));
    }
    registers_ = reader.registers();
    current = this;
}

Playback::~Playback() {
    current = nullptr;
    if (endRequested() == 0) noteLeftOut();
}

double Playback::seconds() {
    return static_cast<double>(ownPart.now) / 1e9;
}

std::chrono::nanoseconds Playback::clock() noexcept {
    const auto passed = Clock::now() - ownPart.since;
    return std::chrono::nanoseconds(ownPart.now) + (passed < clockPatience ? passed.zero() : passed);
}

std::size_t Playback::callsOfThisThread() noexcept {
    return ownPart.thread ? ownPart.thread->position() : 0;
}

const std::string& Playback::leftOut() {
    return leftOutText();
}

void Playback::noteLeftOut() const {
    for (std::size_t i = 0; i < threads_.size(); ++i) {
        const auto* const call = threads_[i].missing();
        if (!call) continue;
        leftOutText() =
            fmt::format("the run leaves out calls of the recording {}; the first is call {} of thread {}: {}",
                        quoted(path_), threads_[i].position() + 1, i, callText(*call, registers_));
        return;
    }
}

bool Playback::isOver() const {
    const std::lock_guard guard(mutex_);
    if (Clock::now() - lastProgress_ > longestSilence) return true;
    if (lenient_) return !lenient_->hasFrames();
    return std::none_of(threads_.begin() + (threads_.empty() ? 0 : 1), threads_.end(),
                        [](const PlayedThread& thread) { return thread.missing() != nullptr; });
}

PlayedThread* Playback::threadFor(const LiveCall& live) {
    if (ownPart.epoch != epoch_) ownPart = {epoch_, nullptr, 0, Clock::now()};
    if (ownPart.thread) return ownPart.thread;
    const auto found = std::ranges::find_if(
        threads_, [&](const PlayedThread& thread) { return thread.isUnusedAndBeginsWith(live); });
    if (found == threads_.end()) return nullptr;
    found->use();
    return ownPart.thread = &*found;
}

/// Whether a thread without a part in the recording only looks at a queue of the ports: it may have been too
/// late to do so when the recording was made.
bool Playback::isFurtherLook(const LiveCall& live) const {
    return live.isQueueRead() && live.arguments[3] == sizeof(std::uint32_t) &&
           std::ranges::any_of(threads_,
                               [&](const PlayedThread& thread) { return thread.clears(live.arguments[1]); });
}

bool Playback::isDue(const PlayedThread& thread, const RecordedCall& call) const {
    return std::ranges::all_of(threads_, [&](const PlayedThread& other) {
        return &other == &thread || other.nextMoment() > call.end();
    });
}

std::uint64_t Playback::answer(const LiveCall& live) {
    std::unique_lock guard(mutex_);
    PlayedThread* const thread = lenient_ ? nullptr : threadFor(live);
    Answer found{Answer::Kind::Difference};
    if (lenient_) {
        found.call = lenient_->take(live);
        found.kind = found.call ? Answer::Kind::Call : Answer::Kind::Empty;
    } else if (thread) {
        found = thread->take(live, [&](const RecordedCall& call) { return isDue(*thread, call); });
    } else if (isFurtherLook(live)) {
        found.kind = Answer::Kind::Empty;
    }
    if (found.kind == Answer::Kind::Difference) endDifferent(live, thread);
    if (found.kind == Answer::Kind::Empty) return answerEmpty(live, guard);
    lastProgress_ = Clock::now();
    progress_.notify_all();
    if (thread && !found.call->isEmptyRead())
        awaitOthers(thread, momentOf(*found.call), &PlayedThread::isLate, guard);
    guard.unlock();
    ownPart.now = lenient_ ? found.call->end() : found.moment;
    if (options_.isRealTime) awaitMoment(ownPart.now);
    ownPart.since = Clock::now();
    return repeat(*found.call, live);
}

/// Waits for threads that have still to make calls of before `moment`; once for one that does not, and not
/// for a run that the user ends.
void Playback::awaitOthers(const PlayedThread* thread, std::int64_t moment, Lateness lateness,
                           std::unique_lock<std::mutex>& guard) {
    const auto isLate = [&](const PlayedThread& other) {
        return &other != thread && (other.*lateness)(moment);
    };
    const auto limit = Clock::now() + longestSilence;
    while (endRequested() == 0 && Clock::now() < limit)
        if (progress_.wait_for(guard, longestSleep, [&] { return std::ranges::none_of(threads_, isLate); }))
            return;
    for (auto& other : threads_)
        if (isLate(other)) other.giveUp();
}

void Playback::letOthersCatchUp() {
    Playback* const playback = current.load();
    if (!playback || endRequested() != 0) return;
    std::unique_lock guard(playback->mutex_);
    const auto* const thread = ownPart.epoch == playback->epoch_ ? ownPart.thread : nullptr;
    if (thread) playback->awaitOthers(thread, thread->nextMoment(), &PlayedThread::isBehind, guard);
}

std::uint64_t Playback::answerEmpty(const LiveCall& live, std::unique_lock<std::mutex>& guard) {
    if (!live.isQueueRead()) return rowOf(live.entry).unbound;
    const std::chrono::milliseconds asked{live.arguments[4]};
    progress_.wait_for(guard, options_.isRealTime ? asked : std::min(asked, emptyWait));
    return static_cast<std::uint64_t>(std::int64_t{HalTimeout});
}

void Playback::awaitMoment(std::int64_t moment) const {
    const auto due = begin_ + std::chrono::nanoseconds(moment);
    while (endRequested() == 0 && Clock::now() < due)
        std::this_thread::sleep_until(std::min(due, Clock::now() + longestSleep));
}

/// Ends the process from inside the plug-in, whose code no exception may pass.
void Playback::endDifferent(const LiveCall& live, const PlayedThread* thread) {
    if (!thread) { // one that has yet to begin was expected
        const auto unused = std::ranges::find_if_not(threads_, &PlayedThread::isUsed);
        if (unused != threads_.end()) thread = &*unused;
    }
    const auto* const expected = thread ? thread->missing() : nullptr;
    auto text = thread ? fmt::format("call {} of thread {}", thread->position() + 1, thread->number)
                       : std::string("the first call of a further thread");
    text = fmt::format(
        "orvo-gige: the run differs from the recording {} in {}\n  recorded  {}\n  made      {}\n",
        quoted(path_), text, expected ? callText(*expected, registers_) : "no call",
        callText(live.described(), registers_));
    if (thread)
        for (const auto* const call : thread->before(shownBefore))
            text += "  before    " + callText(*call, registers_) + "\n";
    std::fflush(stdout);
    std::fputs(text.c_str(), stderr);
    std::_Exit(DifferencesFound);
}

std::uint64_t answerFromRecording(const LiveCall& live) {
    Playback* const playback = current.load();
    return playback ? playback->answer(live) : rowOf(live.entry).unbound;
}

} // namespace orvo::host
