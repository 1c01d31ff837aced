// SPDX-License-Identifier: MIT
// A wire to a network interface of this machine, in real time.
#pragma once

#include "base/Descriptor.h"
#include "wire/FrameDevice.h"
#include "wire/InterfaceWatch.h"

#include <atomic>
#include <memory>
#include <thread>

namespace orvo::sim {

/// A thread of its own, in the network namespace of the one that plugs the wire, hands arriving frames to the
/// port, and follows the interface: through times when it is down, and to another that takes its name. The
/// destructor ends the thread, then lets go of the interface.
class LiveWire final : public Wire {
public:
    /// `device` must belong to this interface. Throws WireError.
    LiveWire(const std::string& interface, std::unique_ptr<FrameDevice> device, FrameSink& port);
    ~LiveWire() override;

    void plugged(LinkListener& listener) noexcept override;
    bool transmit(WireBytes frame) noexcept override;
    bool transmitUnsealed(WireBytes content) noexcept override;
    /// True while the interface is up and has a carrier itself.
    bool hasCarrier() const noexcept override { return state_.load() == InterfaceState::Up; }

private:
    void run() noexcept;
    int patienceMs() const noexcept;
    void lookAtInterface() noexcept;
    void report(InterfaceState now) const noexcept;
    int sendPatiently(WireBytes content) noexcept;
    void reportUnsent(std::size_t bytes, int error) noexcept;

    FrameSink& port_;
    InterfaceWatch watch_;
    const std::unique_ptr<FrameDevice> device_;
    std::atomic<InterfaceState> state_{InterfaceState::Absent}; // the wire's thread writes it
    bool saidUnsent_ = false;                                   // the sender's thread's

    // Used by the wire's thread only, from `plugged` on.
    int attached_ = 0; // index of the interface; 0: not attached
    LinkListener* listener_ = nullptr;
    bool toldCarrier_ = false;

    const Descriptor end_; // event that ends the thread
    std::thread thread_;
};

} // namespace orvo::sim
