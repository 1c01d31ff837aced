// SPDX-License-Identifier: MIT
// The plug-in's count of its users, and what must be undone when the last one leaves.
#pragma once

#include "platform/SpinLockVariableGuard.h"

#include <pthread.h>

#include <cstdint>
#include <list>

class GuardedSingletonBase;

namespace orvo::core::zume {

/// Exists while the plug-in's use count is above 0. The teardown at the last `endUse` runs the registered
/// de-initialisation functions, newest first, then destroys the registered singletons, newest first.
///
/// Threads: any; every operation but `useCount` is called with the library-init lock held. That lock is
/// re-entrant, so what runs in the teardown may take it again. It is taken after a singleton's own lock,
/// never before it, except through what the teardown calls.
class LibraryInitController {
public:
    using DeinitFunction = void (*)();

    /// Holds the library-init lock for a scope.
    class Lock : public templates::platform::SpinLockVariableGuard {
    public:
        Lock() noexcept
            : SpinLockVariableGuard(&LibraryInitController::lock_, &LibraryInitController::lockOwner_) {}
    };

    /// Raises the use count; at 1 a controller with empty lists comes into being.
    static void beginUse();

    /// Lowers the use count; from 1 to 0 it runs the teardown. Called once for every `beginUse`.
    static void endUse();

    /// Does nothing while there is no controller.
    static void addDeinitFunction(DeinitFunction function);

    /// Does nothing while there is no controller; the singleton then lives until the process ends.
    static void registerSingleton(GuardedSingletonBase* singleton);

    /// The count as it is now, for messages; needs no lock.
    static std::uint32_t useCount() noexcept;

private:
    void tearDown();

    std::list<GuardedSingletonBase*> singletons_; // newest first
    std::list<DeinitFunction> deinitFunctions_;   // newest first

    static std::uint32_t useCount_;
    static LibraryInitController* controller_;
    static int lock_;
    static pthread_t lockOwner_;
};

} // namespace orvo::core::zume
