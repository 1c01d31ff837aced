// SPDX-License-Identifier: MIT
// The framework's base class of ports: its binary contract, what it answers by itself, and its road of
// events.
#include "gige/OrvoGbePhysicalNetworkInterface.h"
#include "support/Concurrency.h"

#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace orvo::test {
namespace {

using core::Plugin;
using I = core::zume::PhysicalNetworkInterface;

/// The slots, counted from 1, of virtual operations: under the Itanium ABI a pointer to one begins with 1
/// plus its offset in the table.
template <class... Operations> std::vector<std::size_t> slotsOf(Operations... operations) {
    const auto slotOf = [](auto operation) {
        std::size_t offset = 0;
        std::memcpy(&offset, &operation, sizeof offset);
        return (offset - 1) / sizeof(void*) + 1;
    };
    return {slotOf(operations)...};
}

TEST(PhysicalNetworkInterface, OperationsStandInTheAgreedSlots) {
    const auto slots =
        slotsOf(&Plugin::postConstruct, &Plugin::injectDependency, &Plugin::postInjection,
                &Plugin::createInitializationApplicationCommand, &Plugin::createCleanupApplicationCommand,
                &I::logger, &I::receive, &I::addToSendQueue, &I::transmitSendQueue, &I::setup, &I::start,
                &I::stop, &I::waitForTermination, &I::reinitialize, &I::forceReset, &I::startCableDiagnostic,
                &I::enablePowerOverEthernet, &I::getPoeRegister, &I::supportsCustomChecksum,
                &I::isCustomChecksumEnabled, &I::enableCustomChecksum, &I::supportsCrcErrorInjection,
                &I::enablePhyEvents, &I::eventQueue, &I::isLinkUp, &I::getConnectionState, &I::getRxerCounter,
                &I::getIdleErrorCounter, &I::getFaultFlags, &I::triggerDebugOutput, &I::getInfo);
    ASSERT_EQ(slots.size(), 31U);
    for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], i + 3) << "two destructors come first";
    EXPECT_EQ(slotsOf(&I::injectDependency).front(), 4U) << "an override keeps its slot";
}

TEST(PhysicalNetworkInterface, AnswersOfItsOwn) {
    core::zume::OrvoGbePhysicalNetworkInterface port; // its overrides are passed by
    unsigned char poeRegister = 0x5A;
    EXPECT_EQ(port.I::logger(), nullptr);
    EXPECT_EQ(port.I::eventQueue(), nullptr);
    EXPECT_FALSE(port.startCableDiagnostic() || port.getPoeRegister(0, &poeRegister) ||
                 port.I::supportsCustomChecksum() || port.I::isCustomChecksumEnabled() ||
                 port.supportsCrcErrorInjection());
    EXPECT_EQ(poeRegister, 0x5A);
    EXPECT_TRUE(port.isLinkUp());
    EXPECT_EQ(port.getConnectionState(), 0);
    EXPECT_EQ(port.getRxerCounter() + port.getIdleErrorCounter() + port.getFaultFlags(), 0U);
    EXPECT_EQ(port.getInfo("anything"), "");

    port.injectDependency("id", std::string("gige 0"));
    port.injectDependency("Id", std::string("other"));
    port.injectDependency("id", 7);
    port.injectDependency("id", boost::any("text"));
    EXPECT_EQ(port.id(), "gige 0");
}

TEST(PhysicalNetworkInterface, EventQueueHoldsSixtyFourAndDropsWhatAnInterruptionCatches) {
    core::zume::PhysicalNetworkInterfaceEventQueue events;
    events.notifyActionCommandTimeout(1); // not enabled
    events.enabled = true;
    for (unsigned short i = 0; i < 64; ++i) events.notifyActionCommandTimeout(0xFFC0U + i);
    const auto post = inBackground([&] { events.notifyActionCommandTimeout(2); });
    EXPECT_TRUE(isWaiting(post));
    events.queue->interrupt();
    post.wait();
    for (int i = 0; i < 64; ++i) {
        const auto event = events.queue->pop();
        const auto* const timeout = dynamic_cast<core::zume::PniActionCommandTimeout*>(event.get());
        ASSERT_TRUE(timeout);
        EXPECT_EQ(timeout->type, 8U);
        EXPECT_EQ(timeout->count, 0xFFC0 + i);
    }
    EXPECT_THROW(events.queue->pop(), templates::platform::SynchronizedQueueInterruptException);
}

} // namespace
} // namespace orvo::test
