// SPDX-License-Identifier: MIT
#include "traffic/LiveStreams.h"

namespace orvo::host {
namespace {

StreamTime now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

Bytes bytesOf(const QByteArray& frame) {
    return {reinterpret_cast<const std::uint8_t*>(frame.constData()), static_cast<std::size_t>(frame.size())};
}

} // namespace

LiveStreams::LiveStreams(StreamAccount::Take take, std::chrono::nanoseconds interval)
    : account_(std::move(take)), interval_(interval.count()) {}

void LiveStreams::addReceived(Bytes frame, std::optional<StreamTime> time) {
    takeSent();
    const auto present = now();
    account_.add(frame, time.value_or(present));
    publish(present);
}

void LiveStreams::addDead(Bytes frame, DeathPlace place, StreamTime time) {
    account_.addDead(frame, place, time);
    publish(now());
}

void LiveStreams::noteSilence() {
    takeSent();
    publish(now());
}

void LiveStreams::addSent(const QByteArray& frame) {
    if (isToGigeControlPort(bytesOf(frame)) && !sent_.push(Sent{now(), frame})) omitted_.add(1);
}

void LiveStreams::finish() {
    takeSent();
    account_.finish();
    const std::scoped_lock lock(mutex_);
    report_ = account_.report();
}

void LiveStreams::takeSent() {
    while (sent_.read_available() != 0) {
        const auto& sent = sent_.front();
        account_.add(bytesOf(sent.frame), sent.time);
        sent_.pop();
    }
}

/// Once in a while. A reader that is copying the report gets this one the next time.
void LiveStreams::publish(StreamTime time) {
    if (time - publishedAt_ < interval_) return;
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) return;
    publishedAt_ = time;
    report_ = account_.report();
}

StreamsReport LiveStreams::report() const {
    const std::scoped_lock lock(mutex_);
    auto report = report_;
    report.givenUp.control += omitted_.value();
    return report;
}

} // namespace orvo::host
