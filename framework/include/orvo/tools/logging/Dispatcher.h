// SPDX-License-Identifier: MIT
// The contract between a logging facility and the dispatcher library "common-logging-dispatcher", which
// decides what loggers exist, what passes, and where messages end up. Plain C types: the two sides share
// nothing else.
#pragma once

#include <orvo/tools/logging/LogLevel.h>

#include <cstdint>

namespace orvo::tools::logging {

class Logging; ///< a logging facility; opaque to the dispatcher, which hands it back in detach

extern "C" {

/// Facility's: the dispatcher is going away; afterwards the facility calls it no more.
using DispatcherDetached = void (*)();

/// Facility's: the logger of this handle gets a new threshold. Handles that the facility does not know are
/// ignored.
using SetLoggerLevel = void (*)(std::uint64_t handle, std::uint32_t threshold);

/// Dispatcher's: the handle (not 0) and threshold (0 to highestThreshold) of a name. The same name always
/// gets the same handle. Handle 0 with the highest threshold says that there was no memory: ask again.
using LookupLogger = void (*)(const char* name, std::uint64_t* handle, std::uint32_t* threshold);

/// Dispatcher's: takes one message. `message` is NUL-terminated and valid during the call only.
/// The last two arguments are always 0.
using EmitMessage = void (*)(std::uint64_t handle, std::uint32_t level, const char* message, std::uint32_t a,
                             std::uint64_t b);

/// The data symbol "logging_dispatcher_descriptor" of a dispatcher library. All entries may be called from
/// any thread; attach fills in the two slots and may call back at once.
struct DispatcherDescriptor {
    void (*attach)(Logging* facility, DispatcherDetached detached, SetLoggerLevel setLevel,
                   LookupLogger* lookup, EmitMessage* emit); ///< a facility comes
    void (*detach)(Logging* facility); ///< and goes: none of its functions is called any more
};

} // extern "C"

} // namespace orvo::tools::logging
