// The binary contract of the framework's base classes: their slots, and what they answer by themselves.
#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace orvo::test {
namespace {

using core::Plugin;
using core::zume::EthernetFrame;
using core::zume::PhysicalNetworkInterface;

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
    using I = PhysicalNetworkInterface;
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

/// Overrides only what it must.
class Port : public PhysicalNetworkInterface {
public:
    boost::shared_ptr<EthernetFrame> receive(bool*) override { return {}; }
    void addToSendQueue(boost::shared_ptr<EthernetFrame>) override {}
    void transmitSendQueue() override {}
    bool setup() override { return true; }
    void start() override {}
    void stop() override {}
    void waitForTermination() override {}
    bool reinitialize(core::zume::ReinitializationPhase) override { return true; }
    void forceReset() override {}
};

TEST(PhysicalNetworkInterface, AnswersOfItsOwn) {
    Port port;
    port.postConstruct();
    port.postInjection();
    EXPECT_FALSE(port.createInitializationApplicationCommand());
    EXPECT_FALSE(port.createCleanupApplicationCommand());
    EXPECT_EQ(port.logger(), nullptr);
    EXPECT_FALSE(port.startCableDiagnostic());
    port.enablePowerOverEthernet(true);
    unsigned char poeRegister = 0x5A;
    EXPECT_FALSE(port.getPoeRegister(0, &poeRegister));
    EXPECT_EQ(poeRegister, 0x5A);
    port.enableCustomChecksum(true);
    EXPECT_FALSE(port.supportsCustomChecksum());
    EXPECT_FALSE(port.isCustomChecksumEnabled());
    EXPECT_FALSE(port.supportsCrcErrorInjection());
    port.enablePhyEvents();
    EXPECT_FALSE(port.eventQueue());
    EXPECT_TRUE(port.isLinkUp());
    EXPECT_EQ(port.getConnectionState(), 0);
    EXPECT_EQ(port.getRxerCounter(), 0U);
    EXPECT_EQ(port.getIdleErrorCounter(), 0U);
    EXPECT_EQ(port.getFaultFlags(), 0U);
    port.triggerDebugOutput();
    EXPECT_EQ(port.getInfo("anything"), "");
    EXPECT_EQ(core::zume::ReleaseDevice, 0);
    EXPECT_EQ(core::zume::ReopenDevice, 1);
}

TEST(PhysicalNetworkInterface, KeepsItsIdAndTakesEveryOtherName) {
    Port port;
    EXPECT_EQ(port.id(), "");
    port.injectDependency("id", std::string("gige 0"));
    for (const auto& other : {boost::any(), boost::any(7), boost::any("text")}) {
        port.injectDependency("id", other);
        port.injectDependency("portId", other);
        port.injectDependency("", other);
    }
    port.injectDependency("Id", std::string("other"));
    EXPECT_EQ(port.id(), "gige 0");
    port.injectDependency("id", std::string());
    EXPECT_EQ(port.id(), "");
}

} // namespace
} // namespace orvo::test
