// SPDX-License-Identifier: MIT
// What a port answers to operations that its hardware does not have; its events and their queue.
#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>

namespace orvo::core::zume {

PhysicalNetworkInterfaceEvent::~PhysicalNetworkInterfaceEvent() = default;

PniActionCommandTimeout::~PniActionCommandTimeout() = default;

PhysicalNetworkInterfaceEventQueue::PhysicalNetworkInterfaceEventQueue() : queue(new Queue(capacity)) {}

PhysicalNetworkInterfaceEventQueue::~PhysicalNetworkInterfaceEventQueue() = default;

PhysicalNetworkInterface::PhysicalNetworkInterface() = default;
PhysicalNetworkInterface::~PhysicalNetworkInterface() = default;

const std::string& PhysicalNetworkInterface::id() const {
    return id_;
}

void PhysicalNetworkInterface::injectDependency(const std::string& name, const boost::any& value) {
    if (name != "id") return;
    if (const auto* text = boost::any_cast<std::string>(&value)) id_ = *text;
}

tools::logging::Logger* PhysicalNetworkInterface::logger() {
    return nullptr;
}

bool PhysicalNetworkInterface::startCableDiagnostic() {
    return false;
}

void PhysicalNetworkInterface::enablePowerOverEthernet(bool) {}

bool PhysicalNetworkInterface::getPoeRegister(int, unsigned char*) {
    return false;
}

bool PhysicalNetworkInterface::supportsCustomChecksum() const {
    return false;
}

bool PhysicalNetworkInterface::isCustomChecksumEnabled() const {
    return false;
}

void PhysicalNetworkInterface::enableCustomChecksum(bool) {}

bool PhysicalNetworkInterface::supportsCrcErrorInjection() const {
    return false;
}

void PhysicalNetworkInterface::enablePhyEvents() {}

boost::shared_ptr<PhysicalNetworkInterfaceEventQueue> PhysicalNetworkInterface::eventQueue() {
    return {};
}

bool PhysicalNetworkInterface::isLinkUp() {
    return true;
}

int PhysicalNetworkInterface::getConnectionState() {
    return 0;
}

std::uint64_t PhysicalNetworkInterface::getRxerCounter() {
    return 0;
}

std::uint64_t PhysicalNetworkInterface::getIdleErrorCounter() {
    return 0;
}

unsigned int PhysicalNetworkInterface::getFaultFlags() {
    return 0;
}

void PhysicalNetworkInterface::triggerDebugOutput() {}

std::string PhysicalNetworkInterface::getInfo(const std::string&) const {
    return {};
}

} // namespace orvo::core::zume
