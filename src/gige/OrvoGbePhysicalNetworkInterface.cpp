// SPDX-License-Identifier: MIT
// Construction, injection, and access to logger and event queue.
#include "gige/OrvoGbePhysicalNetworkInterface.h"

#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"
#include "logging/Logging.h"
#include "platform/AnyException.h"

#include <atomic>
#include <new>

namespace orvo::core::zume {

using tools::logging::Logger;
using tools::logging::Logging;
using tools::logging::LogLevel;
using tools::logging::LogLine;

namespace {

constexpr const char* loggerName = "orvo.core.zume.OrvoGbePhysicalNetworkInterface";

/// Null when there is no memory for a logger; the next message asks again.
Logger* fetchedOnce(Logger*& logger) noexcept {
    // Two threads that race here store the same pointer.
    std::atomic_ref shared(logger);
    try {
        if (!shared.load(std::memory_order_relaxed))
            shared.store(Logging::getLogger(loggerName), std::memory_order_relaxed);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return shared.load(std::memory_order_relaxed);
}

} // namespace

OrvoGbePhysicalNetworkInterface::D::D() : eventQueue(new PhysicalNetworkInterfaceEventQueue()) {}

OrvoGbePhysicalNetworkInterface::D::~D() {
    close();
}

void OrvoGbePhysicalNetworkInterface::D::close() {
    uiqLeecherThread.reset();
    if (applet) KivUnloadKivFile(applet);
    applet = nullptr;
    if (device) OHalFreeDevice(device);
    device = nullptr;
}

Logger* OrvoGbePhysicalNetworkInterface::D::logger() {
    return fetchedOnce(logger_);
}

LogLine OrvoGbePhysicalNetworkInterface::D::line(LogLevel level) {
    return LogLine(logger(), level);
}

LogLine OrvoGbePhysicalNetworkInterface::D::line(LogLevel level, const std::string& id) {
    return LogLine(logger(), level, id);
}

OrvoGbePhysicalNetworkInterface::OrvoGbePhysicalNetworkInterface() : d(new D()) {}

OrvoGbePhysicalNetworkInterface::~OrvoGbePhysicalNetworkInterface() = default;

void OrvoGbePhysicalNetworkInterface::injectDependency(const std::string& name, const boost::any& value) {
    PhysicalNetworkInterface::injectDependency(name, value);
    if (name == "boardId")
        d->boardId = static_cast<std::uint32_t>(anyCast<int>(value));
    else if (name == "portId")
        d->portId = static_cast<std::uint32_t>(anyCast<int>(value));
    else if (name == "resetBoard" && anyCast<std::string>(value) == "false")
        d->resetBoard = false;
}

Logger* OrvoGbePhysicalNetworkInterface::logger() {
    return fetchedOnce(logger_);
}

boost::shared_ptr<PhysicalNetworkInterfaceEventQueue> OrvoGbePhysicalNetworkInterface::eventQueue() {
    return d->eventQueue;
}

LogLine OrvoGbePhysicalNetworkInterface::detail() {
    return line(LogLevel::Detail);
}

LogLine OrvoGbePhysicalNetworkInterface::information() {
    return line(LogLevel::Information);
}

LogLine OrvoGbePhysicalNetworkInterface::warning() {
    return line(LogLevel::Warning);
}

LogLine OrvoGbePhysicalNetworkInterface::error() {
    return line(LogLevel::Error);
}

LogLine OrvoGbePhysicalNetworkInterface::line(LogLevel level) {
    return LogLine(logger(), level, id());
}

} // namespace orvo::core::zume
