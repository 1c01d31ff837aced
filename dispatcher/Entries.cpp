// SPDX-License-Identifier: MIT
// The dispatcher library's exported entries, for logging facilities and for the host program.
#include "Dispatcher.h"

#include <orvo/Export.h>

#include <exception>

namespace {

using namespace orvo::tools::logging;
using orvo::dispatcher::Dispatcher;

// Never destroyed, because threads may still log while the process ends.
Dispatcher& dispatcher() {
    static Dispatcher& instance = *new Dispatcher(orvo::dispatcher::settingsFromEnvironment());
    return instance;
}

// Runs when the process ends and detaches the facilities that are still attached.
struct DetachAtEnd {
    ~DetachAtEnd() { dispatcher().detachAll(); }
};

// No exception may reach a facility, which is foreign code. Only lack of memory can throw one.
template <class Operation> void contained(Operation operation) noexcept {
    try {
        operation();
    } catch (const std::exception&) {
    }
}

extern "C" {

void lookupLogger(const char* name, std::uint64_t* handle, std::uint32_t* threshold) {
    *handle = 0; // the answer if memory runs out
    *threshold = noMemory;
    contained([&] {
        const auto logger = dispatcher().lookup(name);
        *handle = logger.handle;
        *threshold = logger.threshold;
    });
}

void emitMessage(std::uint64_t handle, std::uint32_t level, const char* message, std::uint32_t,
                 std::uint64_t) {
    contained([&] { dispatcher().emit(handle, level, message); });
}

void attachFacility(Logging* facility, DispatcherDetached detached, SetLoggerLevel setLevel,
                    LookupLogger* lookup, EmitMessage* emit) {
    contained([&] {
        dispatcher().attach(facility, detached, setLevel);
        static const DetachAtEnd detachAtEnd;
        *lookup = lookupLogger; // both stay null if memory ran out; the facility then logs nothing
        *emit = emitMessage;
    });
}

void detachFacility(Logging* facility) {
    contained([&] { dispatcher().detach(facility); });
}

} // extern "C"
} // namespace

extern "C" {

ORVO_EXPORT extern const DispatcherDescriptor logging_dispatcher_descriptor;
const DispatcherDescriptor logging_dispatcher_descriptor = {attachFacility, detachFacility};

uint64_t orvoLogSubscribe(const char* loggerName, uint32_t level, OrvoLogCallback callback, void* context) {
    uint64_t id = 0;
    contained([&] { id = dispatcher().subscribe(loggerName, level, callback, context); });
    return id;
}

int orvoLogUnsubscribe(uint64_t id) {
    bool ended = false;
    contained([&] { ended = dispatcher().unsubscribe(id); });
    return ended ? 0 : -1;
}

} // extern "C"
