// SPDX-License-Identifier: MIT
// One GigE port: its registers, its data queues, its PHY and what it is cabled with.
#pragma once

#include "board/BoardPage.h"
#include "firmware/RegisterTable.h"
#include "mac/DataQueue.h"
#include "mac/PacedSink.h"
#include "mac/PortGate.h"
#include "mac/Receiver.h"
#include "mac/Transmitter.h"
#include "phy/Phy.h"
#include "wire/Wire.h"

#include <orvo/sim/orvo_sim.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace orvo::sim {

/// Guards the slow state of all boards: PHYs, reset lines, enables and wires. One mutex for all, since a
/// cable joins two boards. No frame takes it.
extern std::mutex benchMutex;

/// The cabling of a port; guarded by the bench mutex.
struct PortCabling {
    WireSpec spec{WireSpec::Kind::None};
    class Port* far = nullptr; ///< the port at the other end of a cable; null for other wires
    SimTime pluggedAt = always;
    OrvoSimPartner partner = OrvoSimPartner1000;
    bool isPlugged = true; ///< false while somebody has pulled the plug; the wire stays
};

class FaultySink;
class PhyFaults;
class WireFaults;

class Port final : private LinkListener {
public:
    struct Setup {
        PortPlace place;
        std::uint32_t registers = 0; ///< register bits that the firmware has for this port
        std::size_t receiveQueueWords = 0;
        std::size_t actionQueueWords = 0;
        PortPage* page = nullptr; ///< outlives the port
        std::array<QueueWindow*, queuesPerPort> windows{};
    };
    explicit Port(const Setup& setup);
    ~Port();

    PortPlace place() const noexcept { return place_; }

    /// Accesses of the host to a port register. False when the firmware lacks it.
    bool writeRegister(std::uint32_t address, std::uint64_t value) noexcept;
    bool readRegister(std::uint32_t address, std::uint64_t& value) const noexcept;
    /// The write of GigeWriteData.
    bool appendToFrame(std::uint64_t unit) noexcept {
        if (!has(static_cast<std::uint32_t>(Register::GigeWriteData))) return false;
        transmitter_.append(unit);
        return true;
    }

    /// A frame that another program wrote: what it appended to the transmit buffer, emptied before if it
    /// `begins` one. One thread at a time.
    Transmitter& transmitter() noexcept { return transmitter_; }

    DataQueue& receiveQueue() noexcept { return receiveQueue_; }
    DataQueue& actionQueue() noexcept { return actionQueue_; }
    Receiver& receiver() noexcept { return receiver_; }
    TapPlace& tapPlace() noexcept { return tap_; }
    /// Where wires deliver: the receiver, or the faults in front of it.
    FrameSink& sink() noexcept;
    /// The same for wires that end outside the simulation.
    FrameSink& outsideSink() noexcept { return outside_; }
    /// Sets the counters of frames and bytes, except those of the receive queue.
    void presetCounters(std::uint64_t value) noexcept;

    /// Has a wire that is played on demand deliver its next frames. The receive thread.
    void playWire() noexcept;

    // Under the bench mutex.
    Phy& phy() noexcept { return phy_; }
    PortCabling& cabling() noexcept { return cabling_; }
    /// Unplugs the present wire, which completes its files, and plugs in this one (null: none).
    void setWire(std::unique_ptr<Wire> wire) noexcept;
    /// Puts these faults, which must outlive the port, between it and the wires that are plugged in from now
    /// on. Call it while no wire with faults is plugged in.
    void setFaults(WireFaults& sent, WireFaults& received, PhyFaults& phy);
    /// Whether these faults change what is between the port and its wire.
    bool changesWire(const WireFaults& sent, const WireFaults& received) const noexcept;
    /// Lets frames go on that faults hold back.
    void releaseFrames() noexcept;
    /// Whether there is a wire, and its far end is up.
    bool hasCarrier() const noexcept { return wire_ && wire_->hasCarrier(); }
    bool flushWire() noexcept { return !wire_ || wire_->flush(); }
    /// Waits, but not longer than this, until frames that left the transmitter have left the wire too, or are
    /// counted.
    void settleWire(std::chrono::milliseconds limit) const noexcept {
        if (wire_) wire_->settle(limit);
    }
    /// Opens or closes the gate as the PHY says.
    void updateGate() noexcept {
        gate_.setPassesFrom(phy_.passesFramesFrom());
        updateLineRate();
    }
    /// Whether frames take the time on the wire that the link's speed says.
    void setLineRate(bool on) noexcept {
        hasLineRate_ = on;
        updateLineRate();
    }
    void setBoardEnables(bool transmitters, bool receivers, bool outOfReset) noexcept;
    void setTransmitterStart(bool on) noexcept;
    void report(OrvoSimPort& out, SimTime now) noexcept;

private:
    bool has(std::uint32_t address) const noexcept { return (registers_ & registerBit(address)) != 0; }
    std::uint64_t content(Register of) const noexcept;
    bool farEndChanged() noexcept override;
    void framesLeft(std::uint64_t frames, std::uint64_t bytes) noexcept override {
        transmitter_.countPosted(frames, bytes);
    }
    void framesDidNotLeave(std::uint64_t frames) noexcept override { transmitter_.countUnsent(frames); }
    void updateEnables() noexcept;
    void updateLineRate() noexcept;

    const PortPlace place_;
    const std::uint32_t registers_;
    PortPage& page_;

    PortGate gate_;
    TapPlace tap_;
    Transmitter transmitter_{gate_, page_.transmitter, tap_};
    DataQueue receiveQueue_;
    DataQueue actionQueue_;
    Receiver receiver_{gate_, receiveQueue_, page_.receiveErrors, tap_};
    PacedSink<Port> outside_{*this};

    std::atomic<bool> transmitterStart_{false};
    std::atomic<std::uint64_t> actionCommandConfig_{0};
    SharedCounter otherWrites_;   // writes of registers outside the transmit buffer
    bool boardTransmits_ = false; // these three under the bench mutex
    bool boardReceives_ = false;
    bool outOfReset_ = false;
    bool hasLineRate_ = false; // the same

    Phy phy_;
    PortCabling cabling_;
    std::mutex playing_;         // held while the receive thread plays the wire, so that it stays
    std::unique_ptr<Wire> wire_; // changed under both mutexes
    WireFaults* sentFaults_ = nullptr;
    std::unique_ptr<FaultySink> faultySink_;
};

} // namespace orvo::sim
