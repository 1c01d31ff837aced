// SPDX-License-Identifier: MIT
// Looks at PHYs.
#include "inspect/watch/PhyWatch.h"

#include "base/Signals.h"
#include "inspect/diagnosis/DumpReport.h"
#include "inspect/diagnosis/LinkState.h"

#include <array>
#include <condition_variable>

namespace orvo::host {
namespace {

constexpr unsigned statusRegister = 1;
constexpr unsigned gigabitStatusRegister = 10;
constexpr std::uint16_t statusLinkBit = 1 << 2;

bool isSilent(std::optional<std::uint16_t> content) {
    return !content || *content == 0xFFFF;
}

bool isUp(std::uint16_t status) {
    return (status & statusLinkBit) != 0;
}

/// What is agreed on; nothing when that is not told. Takes the idle errors that were read on the way.
std::optional<std::uint64_t> readSpeed(MdioMaster& mdio, unsigned port, PhyLook& look) {
    std::array<std::uint16_t, dumpedPhyRegisters> phy{};
    for (const unsigned number : {0U, statusRegister, 4U, 5U, 9U, gigabitStatusRegister}) {
        const auto content = mdio.read(port, number);
        if (isSilent(content)) return std::nullopt;
        phy[number] = *content;
    }
    const auto state = LinkState::from(phy);
    look.idleErrors += state.idleErrors;
    return state.mbitPerSecond != 0 ? std::optional(state.mbitPerSecond * bitsPerMbit) : std::nullopt;
}

} // namespace

PhyLook lookAtLink(MdioMaster& mdio, unsigned port, const PhyLook& before) {
    PhyLook look{.idleErrors = before.idleErrors};
    auto status = mdio.read(port, statusRegister);
    if (isSilent(status)) return look;
    const bool wasDown = !isUp(*status); // at some time since the last look: the bit latches
    if (wasDown) status = mdio.read(port, statusRegister);
    if (isSilent(status)) return look;
    look.up = isUp(*status);
    if (!*look.up) {
        look.bitsPerSecond = 0;
    } else if (wasDown || before.bitsPerSecond.value_or(0) == 0) {
        look.bitsPerSecond = readSpeed(mdio, port, look);
    } else {
        look.bitsPerSecond = before.bitsPerSecond;
        const auto content = mdio.read(port, gigabitStatusRegister);
        if (!isSilent(content)) look.idleErrors += *content & 0xFFU;
    }
    return look;
}

PhyWatch::PhyWatch(const BoardLibraries& libraries, unsigned board, unsigned ports,
                   std::chrono::duration<double> interval)
    : libraries_(libraries), board_(board), interval_(interval), looks_(ports) {
    const SignalShield handledElsewhere; // the thread inherits it
    thread_ = std::jthread([this](const std::stop_token& stop) { watch(stop); });
}

PhyWatch::~PhyWatch() = default;

std::optional<PhyLook> PhyWatch::at(unsigned port) const {
    const std::lock_guard guard(mutex_);
    return port < looks_.size() ? looks_[port] : std::nullopt;
}

void PhyWatch::watch(const std::stop_token& stop) {
    std::mutex lock;
    std::condition_variable_any stopped;
    std::unique_lock guard(lock);
    while (!stop.stop_requested()) {
        lookAtAll(stop);
        stopped.wait_for(guard, stop, interval_, [] { return false; });
    }
}

/// A board that is gone has no links that are known.
void PhyWatch::lookAtAll(const std::stop_token& stop) {
    const auto board = Board::at(libraries_, board_);
    auto mdio = board ? MdioMaster::of(*board) : std::nullopt;
    for (unsigned port = 0; port < looks_.size() && !stop.stop_requested(); ++port) {
        const auto before = at(port).value_or(PhyLook{});
        keep(port, mdio ? lookAtLink(*mdio, port, before) : PhyLook{.idleErrors = before.idleErrors});
    }
}

void PhyWatch::keep(unsigned port, const PhyLook& look) {
    const std::lock_guard guard(mutex_);
    looks_[port] = look;
}

} // namespace orvo::host
