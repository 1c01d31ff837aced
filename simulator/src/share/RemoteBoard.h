// SPDX-License-Identifier: MIT
// A server's board as far as a program reaches it through shared memory.
#pragma once

#include "base/MappedMemory.h"
#include "faults/BoardCondition.h"
#include "share/Channel.h"
#include "share/Protocol.h"

#include <array>
#include <atomic>
#include <chrono>
#include <optional>

namespace orvo::sim {

/// Whether it is this register of some port.
constexpr bool isRegister(std::uint32_t address, Register base) noexcept {
    return (address & ~portBits) == static_cast<std::uint32_t>(base);
}

/// Looks whether the server is still there. Any thread.
class ServerWatch {
public:
    virtual bool findGone() noexcept = 0;
    /// The server does nothing any more, which counts as its end.
    virtual void giveUp() noexcept = 0;

protected:
    ~ServerWatch() = default;
};

/// The program's end of a transmit ring. A server that takes no frame from a full ring for as long as
/// `patience` is given up. Threads: the port's sender; `isBusy` and `drain` any.
class RemoteTransmitter {
public:
    RemoteTransmitter(TransmitRing& ring, ServerWatch& server,
                      std::chrono::milliseconds patience = replyLimit) noexcept
        : ring_(ring), server_(server), patience_(patience) {}

    void begin() noexcept {
        TransmitSlot& slot = open();
        slot.empty();
        slot.begins.store(1, std::memory_order_relaxed);
    }
    void append(std::uint64_t unit) noexcept {
        open();
        appendToOpen(unit);
    }
    /// The same where a frame is open; else false.
    bool appendToOpen(std::uint64_t unit) noexcept {
        if (!slot_) return false;
        const auto at = slot_->units.load(std::memory_order_relaxed);
        const auto bytes = static_cast<std::uint16_t>(unit);
        if (at < slot_->bytes.size() / 2)
            std::memcpy(slot_->bytes.data() + std::size_t{2} * at, &bytes, sizeof bytes);
        slot_->units.store(at + 1, std::memory_order_relaxed);
        return true;
    }
    /// The open frame, to which the board appends a check sequence or not, occupies a line of this speed (0:
    /// takes no time) from now on; the server, which does the same, carries it later.
    void occupyLine(unsigned mbit, bool addsFcs) noexcept;
    /// In nanoseconds of the steady clock.
    std::int64_t lineUntil() const noexcept { return lineUntil_.load(std::memory_order_relaxed); }
    /// Whether the line is busy, or the ring full. The server's line is busy until `servedUntil`, perhaps
    /// with another program's frames.
    bool isBusy(unsigned mbit, std::int64_t servedUntil) const noexcept;
    /// Hands the frame over; wakes the server only where it sleeps.
    void complete() noexcept;

    bool isFull() const noexcept { return underway() >= TransmitRing::usable; }
    std::uint32_t underway() const noexcept {
        return ring_.published.load(std::memory_order_relaxed) -
               ring_.consumed.load(std::memory_order_acquire);
    }
    /// Waits until what was handed over before this call has left; false when it does not within `limit`, or
    /// the server is gone.
    bool drain(std::chrono::milliseconds limit) const noexcept;

private:
    TransmitSlot& open() noexcept { return slot_ ? *slot_ : openNext(); }
    TransmitSlot& openNext() noexcept;

    TransmitRing& ring_;
    ServerWatch& server_;
    const std::chrono::milliseconds patience_;
    std::atomic<std::chrono::steady_clock::time_point> fullSince_{}; // while the ring is full
    std::atomic<std::int64_t> lineUntil_{0};
    Line line_{lineUntil_};
    TransmitSlot* slot_ = nullptr; // the open one; null: the next
    TransmitSlot lost_;            // takes what a server that is gone has no room for
};

/// The program's view of a data queue. Threads: the queue's reader.
class RemoteQueue {
public:
    RemoteQueue(const QueueWindow& window, ReaderPlace& place) noexcept : window_(window), place_(place) {}

    std::uint32_t reader() const noexcept { return window_.reader.load(std::memory_order_acquire); }
    bool holds(std::size_t wanted) const noexcept {
        return window_.tail.load(std::memory_order_acquire) >= from() + wanted;
    }
    /// Up to `most` words, as many as there are. Good only if this program is the reader afterwards: words
    /// that another has taken are overwritten.
    std::size_t take(std::uint32_t* out, std::size_t most) noexcept;
    /// Waits for words; may return early. While words keep coming it looks for some microseconds before it
    /// sleeps.
    void await(std::size_t wanted, std::chrono::nanoseconds limit) noexcept;

    /// The handle that claimed it for this program last; null: none, or one opened anew since. Written by
    /// openings and readers.
    std::atomic<void*> claimant{nullptr};

private:
    std::uint64_t from() const noexcept {
        return std::max(place_.position.load(std::memory_order_relaxed),
                        window_.clearTo.load(std::memory_order_acquire));
    }
    const QueueWindow& window_;
    ReaderPlace& place_;
    bool wordsKeepComing_ = true;
};

class RemoteBoard {
public:
    /// `server` outlives it.
    RemoteBoard(MappedMemory page, MappedMemory channel, ServerWatch& server);

    /// The fast path of `write`: a unit of a frame that was begun. False, with nothing done, for all others.
    bool append(std::uint32_t address, std::uint64_t value) noexcept {
        return isRegister(address, Register::GigeWriteData) &&
               transmitters_[portOf(address)].appendToOpen(value);
    }
    /// Carries out a write to a transmit buffer. False, with nothing done, for all others and where the board
    /// does not take it.
    bool write(std::uint32_t address, std::uint64_t value) noexcept {
        if (!takes(address)) return false;
        auto& transmitter = transmitters_[portOf(address)];
        switch (static_cast<Register>(address & ~portBits)) {
        case Register::GigeWriteData:
            return transmitter.append(value), true;
        case Register::GigeBufferReset:
            return transmitter.begin(), true;
        case Register::GigeWriteComplete:
            occupyLine(portOf(address));
            return transmitter.complete(), true;
        default:
            return false;
        }
    }
    /// The busy flag of a transmitter, or GigeRecvErrCnt, which counts the frames that have left this
    /// program's rings. False for all other registers.
    bool read(std::uint32_t address, std::uint64_t& value) const noexcept;

    RemoteQueue* queue(unsigned number) noexcept; ///< null where there is none
    bool isPlain() const noexcept { return page().isPlain(); }
    int clock() const noexcept { return page().clock.load(std::memory_order_relaxed); } ///< an OrvoSimClock
    /// Reading the empty queue has its wire deliver.
    bool isPlayed(unsigned queue) const noexcept;
    /// As RemoteTransmitter, for all ports.
    bool drain(std::chrono::milliseconds limit) const noexcept;
    void forgetClaims(void* handle) noexcept;

private:
    BoardPage& page() const noexcept { return *reinterpret_cast<BoardPage*>(page_.data()); }
    Channel& channel() const noexcept { return *reinterpret_cast<Channel*>(channel_.data()); }
    unsigned lineMbit(unsigned port) const noexcept {
        return page().isPlain() ? page().port[port].lineMbit.load(std::memory_order_relaxed) : 0;
    }
    void occupyLine(unsigned port) noexcept {
        const auto& shown = page().port[port].transmitter;
        transmitters_[port].occupyLine(lineMbit(port),
                                       shown.crcGeneration.load(std::memory_order_relaxed) != 0);
    }
    bool takes(std::uint32_t address) const noexcept {
        constexpr auto refusing =
            static_cast<std::uint32_t>(Trouble::Gone) | static_cast<std::uint32_t>(Trouble::NoApplet);
        return (address & portScope) != 0 &&
               (page().port[portOf(address)].registers & registerBit(address)) != 0 &&
               (page().troubles.load(std::memory_order_relaxed) & refusing) == 0;
    }

    MappedMemory page_; // readable only
    MappedMemory channel_;
    std::array<RemoteTransmitter, maxPorts> transmitters_;
    std::array<std::array<std::optional<RemoteQueue>, queuesPerPort>, maxPorts> queues_;
};

} // namespace orvo::sim
