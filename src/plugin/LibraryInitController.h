// SPDX-License-Identifier: MIT
// Counts the plug-in's users and undoes its process-wide state when the last one leaves.
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
/// Threads: any. Hold the library-init lock for every operation but `useCount`. The lock is re-entrant, so
/// functions that the teardown calls may take it again. Take it after a singleton's own lock, never before;
/// only functions that the teardown calls do otherwise.
class LibraryInitController {
public:
    using DeinitFunction = void (*)();

    /// Holds the library-init lock for a scope.
    class Lock : public templates::platform::SpinLockVariableGuard {
    public:
        Lock() noexcept
            : SpinLockVariableGuard(&LibraryInitController::lock_, &LibraryInitController::lockOwner_) {}
    };

    /// Raises the use count; from 0 to 1 it creates a controller with empty lists.
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
