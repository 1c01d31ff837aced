// SPDX-License-Identifier: MIT
// The process-wide logging facility: named loggers over an optional dispatcher library.
#pragma once

#include "platform/GuardedSingleton.h"

#include <orvo/Export.h>
#include <orvo/tools/logging/Logger.h>

#include <cstdint>
#include <memory>

namespace orvo::tools::logging {

/// Made on first use, when it attaches the dispatcher library of the installation if there is one. Without a
/// dispatcher every name gets the root logger, whose threshold 7 refuses every message.
/// Threads: every operation may be called from any thread; the dispatcher may call back at any time while
/// attached, from within its attach entry too.
class ORVO_EXPORT Logging : public GuardedSingleton<Logging> {
public:
    ~Logging() override;

    /// The logger of a name, owned by the facility and valid until the plug-in's last de-initialisation.
    /// Costs a call into the dispatcher and an exclusive lock: keep the pointer.
    /// Errors: std::bad_alloc, also when the dispatcher has no memory; ask again for the next message.
    static Logger* getLogger(const char* name);

    /// Hands a message to the dispatcher, all arguments unchanged; dropped while none is attached.
    static void emit(std::uint64_t handle, std::uint32_t level, const char* message, std::uint32_t a,
                     std::uint64_t b);

    void postConstruct() override;

private:
    friend class GuardedSingleton<Logging>;
    struct D;

    Logging();

    /// Tells the dispatcher, if there is one, that this facility goes; then it calls back no more.
    ORVO_INTERNAL void leaveDispatcher() noexcept;

    /// Runs when the library is unloaded or the process ends. A host that did not de-initialise the plug-in
    /// leaves the facility attached, and the dispatcher would call into code that is gone. The facility
    /// itself stays, because threads of an ending process may still log.
    [[gnu::destructor]] ORVO_INTERNAL static void leaveDispatcherAtUnload() noexcept;

    // Handed to the dispatcher.
    static void dispatcherDetached();
    static void setLoggerLevel(std::uint64_t handle, std::uint32_t threshold);

    std::unique_ptr<D> d_;
};

} // namespace orvo::tools::logging
