// SPDX-License-Identifier: MIT
#include "device/PortEvents.h"

#include "base/Signals.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

using core::zume::PhysicalNetworkInterfaceEvent;
using core::zume::PniActionCommandTimeout;
using templates::platform::SynchronizedQueueInterruptException;

constexpr auto lookInterval = std::chrono::milliseconds{100};
constexpr std::uint32_t actionCommandTimeout = 8;

} // namespace

std::string eventTypeName(std::uint32_t type) {
    return type == actionCommandTimeout ? "action command time-out" : fmt::format("type {}", type);
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
