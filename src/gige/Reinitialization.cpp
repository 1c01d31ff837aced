// SPDX-License-Identifier: MIT
// Releases the device and opens it again while the framework's threads go on calling.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/PortRegisters.h"
#include "hal/OrvoHal.h"

namespace orvo::core::zume {
namespace {

/// Longer than anybody stays in the hardware access layer at a time: a forced reset with a PHY that does not
/// answer takes 6.3 s, a report 4 s, a send 1 s.
constexpr auto releaseLimit = std::chrono::milliseconds{10'000};

} // namespace

bool OrvoGbePhysicalNetworkInterface::reinitialize(ReinitializationPhase phase) {
    logger(); // their dispatcher is asked for both while no lock is held
    d->logger();
    const tools::logging::HeldLines lines; // sent after the lock is free
    const std::lock_guard guard(d->reinitializing);
    if (phase == ReleaseDevice) return releaseDevice();
    if (phase == ReopenDevice) return reopenDevice();
    return true;
}

bool OrvoGbePhysicalNetworkInterface::releaseDevice() {
    if (!closeGate()) return false;
    if (d->device) OHalFreeDevice(d->device);
    d->device = nullptr;
    if (auto text = detail()) text << "': Device successfully deinitialized.";
    return true;
}

bool OrvoGbePhysicalNetworkInterface::closeGate() {
    if (d->gate.isClosed() || d->gate.close(releaseLimit)) return true;
    if (auto text = error()) text << "': Device is in use, it was not released.";
    return false;
}

bool OrvoGbePhysicalNetworkInterface::reopenDevice() {
    if (d->device) { // a second opening would lose this handle
        if (auto text = error()) text << "': Device was not released before, reinitialization refused.";
        return false;
    }
    if (!closeGate()) return false;
    if (!d->openPhysicalDevice(id())) {
        if (auto text = error()) text << "': Device reinitialization failed.";
        return false;
    }
    OHalDataQueueClear(d->device, d->portId); // what the board queued meanwhile
    resolvePortRegisters(*d);
    d->gate.open();
    if (auto text = detail()) text << "': Device successfully reinitialized.";
    return true;
}

} // namespace orvo::core::zume
