// SPDX-License-Identifier: MIT
// The smallest plug-in with a network port: one without hardware, which receives one frame of its own, and
// after that every frame that it is told to send. Replace what the functions of SkeletonPort do, and the
// texts of the descriptor.
#include <orvo/core/Plugin.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <boost/make_shared.hpp>

#include <chrono>
#include <deque>
#include <mutex>
#include <thread>

namespace {

using orvo::core::zume::EthernetFrame;
using orvo::core::zume::ReinitializationPhase;

class SkeletonPort : public orvo::core::zume::PhysicalNetworkInterface {
public:
    bool setup() override { return true; }
    void start() override { addToSendQueue(boost::make_shared<EthernetFrame>(QByteArray(60, '\0'))); }
    void stop() override {}
    void waitForTermination() override {}

    /// Waits a little where there is no frame, so that a host that asks again and again does not burn a
    /// processor.
    boost::shared_ptr<EthernetFrame> receive(bool* received) override {
        auto frame = takeFrame();
        if (!frame) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (received) *received = frame != nullptr;
        return frame;
    }

    /// Sender and receiver are different threads.
    void addToSendQueue(boost::shared_ptr<EthernetFrame> frame) override {
        const std::lock_guard lock(mutex_);
        frames_.push_back(frame);
    }
    void transmitSendQueue() override {}

    bool reinitialize(ReinitializationPhase) override { return true; }
    void forceReset() override {}

private:
    boost::shared_ptr<EthernetFrame> takeFrame() {
        const std::lock_guard lock(mutex_);
        if (frames_.empty()) return {};
        auto frame = frames_.front();
        frames_.pop_front();
        return frame;
    }

    std::mutex mutex_;
    std::deque<boost::shared_ptr<EthernetFrame>> frames_; // under mutex_
};

void initialise() {
    OrvoCoreInit();
    OrvoZumeInit();
}

void deinitialise() {
    OrvoZumeDeinit();
    OrvoCoreDeinit();
}

} // namespace

// The four symbols that make a library a plug-in.
extern "C" {
extern ORVO_EXPORT const std::int32_t plugin_count;
extern ORVO_EXPORT const orvo::core::PluginDescriptor plugin_descriptor[1];
extern ORVO_EXPORT const orvo::core::PluginEntryFunction plugin_init;
extern ORVO_EXPORT const orvo::core::PluginEntryFunction plugin_deinit;

const std::int32_t plugin_count = 1;
const orvo::core::PluginDescriptor plugin_descriptor[1] = {
    {orvo::core::Plugin::createPluginPtr<SkeletonPort>, orvo::core::Plugin::destroyPluginPtr<SkeletonPort>,
     "skeleton", "Network port without hardware", "Nobody", "1.1.2026", 1, 70010, 0}};
const orvo::core::PluginEntryFunction plugin_init = initialise;
const orvo::core::PluginEntryFunction plugin_deinit = deinitialise;
}
