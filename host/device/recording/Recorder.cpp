// SPDX-License-Identifier: MIT
#include "device/recording/Recorder.h"

#include "base/Failure.h"
#include "base/Output.h"

#include <csignal>
#include <new>

namespace orvo::host {
namespace {

using Json = nlohmann::json;

// Frames of 64 bytes at line rate fill a ring in 16 ms.
constexpr auto idleInterval = std::chrono::milliseconds{5}, busyInterval = std::chrono::milliseconds{1};
constexpr auto busyBytes = CallRing::capacity / 32;     // at once
constexpr auto blockInterval = std::chrono::seconds{1}; // a crash loses as much

Json entriesJson(const EntryTable& originals) {
    auto rows = Json::array();
    for (std::size_t i = 0; i < entryCount; ++i)
        rows.push_back({{"name", boardEntries[i].name},
                        {"parameters", boardEntries[i].parameters},
                        {"library", boardEntries[i].isHal ? "orvo_hal" : "kivrt"},
                        {"present", originals[i] != nullptr}});
    return rows;
}

Json withEntries(Json header, const EntryTable& originals) {
    header["entries"] = entriesJson(originals);
    return header;
}

/// While it lives, this thread handles no signals, and threads that it starts never do: they are the host's.
class SignalsBlocked {
public:
    SignalsBlocked() noexcept {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_;
};

} // namespace

Recorder::Recorder(const std::string& path, const EntryTable& originals, Json header, const std::string& name)
    : name_(name.empty() ? path : name), file_(path, name_), collector_(originals) {
    file_.add(Json::to_cbor(withEntries(std::move(header), originals)));
    const SignalsBlocked handledElsewhere;
    thread_ = std::jthread([this](const std::stop_token& stop) { write(stop); });
}

Recorder::~Recorder() {
    finish();
}

void Recorder::write(const std::stop_token& stop) {
    std::unique_lock guard(mutex_);
    bool isBusy = false;
    for (auto due = std::chrono::steady_clock::now() + blockInterval; !stop.stop_requested();) {
        ended_.wait_for(guard, stop, isBusy ? busyInterval : idleInterval, [] { return false; });
        isBusy = drain() > busyBytes;
        if (std::chrono::steady_clock::now() < due) continue;
        writeBlock();
        due = std::chrono::steady_clock::now() + blockInterval;
    }
}

/// Returns how many bytes there were.
std::uint64_t Recorder::drain() {
    std::uint64_t bytes = 0;
    converter_.measureClock();
    for (const auto& thread : collector_.threads()) {
        const bool hasEnded = thread->hasEnded.load(std::memory_order_acquire); // before its last calls
        bytes += thread->ring.drain([&](const std::byte* record) {
            try {
                converter_.add(record, thread->number);
            } catch (const std::bad_alloc&) {
                converter_.lose(1);
            }
            if (converter_.isFull()) writeBlock();
        });
        if (!hasEnded) continue;
        converter_.lose(thread->ring.untoldLoss());
        collector_.forget(*thread);
    }
    return bytes;
}

void Recorder::writeBlock() {
    if (converter_.isEmpty()) return;
    const auto calls = converter_.callsOfBlock();
    lost_ += converter_.lostInBlock();
    try {
        const auto block = converter_.takeBlock();
        if (!failure_.empty()) throw Failure(failure_);
        file_.add(block);
        kept_ += calls;
    } catch (const std::exception& error) { // a full disk, or no memory: the port goes on
        failure_ = error.what();
        lost_ += calls;
    }
}

std::string Recorder::finish() {
    if (thread_.joinable()) {
        collector_.retire();
        collector_.awaitQuiet();
        thread_.request_stop();
        thread_.join();
        drain();
        for (const auto& thread : collector_.threads()) { // those that stay in a call
            converter_.lose(1);
            collector_.forget(*thread);
        }
        writeBlock();
        complete();
    }
    return lackText();
}

void Recorder::complete() {
    if (!failure_.empty()) return;
    try {
        file_.add(Json::to_cbor({{"closing", {{"calls", kept_}, {"lost", lost_}}}}));
    } catch (const std::exception& error) {
        failure_ = error.what();
    }
}

std::string Recorder::lackText() const {
    if (lost_ == 0 && failure_.empty() && !collector_.hasRefusedThread()) return "";
    std::string text = "the recording " + quoted(name_) + " is incomplete";
    if (lost_ != 0) text += ": " + counted(lost_, "call") + " could not be kept";
    if (!failure_.empty()) return text + "; " + failure_;
    return text + (lost_ != 0 ? ", because the writing was too slow" : "; there was no memory for a thread");
}

void Recorder::leaveToParent() noexcept {
    collector_.retire();
    file_.close();
}

} // namespace orvo::host
