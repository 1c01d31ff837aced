// SPDX-License-Identifier: MIT
#include "device/PortEvents.h"

#include "base/Signals.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using core::zume::PhysicalNetworkInterfaceEvent;
using core::zume::PniActionCommandTimeout;
using templates::platform::SynchronizedQueueInterruptException;

constexpr auto lookInterval = std::chrono::milliseconds{100};
constexpr std::uint32_t actionCommandTimeout = 8;

std::string typeText(std::uint32_t type) {
    return type == actionCommandTimeout ? "action command time-out" : fmt::format("type {}", type);
}

std::string timeText(std::chrono::system_clock::time_point time) {
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}Z", fmt::gmtime(static_cast<std::time_t>(seconds.count())),
                       (since - seconds).count());
}

} // namespace

std::string eventText(const PortEvent& event) {
    return fmt::format("{} port {}: {}, count {}", timeText(event.time), event.port.text(),
                       typeText(event.type), event.count);
}

std::string eventJsonLine(const PortEvent& event) {
    const nlohmann::ordered_json document = {{"time", timeText(event.time)},
                                             {"port", event.port.text()},
                                             {"type", typeText(event.type)},
                                             {"count", event.count}};
    return document.dump() + "\n";
}

PortEvents::PortEvents(core::zume::PhysicalNetworkInterface& interface, PortAddress port, Take take)
    : queue_(interface.eventQueue()), port_(port), take_(std::move(take)) {
    const SignalShield handledElsewhere; // the thread inherits it
    thread_ = std::jthread([this](const std::stop_token& stop) { takeAll(stop); });
    queue_->enabled = true;
}

PortEvents::~PortEvents() {
    queue_->enabled = false;
}

void PortEvents::finish() {
    if (thread_.joinable()) thread_.join();
}

void PortEvents::takeAll(const std::stop_token& stop) noexcept {
    try {
        for (boost::shared_ptr<PhysicalNetworkInterfaceEvent> event; !stop.stop_requested();) {
            if (!queue_->queue->tryPop(event, lookInterval)) continue;
            const auto* const timeout = dynamic_cast<const PniActionCommandTimeout*>(event.get());
            if (!timeout) continue; // there is no other kind
            count_.fetch_add(1, std::memory_order_relaxed);
            take_({std::chrono::system_clock::now(), port_, timeout->type, timeout->count});
        }
    } catch (
        const SynchronizedQueueInterruptException&) { // the port has been stopped, and the queue is empty
    }
}

} // namespace orvo::host
