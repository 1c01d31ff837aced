// SPDX-License-Identifier: MIT
#include "inspect/watch/LinkPoller.h"

#include "base/Signals.h"
#include "inspect/diagnosis/DumpReport.h"
#include "inspect/diagnosis/LinkState.h"
#include "inspect/watch/PortHistory.h"

#include <array>
#include <condition_variable>

namespace orvo::host {
namespace {

constexpr unsigned gigabitStatusRegister = 10;

/// The negotiated speed; nothing while it is unknown. Register 10 also has idle errors, which are added up.
std::optional<std::uint64_t> readSpeed(MdioMaster& mdio, unsigned port, LinkReading& reading) {
    std::array<std::uint16_t, dumpedPhyRegisters> phy{};
    for (const unsigned number : {0U, phyStatusRegister, 4U, 5U, 9U, gigabitStatusRegister}) {
        const auto content = mdio.read(port, number);
        if (!content) return std::nullopt;
        phy[number] = *content;
    }
    const auto state = LinkState::from(phy);
    reading.idleErrors += state.idleErrors;
    return state.mbitPerSecond != 0 ? std::optional(state.mbitPerSecond * bitsPerMbit) : std::nullopt;
}

} // namespace

LinkReading readLink(MdioMaster& mdio, unsigned port, const LinkReading& before) {
    LinkReading reading{.idleErrors = before.idleErrors};
    auto status = mdio.read(port, phyStatusRegister);
    if (!status) return reading;
    const bool wasDown = !hasLink(*status); // at some time since the last reading
    if (wasDown) status = mdio.read(port, phyStatusRegister);
    if (!status) return reading;
    reading.up = hasLink(*status);
    if (!*reading.up) {
        reading.bitsPerSecond = 0;
    } else if (wasDown || before.bitsPerSecond.value_or(0) == 0) {
        reading.bitsPerSecond = readSpeed(mdio, port, reading);
    } else {
        reading.bitsPerSecond = before.bitsPerSecond;
        const auto content = mdio.read(port, gigabitStatusRegister);
        if (content) reading.idleErrors += *content & 0xFFU;
    }
    return reading;
}

LinkPoller::LinkPoller(const BoardLibraries& libraries, unsigned board, unsigned ports,
                       std::chrono::duration<double> interval)
    : libraries_(libraries), board_(board), interval_(interval), readings_(ports) {
    const SignalShield handledElsewhere; // the thread inherits it
    thread_ = std::jthread([this](const std::stop_token& stop) { poll(stop); });
}

LinkPoller::~LinkPoller() = default;

std::optional<LinkReading> LinkPoller::at(unsigned port) const {
    const std::lock_guard guard(mutex_);
    return readings_[port];
}

void LinkPoller::poll(const std::stop_token& stop) {
    std::mutex lock;
    std::condition_variable_any stopped;
    std::unique_lock guard(lock);
    while (!stop.stop_requested()) {
        readAll(stop);
        stopped.wait_for(guard, stop, interval_, [] { return false; });
    }
}

/// Where the board is gone, the links become unknown.
void LinkPoller::readAll(const std::stop_token& stop) {
    auto mdio = MdioMaster::at(libraries_, board_);
    for (unsigned port = 0; port < readings_.size() && !stop.stop_requested(); ++port) {
        const auto before = at(port).value_or(LinkReading{});
        const auto reading =
            mdio ? readLink(*mdio, port, before) : LinkReading{.idleErrors = before.idleErrors};
        const std::lock_guard guard(mutex_);
        readings_[port] = reading;
    }
}

} // namespace orvo::host
