// SPDX-License-Identifier: MIT
// The process-wide logging facility: named loggers over an optional dispatcher library.
#pragma once

#include "platform/GuardedSingleton.h"

#include <orvo/Export.h>
#include <orvo/tools/logging/Logger.h>

#include <cstdint>
#include <memory>

namespace orvo::tools::logging {

/// Created on first use; it then attaches the dispatcher library of the installation if there is one. Without
/// a dispatcher every name gets the root logger, which refuses every message. Threads: any thread may call
/// every operation. The dispatcher may call back at any time while it is attached, also from within its
/// attach entry.
class ORVO_EXPORT Logging : public GuardedSingleton<Logging> {
public:
    ~Logging() override;

    /// The logger of a name, owned by the facility and valid until the plug-in's last de-initialisation.
    /// Costs a call into the dispatcher and an exclusive lock: keep the pointer.
    /// Errors: std::bad_alloc, also when the dispatcher has no memory; ask again for the next message.
    static Logger* getLogger(const char* name);

    /// Passes a message to the dispatcher with all arguments unchanged; drops it while none is attached.
    static void emit(std::uint64_t handle, std::uint32_t level, const char* message, std::uint32_t a,
                     std::uint64_t b);

    void postConstruct() override;

private:
    friend class GuardedSingleton<Logging>;
    struct D;

    Logging();

    /// Detaches from the dispatcher, if one is attached. It makes no more callbacks after that.
    ORVO_INTERNAL void leaveDispatcher() noexcept;

    /// Leaves the dispatcher when the library is unloaded or the process ends, in case the host did not
    /// de-initialise the plug-in. The facility itself stays, because threads of an ending process may still
    /// log.
    struct ORVO_INTERNAL Leaving {
        ~Leaving();
    };

    // Callbacks for the dispatcher.
    static void dispatcherDetached();
    static void setLoggerLevel(std::uint64_t handle, std::uint32_t threshold);

    std::unique_ptr<D> d_;
};

} // namespace orvo::tools::logging
