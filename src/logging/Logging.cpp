// SPDX-License-Identifier: MIT
#include "logging/Logging.h"

#include "hal/SharedLibrary.h"
#include "platform/ReadWriteLock.h"

#include <orvo/tools/logging/Dispatcher.h>

#include <atomic>
#include <map>
#include <new>

namespace orvo::tools::logging {

using templates::platform::ReadWriteLock;
using templates::platform::ReadWriteLockGuard;

struct Logging::D {
    Logger rootLogger{0, highestThreshold};
    LookupLogger lookup = nullptr;
    EmitMessage emit = nullptr;
    std::atomic<const DispatcherDescriptor*> descriptor{nullptr}; // null while no dispatcher is attached
    std::map<std::uint64_t, std::unique_ptr<Logger>> loggers;     // by handle, under `loggersLock`
    std::unique_ptr<hal::SharedLibrary> library;
    ReadWriteLock loggersLock;
    std::atomic<std::uint64_t> levelsWithoutLogger{0}; // levels set for handles that have none
};

namespace {

/// A dispatcher that sets a level during each look-up must not keep `getLogger` busy for ever.
constexpr int maxLookups = 3;

} // namespace

Logging::Logging() : d_(std::make_unique<D>()) {}

Logging::~Logging() {
    {
        // The dispatcher may set levels until the facility has detached.
        const ReadWriteLockGuard guard(&d_->loggersLock, ReadWriteLockGuard::Access::Exclusive);
        d_->loggers.clear();
    }
    leaveDispatcher();
}

void Logging::leaveDispatcher() noexcept {
    if (const auto* descriptor = d_->descriptor.exchange(nullptr)) descriptor->detach(this);
}

Logging::Leaving::~Leaving() {
    if (instance) instance->leaveDispatcher();
}

void Logging::postConstruct() {
    d_->library = hal::loadLibrary("common-logging-dispatcher", nullptr);
    if (!d_->library) return;
    const auto* descriptor = static_cast<const DispatcherDescriptor*>(
        hal::findSymbol(*d_->library, "logging_dispatcher_descriptor"));
    if (!descriptor) {
        d_->library.reset();
        return;
    }
    d_->descriptor = descriptor;
    descriptor->attach(this, dispatcherDetached, setLoggerLevel, &d_->lookup, &d_->emit);
    // Made after everything that the dispatcher made until now, it is destroyed before any of that.
    static const Leaving leaving;
}

Logger* Logging::getLogger(const char* name) {
    D& d = *getInstance()->d_;
    if (!d.descriptor.load() || !d.lookup) return &d.rootLogger;
    for (int lookups = 1;; ++lookups) {
        const auto levelsBefore = d.levelsWithoutLogger.load();
        std::uint64_t handle = 0;
        std::uint32_t threshold = 0;
        d.lookup(name, &handle, &threshold);
        if (handle == 0 && threshold == noMemory) throw std::bad_alloc(); // the dispatcher's
        const ReadWriteLockGuard guard(&d.loggersLock, ReadWriteLockGuard::Access::Exclusive);
        const auto known = d.loggers.find(handle);
        if (known != d.loggers.end()) return known->second.get();
        // A level that came since the look-up was perhaps this logger's, and the answer is out of date.
        if (d.levelsWithoutLogger != levelsBefore && lookups < maxLookups) continue;
        return d.loggers.emplace(handle, std::make_unique<Logger>(handle, threshold)).first->second.get();
    }
}

void Logging::emit(std::uint64_t handle, std::uint32_t level, const char* message, std::uint32_t a,
                   std::uint64_t b) {
    const D& d = *getInstance()->d_;
    if (d.descriptor.load() && d.emit) d.emit(handle, level, message, a, b);
}

void Logging::dispatcherDetached() {
    getInstance()->d_->descriptor = nullptr;
}

void Logging::setLoggerLevel(std::uint64_t handle, std::uint32_t threshold) {
    D& d = *getInstance()->d_;
    const ReadWriteLockGuard guard(&d.loggersLock, ReadWriteLockGuard::Access::Shared);
    const auto logger = d.loggers.find(handle);
    if (logger != d.loggers.end())
        logger->second->setLevel(threshold);
    else
        ++d.levelsWithoutLogger;
}

} // namespace orvo::tools::logging
