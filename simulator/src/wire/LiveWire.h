// SPDX-License-Identifier: MIT
// A wire to a network interface of this machine, in real time.
#pragma once

#include "base/Descriptor.h"
#include "wire/BurstSender.h"
#include "wire/FrameDevice.h"
#include "wire/InterfaceWatch.h"

#include <atomic>
#include <memory>
#include <thread>

namespace orvo::sim {

/// A thread of its own, in the network namespace of the one that plugs the wire, hands arriving frames to the
/// port, and follows the interface: through times when it is down, and to another that takes its name. The
/// destructor ends the thread, then lets go of the interface. Frames of a burst are sent by another thread.
class LiveWire final : public Wire {
public:
    /// `device` must belong to this interface. Throws WireError.
    LiveWire(const std::string& interface, std::unique_ptr<FrameDevice> device, FrameSink& port);
    ~LiveWire() override;

    void plugged(LinkListener& listener) noexcept override;
    bool transmit(WireBytes frame) noexcept override;
    bool transmitUnsealed(WireBytes content) noexcept override;
    bool post(WireBytes content) noexcept override { return bursts_ && bursts_->post(content); }
    void settle(std::chrono::milliseconds limit) const noexcept override {
        if (bursts_) bursts_->settle(limit);
    }
    /// True while the interface is up and has a carrier itself.
    bool hasCarrier() const noexcept override { return state_.load() == InterfaceState::Up; }

private:
    void run() noexcept;
    int patienceMs() const noexcept;
    void lookAtInterface() noexcept;
    void report(InterfaceState now) const noexcept;
    void startBursts() noexcept;
    bool send(const offload::OffloadHeader& offload, WireBytes content, bool isPatient) noexcept;
    int sendPatiently(const offload::OffloadHeader& offload, WireBytes content) noexcept;
    void reportUnsent(std::size_t bytes, int error) noexcept;

    FrameSink& port_;
    InterfaceWatch watch_;
    const std::unique_ptr<FrameDevice> device_;
    std::atomic<InterfaceState> state_{InterfaceState::Absent}; // the wire's thread writes it
    std::atomic<bool> saidUnsent_{false};
    std::size_t mtu_ = 0; // until `plugged` the constructor's, then the wire's thread's

    // Used by the wire's thread only, from `plugged` on.
    int attached_ = 0; // index of the interface; 0: not attached
    LinkListener* listener_ = nullptr;
    bool toldCarrier_ = false;

    const Descriptor end_; // event that ends the thread
    std::thread thread_;
    // Null where frames go singly. Sends what is left once the wire's thread, which tells it the MTU, has
    // ended.
    std::unique_ptr<BurstSender> bursts_;
};

} // namespace orvo::sim
