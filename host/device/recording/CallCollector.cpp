// SPDX-License-Identifier: MIT
#include "device/recording/CallCollector.h"

#include "device/recording/CallBits.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <type_traits>

namespace orvo::host {
namespace {

std::array<std::atomic<void*>, entryCount> originals; // relaxed: each stands for itself
std::atomic<CallCollector*> collector{nullptr};
std::atomic<std::uint64_t> epoch{0}; // a new number for each collector; even: there is none
std::mutex joining;                  // a thread that joins a collector keeps it from ending

constinit WriteRun noRun;

// In the memory that every thread begins with: a library would otherwise ask the loader for it at every word.
[[gnu::tls_model("initial-exec")]] thread_local constinit struct {
    std::uint64_t epoch = 0;
    ThreadCalls* calls = nullptr;
    WriteRun* run = &noRun; // of `calls`; never grows once they are closed
} ownCalls;

/// Ends what a thread notes with the thread. Apart from `ownCalls`, which has no destructor, so that its uses
/// need no check whether it has been made.
thread_local struct ThreadEnd {
    std::shared_ptr<ThreadCalls> calls; // its recording may have ended before the thread

    ~ThreadEnd() {
        if (!calls) return;
        ownCalls.calls = nullptr;
        ownCalls.run = &noRun;
        calls->close(ticks());
    }
} threadEnd;

/// Inline, because it is called for each word of a frame.
[[gnu::always_inline]] inline ThreadCalls* callsOfThisThread() {
    if (ownCalls.epoch == epoch.load(std::memory_order_acquire)) [[likely]]
        return ownCalls.calls;
    return CallCollector::ofThisThread();
}

template <class Function> Function* original(Entry entry) noexcept {
    return reinterpret_cast<Function*>(
        originals[static_cast<std::size_t>(entry)].load(std::memory_order_relaxed));
}

/// While it lives, the thread is in a call that it will note.
class Inside {
public:
    explicit Inside(ThreadCalls& calls) noexcept : calls_(calls) {
        calls_.isInside.store(true, std::memory_order_relaxed);
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    ~Inside() { calls_.isInside.store(false, std::memory_order_release); }

private:
    ThreadCalls& calls_;
};

RawCall rawCall(Entry entry, std::size_t argumentCount, std::uint64_t begin, std::uint64_t result) noexcept {
    return {0, entry, static_cast<std::uint8_t>(argumentCount), RawKind::Call, begin, ticks(), 1, result};
}

/// What the call read or wrote through an argument; the length of bytes is the next argument.
RawPiece pieceOf(ValueKind kind, std::uint64_t argument, std::uint64_t next) noexcept {
    const auto* const pointer = fromBits<const void*>(argument);
    if (kind == ValueKind::Text) return textPiece(static_cast<const char*>(pointer));
    if (kind == ValueKind::WordsIn && pointer) return {pointer, static_cast<std::uint32_t>(next)};
    return {};
}

/// Stands in for an entry that the library lacks.
template <Entry entry, class Function> struct Missing;
template <Entry entry, class Result, class... Types> struct Missing<entry, Result (*)(Types...)> {
    static Result call(Types...) { return fromBits<Result>(rowOf(entry).unbound); }
};

/// Any entry: arguments and result as the table tells their kinds.
template <Entry entry, class Function> struct Recording;
template <Entry entry, class Result, class... Types> struct Recording<entry, Result (*)(Types...)> {
    static Result call(Types... arguments) {
        auto* const real = original<Result(Types...)>(entry);
        ThreadCalls* const calls = callsOfThisThread();
        if (!calls) return real(arguments...);
        const Inside inside(*calls);
        const auto begin = ticks();
        if constexpr (std::is_void_v<Result>) {
            real(arguments...);
            note(*calls, begin, 0, nullptr, {bitsOf(arguments)...});
        } else {
            const Result result = real(arguments...);
            const char* text = nullptr;
            if constexpr (std::is_same_v<Result, const char*>) text = result;
            note(*calls, begin, bitsOf(result), text, {bitsOf(arguments)...});
            return result;
        }
    }

private:
    static void note(ThreadCalls& calls, std::uint64_t begin, std::uint64_t result, const char* text,
                     const ThreadCalls::Arguments& arguments) {
        const auto call = rawCall(entry, sizeof...(Types), begin, result);
        const auto& row = rowOf(entry);
        std::array<RawPiece, mostArguments + 1> pieces;
        std::size_t count = 0;
        for (std::size_t i = 0; i < sizeof...(Types); ++i)
            if (row.kinds[i] > ValueKind::Handle)
                pieces[count++] =
                    pieceOf(row.kinds[i], arguments[i], i + 1 < mostArguments ? arguments[i + 1] : 0);
        if (row.result == ValueKind::Text) pieces[count++] = textPiece(text);
        calls.note(call, arguments, {pieces.data(), count});
    }
};

template <> struct Recording<Entry::OHalRegisterRead, decltype(&::OHalRegisterRead)> {
    static int call(void* device, std::uint32_t address, std::uint64_t* value) {
        auto* const real = original<decltype(::OHalRegisterRead)>(Entry::OHalRegisterRead);
        ThreadCalls* const calls = callsOfThisThread();
        if (!calls || !value) return real(device, address, value);
        const Inside inside(*calls);
        const auto before = *value;
        const auto begin = ticks();
        const int result = real(device, address, value);
        const auto call = rawCall(Entry::OHalRegisterRead, 3, begin, bitsOf(result));
        const bool wasWritten = result == 0 || *value != before;
        calls->hold(call, {bitsOf(device), address}, wasWritten ? value : nullptr);
        return result;
    }
};

/// A word of a frame needs no time stamp, no look whether the recording goes on, and few registers of the
/// processor: all else is in `begin`.
template <> struct Recording<Entry::OHalRegisterWrite, decltype(&::OHalRegisterWrite)> {
    static int call(void* device, std::uint32_t address, std::uint64_t value) {
        if (!ownCalls.run->append(device, address, value)) return begin(device, address, value);
        const int result =
            original<decltype(::OHalRegisterWrite)>(Entry::OHalRegisterWrite)(device, address, value);
        if (result != 0) [[unlikely]]
            return split(result);
        return 0;
    }

private:
    [[gnu::noinline]] static int begin(void* device, std::uint32_t address, std::uint64_t value) {
        auto* const real = original<decltype(::OHalRegisterWrite)>(Entry::OHalRegisterWrite);
        ThreadCalls* const calls = callsOfThisThread();
        if (!calls) return real(device, address, value);
        const Inside inside(*calls);
        const auto begin = ticks();
        const int result = real(device, address, value);
        calls->holdWrite(rawCall(Entry::OHalRegisterWrite, 3, begin, bitsOf(result)), bitsOf(device), address,
                         value);
        return result;
    }

    [[gnu::noinline]] static int split(int result) {
        ownCalls.calls->splitRun(rawCall(Entry::OHalRegisterWrite, 3, ticks(), bitsOf(result)));
        return result;
    }
};

/// How many bytes a read of a queue that did not fail has written.
std::uint64_t writtenBytes(int result, std::uint64_t lengthBytes) noexcept {
    const auto told = static_cast<std::uint64_t>(result);
    return result == 0 || told > lengthBytes ? lengthBytes : told;
}

template <Entry entry, class Length> struct QueueRead {
    static int call(void* device, std::uint32_t queue, void* buffer, Length lengthBytes,
                    std::uint32_t timeoutMs) {
        auto* const real = original<int(void*, std::uint32_t, void*, Length, std::uint32_t)>(entry);
        ThreadCalls* const calls = callsOfThisThread();
        if (!calls) return real(device, queue, buffer, lengthBytes, timeoutMs);
        const Inside inside(*calls);
        const auto begin = ticks();
        const int result = real(device, queue, buffer, lengthBytes, timeoutMs);
        const auto call = rawCall(entry, 5, begin, bitsOf(result));
        const ThreadCalls::Arguments arguments{bitsOf(device), queue, 0, lengthBytes, timeoutMs};
        if (result < 0)
            calls->hold(call, arguments, nullptr);
        else
            calls->noteWords(call, arguments,
                             {static_cast<const std::byte*>(buffer), writtenBytes(result, lengthBytes)});
        return result;
    }
};
template <>
struct Recording<Entry::OHalDataQueueReadBufferLong, decltype(&::OHalDataQueueReadBufferLong)>
    : QueueRead<Entry::OHalDataQueueReadBufferLong, std::uint64_t> {};
template <>
struct Recording<Entry::OHalDataQueueReadBuffer, decltype(&::OHalDataQueueReadBuffer)>
    : QueueRead<Entry::OHalDataQueueReadBuffer, std::uint32_t> {};

} // namespace

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Missing<Entry::name, decltype(&::name)>::call),
static const EntryTable missingEntries = {{
#include <hal/OrvoHalEntries.def>
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Missing<Entry::name, decltype(&::name)>::call),
#include <hal/KivRuntimeEntries.def>
}};

void setOriginals(const EntryTable& table) noexcept {
    for (std::size_t i = 0; i < entryCount; ++i)
        originals[i].store(table[i] ? table[i] : missingEntries[i], std::memory_order_relaxed);
}

CallCollector::CallCollector(const EntryTable& table) {
    setOriginals(table);
    collector = this;
    ++epoch;
}

CallCollector::~CallCollector() {
    retire();
    const std::lock_guard nobodyJoins(joining);
}

void CallCollector::retire() noexcept {
    CallCollector* self = this;
    if (collector.compare_exchange_strong(self, nullptr)) ++epoch;
}

/// Null where the recording has ended meanwhile. A forked child, in which the lock may be taken, has none.
std::shared_ptr<ThreadCalls> CallCollector::joined() noexcept {
    if (!collector.load()) return nullptr;
    const std::lock_guard guard(joining);
    auto* const current = collector.load();
    return current ? current->addThread() : nullptr;
}

ThreadCalls* CallCollector::ofThisThread() noexcept {
    const auto now = epoch.load(std::memory_order_acquire);
    if (ownCalls.epoch == now) return ownCalls.calls;
    if (threadEnd.calls) threadEnd.calls->close(ticks());
    threadEnd.calls = now % 2 != 0 ? joined() : nullptr;
    ownCalls = {now, threadEnd.calls.get(), threadEnd.calls ? &threadEnd.calls->run() : &noRun};
    return ownCalls.calls;
}

void CallCollector::awaitQuiet() {
    constexpr auto look = std::chrono::milliseconds{10}; // a thread may be about to enter a call
    constexpr int looks = 25;                            // the plug-in waits 100 ms for a frame
    const auto isBusy = [](const auto& thread) { return thread->isInside.load(std::memory_order_acquire); };
    const auto all = others();
    for (int quiet = 0, i = 0; !all.empty() && i < looks && quiet < 2; ++i) {
        std::this_thread::sleep_for(look);
        quiet = std::ranges::any_of(all, isBusy) ? 0 : quiet + 1;
    }
    for (const auto& thread : threads()) isBusy(thread) ? thread->abandon() : thread->close(ticks());
}

/// Those of other threads that have not ended.
std::vector<std::shared_ptr<ThreadCalls>> CallCollector::others() {
    auto all = threads();
    std::erase_if(all, [](const auto& row) { return row == threadEnd.calls || row->hasEnded; });
    return all;
}

std::vector<std::shared_ptr<ThreadCalls>> CallCollector::threads() {
    const std::lock_guard guard(changing_);
    return threads_;
}

void CallCollector::forget(const ThreadCalls& thread) {
    const std::lock_guard guard(changing_);
    std::erase_if(threads_, [&](const auto& row) { return row.get() == &thread; });
}

/// Null when there is no memory for its ring: the port goes on.
std::shared_ptr<ThreadCalls> CallCollector::addThread() noexcept {
    try {
        const std::lock_guard guard(changing_);
        return threads_.emplace_back(std::make_shared<ThreadCalls>(added_++));
    } catch (const std::exception&) {
        refused_ = true;
        return nullptr;
    }
}

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Recording<Entry::name, decltype(&::name)>::call),
const EntryTable recordingEntries = {{
#include <hal/OrvoHalEntries.def>
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Recording<Entry::name, decltype(&::name)>::call),
#include <hal/KivRuntimeEntries.def>
}};

} // namespace orvo::host
