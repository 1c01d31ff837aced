// SPDX-License-Identifier: MIT
#include "traffic/BridgeRecording.h"

#include "base/Output.h"
#include "base/Signals.h"
#include "frames/CaptureOutput.h"

#include <chrono>

namespace orvo::host {
namespace {

constexpr std::chrono::milliseconds writePause{10}; // a queue holds 800,000 frames a second for so long

pcapng::Timestamp timestampNow() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<pcapng::Timestamp>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch).count());
}

} // namespace

BridgeRecording::BridgeRecording(const std::string& path, const std::string& port, const std::string& tap)
    : queues_(std::make_unique<std::array<Queue, directions>>()),
      file_(path,
            path == CaptureOutput::standardOutput ? BlockFile::Target::StandardOutput
                                                  : BlockFile::Target::NamedFile,
            {{"to port " + port, "frames of " + tap + " that go to port " + port},
             {"from port " + port, "frames of port " + port + " that go to " + tap}}) {}

void BridgeRecording::begin() {
    file_.endOn(ending_);
    file_.begin();
    isOpen_ = true;
    const SignalShield handledElsewhere; // the thread inherits it
    thread_ = std::jthread([this](const std::stop_token& stop) { writeAll(stop); });
}

void BridgeRecording::add(Direction direction, const QByteArray& frame) noexcept {
    auto& queue = (*queues_)[static_cast<std::size_t>(direction)];
    if (!queue.entries.push(Entry{timestampNow(), frame})) queue.omitted.add(1);
}

std::uint64_t BridgeRecording::omittedFrames() const noexcept {
    return (*queues_)[0].omitted.value() + (*queues_)[1].omitted.value();
}

void BridgeRecording::finish() noexcept {
    if (!isOpen_) return;
    isOpen_ = false;
    ending_.raise();
    thread_.request_stop();
    thread_.join();
    try {
        file_.close(std::nullopt);
    } catch (const std::exception& error) {
        note(error.what());
    }
}

void BridgeRecording::writeAll(const std::stop_token& stop) noexcept {
    for (bool isLast = false; !isLast;) {
        isLast = stop.stop_requested(); // then nothing is added any more
        try {
            drain();
        } catch (const std::exception& error) {
            note(error.what());
        }
        if (!isLast) std::this_thread::sleep_for(writePause);
    }
}

void BridgeRecording::drain() {
    std::uint32_t written = 0;
    while (auto* const queue = earlierQueue()) {
        const auto interface = static_cast<std::uint32_t>(queue - queues_->data());
        const auto entry = std::move(queue->entries.front());
        queue->entries.pop();
        if (failed_) continue;
        file_.write(entry.frame.constData(), static_cast<std::size_t>(entry.frame.size()), entry.time,
                    interface);
        ++written;
    }
    if (written != 0) file_.flush();
}

/// The one whose next frame passed first; null when nothing waits.
BridgeRecording::Queue* BridgeRecording::earlierQueue() {
    auto& [toPort, toTap] = *queues_;
    if (toPort.entries.read_available() == 0) return toTap.entries.read_available() == 0 ? nullptr : &toTap;
    if (toTap.entries.read_available() == 0) return &toPort;
    return toTap.entries.front().time < toPort.entries.front().time ? &toTap : &toPort;
}

/// Only the first failure: what follows has the same cause.
void BridgeRecording::note(const char* failure) noexcept {
    if (!failed_) notice(std::string(failure) + "; the bridge goes on without the recording");
    failed_ = true;
}

} // namespace orvo::host
