// SPDX-License-Identifier: MIT
// The common ground of the whole-path tests: the plug-in file, loaded as a host loads it, in virtual time.
#pragma once

#include "support/Pacing.h"

#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>
#include <orvo/sim/orvo_sim.h>
#include <orvo/tools/logging/DispatcherControl.h>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <mutex>
#include <string>
#include <vector>

namespace orvo::test {

using core::zume::EthernetFrame;
using core::zume::PhysicalNetworkInterface;

/// Until a link is up again.
constexpr std::uint64_t negotiationUs = 5'000'000;

/// A frame of `length` bytes that differs from its neighbours in length and from byte to byte.
inline boost::shared_ptr<EthernetFrame> numberedFrame(int length) {
    QByteArray bytes(length, '\0');
    for (int i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * 7 + length);
    return boost::make_shared<EthernetFrame>(bytes);
}

class SystemTest : public testing::Test {
protected:
    SystemTest() {
        orvoSimUseVirtualTime(1);
        for (unsigned port = 0; port < 4; ++port) orvoSimSetWire(0, port, "loopback", nullptr, 0);
        orvoSimAdvanceTime(negotiationUs); // links may come from other wires
        onSleep([](std::chrono::microseconds length) {
            orvoSimAdvanceTime(static_cast<std::uint64_t>(length.count()));
        });
        plugin.init();
        subscription = orvoLogSubscribe(nullptr, 2, takeMessage, this);
    }
    ~SystemTest() override {
        orvoLogUnsubscribe(subscription);
        plugin.deinit();
        onSleep({});
    }

    auto makePort(int portId, const std::string& resetBoard) {
        auto port = boost::dynamic_pointer_cast<PhysicalNetworkInterface>(plugin.create());
        port->injectDependency("id", "port" + std::to_string(portId));
        port->injectDependency("boardId", 0);
        port->injectDependency("portId", portId);
        port->injectDependency("resetBoard", resetBoard);
        return port;
    }

    /// Messages since the last call that contain `text`, without their prefixes.
    std::vector<std::string> takeMessages(const std::string& text = "") {
        const std::lock_guard guard(lock);
        std::vector<std::string> found;
        for (const auto& message : std::exchange(messages, {}))
            if (message.find(text) != std::string::npos)
                found.push_back(message.substr(message.find('|') + 1));
        return found;
    }

    /// A frame of that length arrives as it was sent.
    static void expectCarried(PhysicalNetworkInterface& from, PhysicalNetworkInterface& to, int length) {
        const auto frame = numberedFrame(length);
        const QByteArray bytes = frame->data(); // before a check sequence is appended
        from.addToSendQueue(frame);
        const auto received = to.receive(nullptr);
        ASSERT_TRUE(received) << length;
        EXPECT_EQ(received->data(), bytes) << length;
    }

    static OrvoSimPort simulated(unsigned portId) {
        OrvoSimPort port{};
        EXPECT_EQ(orvoSimReadPort(0, portId, &port), 0);
        return port;
    }

    core::PluginLibrary plugin{ORVO_BUILD_ROOT "/lib64/plugins/liborvo-plugin-zume-phy-gige.so"};

private:
    static int takeMessage(void* context, const char*, std::uint32_t, const char* message) {
        auto* const test = static_cast<SystemTest*>(context);
        const std::lock_guard guard(test->lock);
        test->messages.emplace_back(message);
        return 1; // tests expect the warnings that they make
    }

    std::uint64_t subscription;
    std::mutex lock;
    std::vector<std::string> messages; // under `lock`
};

} // namespace orvo::test
