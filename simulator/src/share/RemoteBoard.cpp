// SPDX-License-Identifier: MIT
#include "share/RemoteBoard.h"

#include "base/Patience.h"

#include <algorithm>
#include <thread>

namespace orvo::sim {

namespace {

/// Keeps the copying of words before what follows.
inline void copied() noexcept {
#ifdef __SANITIZE_THREAD__ // which does not model fences, and warns of each
    std::atomic_signal_fence(std::memory_order_acquire);
#else
    std::atomic_thread_fence(std::memory_order_acquire);
#endif
}

using SteadyClock = std::chrono::steady_clock;

/// Gives the processor up until `holds()`; false when it does not within `limit`, or the server is gone.
/// Waits in real time: a program's own usleep may move a clock, which would come back here.
template <class Holds> bool comesWithin(std::chrono::nanoseconds limit, ServerWatch& server, Holds holds) {
    if (holds()) return true;
    const auto end = SteadyClock::now() + limit;
    while (!comesSoon(holds)) {
        if (SteadyClock::now() >= end || server.findGone()) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
    return true;
}

} // namespace

TransmitSlot& RemoteTransmitter::openNext() noexcept {
    const bool hasRoom = comesWithin(patience_, server_, [this] { return !isFull(); });
    if (!hasRoom) {
        server_.giveUp();
        lost_.empty();
    }
    return *(slot_ = hasRoom ? &ring_.at(ring_.published.load(std::memory_order_relaxed)) : &lost_);
}

void RemoteTransmitter::complete() noexcept {
    const bool isLost = &open() == &lost_;
    slot_ = nullptr;
    if (isLost) return;
    const auto published = ring_.published.load(std::memory_order_relaxed) + 1;
    // Before the frame goes: where this program ends now, the server finds no earlier frame in the open slot.
    ring_.at(published).empty();
    // Sequentially consistent with the server's flag: either it sees the frame before it sleeps, or this
    // thread sees that it sleeps.
    ring_.published.store(published, std::memory_order_seq_cst);
    if (ring_.isAsleep.load(std::memory_order_seq_cst) != 0) wakeSleepers(&ring_.published);
    if (isFull()) fullSince_.store(SteadyClock::now(), std::memory_order_relaxed);
}

void RemoteTransmitter::occupyLine(unsigned mbit, bool addsFcs) noexcept {
    line_.setMbit(mbit);
    if (mbit == 0) return;
    const std::size_t units = open().units.load(std::memory_order_relaxed);
    const std::size_t bytes = 2 * units + (addsFcs ? fcsBytes : 0);
    line_.occupy(std::max(bytes, minWireBytes));
}

bool RemoteTransmitter::isBusy(unsigned mbit, std::int64_t servedUntil) const noexcept {
    if (isFull()) {
        if (SteadyClock::now() - fullSince_.load(std::memory_order_relaxed) >= patience_) server_.giveUp();
        std::this_thread::yield(); // hosts poll, and the server may need this processor
        return true;
    }
    const auto until = std::max(lineUntil(), servedUntil);
    return mbit != 0 && Line::napsUntil(until);
}

bool RemoteTransmitter::drain(std::chrono::milliseconds limit) const noexcept {
    const auto published = ring_.published.load(std::memory_order_acquire);
    return comesWithin(limit, server_, [&] {
        return static_cast<std::int32_t>(published - ring_.consumed.load(std::memory_order_acquire)) <= 0;
    });
}

std::size_t RemoteQueue::take(std::uint32_t* out, std::size_t most) noexcept {
    const std::size_t mask = QueueWindow::ringWords(window_.capacityWords) - 1;
    for (;;) {
        const auto begin = from();
        const auto count =
            std::min<std::uint64_t>(most, window_.tail.load(std::memory_order_acquire) - begin);
        const std::size_t at = begin & mask;
        const std::size_t untilWrap = std::min<std::size_t>(count, mask + 1 - at);
        std::memcpy(out, window_.ring() + at, untilWrap * sizeof *out);
        std::memcpy(out + untilWrap, window_.ring(), (count - untilWrap) * sizeof *out);
        copied(); // before the next load, which tells whether the copy is good
        if (window_.clearTo.load(std::memory_order_relaxed) > begin)
            continue; // perhaps overwritten meanwhile
        place_.position.store(begin + count, std::memory_order_release);
        return count;
    }
}

void RemoteQueue::await(std::size_t wanted, std::chrono::nanoseconds limit) noexcept {
    const auto isThere = [&] { return holds(wanted); };
    if (wordsKeepComing_ && comesSoon(isThere)) return;
    const auto begin = SteadyClock::now();
    place_.isAsleep.store(1, std::memory_order_seq_cst);
    const auto tail = static_cast<std::uint32_t>(window_.tail.load(std::memory_order_seq_cst));
    if (!holds(wanted)) sleepOn(window_.bell(), tail, limit);
    place_.isAsleep.store(0, std::memory_order_relaxed);
    wordsKeepComing_ = SteadyClock::now() - begin < soon + wakeTime;
}

RemoteBoard::RemoteBoard(MappedMemory page, MappedMemory channel, ServerWatch& server)
    : page_(std::move(page)),
      channel_(std::move(channel)), transmitters_{RemoteTransmitter(this->channel().rings[0], server),
                                                  RemoteTransmitter(this->channel().rings[1], server),
                                                  RemoteTransmitter(this->channel().rings[2], server),
                                                  RemoteTransmitter(this->channel().rings[3], server)} {
    for (unsigned port = 0; port < maxPorts; ++port)
        for (unsigned kind = 0; kind < queuesPerPort; ++kind)
            if (const auto* const window = this->page().window(port, kind))
                queues_[port][kind].emplace(*window, this->channel().readers[port][kind]);
}

bool RemoteBoard::read(std::uint32_t address, std::uint64_t& value) const noexcept {
    const bool isFlag = isRegister(address, Register::GigeTxTransferActive);
    if ((!isFlag && !isRegister(address, Register::GigeRecvErrCnt)) || !takes(address) || !page().isPlain())
        return false;
    const unsigned port = portOf(address);
    const PortPage& place = page().port[port];
    if (isFlag)
        value = transmitters_[port].isBusy(lineMbit(port), place.transmitter.busyUntil) ? 1 : 0;
    else
        value = place.receiveErrors.value();
    return true;
}

RemoteQueue* RemoteBoard::queue(unsigned number) noexcept {
    const unsigned port = number % firstActionQueue, kind = number / firstActionQueue;
    if (port >= maxPorts || kind >= queuesPerPort || !queues_[port][kind]) return nullptr;
    return &*queues_[port][kind];
}

bool RemoteBoard::isPlayed(unsigned queue) const noexcept {
    return queue < maxPorts && page().port[queue].isPlayed.load(std::memory_order_relaxed) != 0;
}

bool RemoteBoard::drain(std::chrono::milliseconds limit) const noexcept {
    return std::ranges::all_of(transmitters_, [limit](const auto& one) { return one.drain(limit); });
}

void RemoteBoard::forgetClaims(void* handle) noexcept {
    for (auto& port : queues_)
        for (auto& queue : port)
            if (queue && queue->claimant == handle) queue->claimant = nullptr;
}

} // namespace orvo::sim
