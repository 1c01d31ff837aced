// SPDX-License-Identifier: MIT
// The contract between a logging facility and the dispatcher library "common-logging-dispatcher", which
// decides what loggers exist, what passes, and where messages go. It uses plain C types and no other shared
// code.
#pragma once

#include <orvo/tools/logging/LogLevel.h>

#include <cstdint>

namespace orvo::tools::logging {

inline constexpr std::uint32_t noMemory = 0xFFFF'FFFF; ///< in an answer to a look-up, see LookupLogger

class Logging; ///< a logging facility; the dispatcher sees only its address

extern "C" {

/// In the facility: the dispatcher is going away. The facility does not call it after this.
using DispatcherDetached = void (*)();

/// In the facility: the logger of this handle gets a new threshold. Ignores unknown handles.
using SetLoggerLevel = void (*)(std::uint64_t handle, std::uint32_t threshold);

/// In the dispatcher: the handle and threshold of a name. The same name always gets the same handle. Handle 0
/// with the threshold `noMemory` means that there was no memory; ask again.
using LookupLogger = void (*)(const char* name, std::uint64_t* handle, std::uint32_t* threshold);

/// In the dispatcher: takes one message. `message` is NUL-terminated and valid during the call only.
/// The last two arguments are always 0.
using EmitMessage = void (*)(std::uint64_t handle, std::uint32_t level, const char* message, std::uint32_t a,
                             std::uint64_t b);

/// The data symbol "logging_dispatcher_descriptor" of a dispatcher library. All entries may be called from
/// any thread; attach fills in the two slots and may call back at once.
struct DispatcherDescriptor {
    void (*attach)(Logging* facility, DispatcherDetached detached, SetLoggerLevel setLevel,
                   LookupLogger* lookup, EmitMessage* emit); ///< connects a facility
    void (*detach)(Logging* facility); ///< after it returns, none of its functions is called
};

} // extern "C"

} // namespace orvo::tools::logging
