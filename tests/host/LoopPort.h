// SPDX-License-Identifier: MIT
// A fake port, for the parts that use one.
#pragma once

#include "frames/FramePreparation.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace orvo::host::testing_support {

/// A port on a loop whose receive queue holds as much as a board's; `wire` may swallow frames.
class LoopPort : public core::zume::PhysicalNetworkInterface {
public:
    std::function<bool()> wire = [] { return true; };
    std::size_t overflows = 0;

    boost::shared_ptr<core::zume::EthernetFrame> receive(bool*) override {
        std::unique_lock lock(lock_);
        if (!arrived_.wait_for(lock, std::chrono::milliseconds(20), [this] { return !queue_.empty(); }))
            return {};
        const auto bytes = queue_.front();
        queue_.pop_front();
        words_ -= queueWords(static_cast<std::size_t>(bytes.size()));
        return boost::shared_ptr<core::zume::EthernetFrame>(new core::zume::EthernetFrame(bytes));
    }
    void addToSendQueue(boost::shared_ptr<core::zume::EthernetFrame> frame) override {
        if (!wire()) return;
        const auto bytes = frame->data();
        const std::lock_guard lock(lock_);
        words_ += queueWords(static_cast<std::size_t>(bytes.size()));
        if (words_ > 262'144) ++overflows;
        queue_.push_back(bytes);
        arrived_.notify_one();
    }
    void transmitSendQueue() override {}
    bool setup() override { return true; }
    void start() override {}
    void stop() override {}
    void waitForTermination() override {}
    bool reinitialize(core::zume::ReinitializationPhase) override { return true; }
    void forceReset() override {}

private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<QByteArray> queue_;
    std::size_t words_ = 0;
};

} // namespace orvo::host::testing_support
