// SPDX-License-Identifier: MIT
// Process-wide objects that are made on first use and destroyed in order when the plug-in is de-initialised.
#pragma once

#include "platform/SpinLockVariableGuard.h"

#include <pthread.h>

/// What the teardown needs to know of a singleton. Destruction, newest first: `preDestruct`, then the
/// instance is deleted, then the pointer that `getStaticMemberPointers` names is set to null.
class GuardedSingletonBase {
public:
    virtual void preDestruct() {}
    virtual void getStaticMemberPointers(void*** out) = 0;
    virtual ~GuardedSingletonBase() = default;
};

namespace orvo::templates::platform {

/// Puts a new singleton on the teardown list; while the plug-in is not initialised there is none, and the
/// singleton lives until the process ends. Takes the library-init lock. The one call upward out of this
/// folder; defined beside the library init controller.
void registerForTeardown(GuardedSingletonBase* singleton);

} // namespace orvo::templates::platform

/// Base of a class T with one instance per process, made by T's default constructor.
///
/// Threads: `getInstance` may be called from any thread, and again from within T's `postConstruct`; lock
/// order is the singleton's own spin lock, then the library-init lock. Errors: what T's constructor throws
/// passes through and the next call tries again; after a throwing `postConstruct` the instance stays.
template <class T> class GuardedSingleton : public GuardedSingletonBase {
public:
    /// The instance, never null.
    static T* getInstance() {
        orvo::templates::platform::SpinLockVariableGuard guard(&lock, &lockThreadId);
        if (!instance) {
            instance = new T(); // published before anything else, for calls that come back on this thread
            orvo::templates::platform::registerForTeardown(instance);
            instance->postConstruct();
        }
        return instance;
    }

    void getStaticMemberPointers(void*** out) override { *out = reinterpret_cast<void**>(&instance); }

    /// Called once, right after the instance was made and registered, still under the singleton's lock.
    virtual void postConstruct() {}

    static inline T* instance = nullptr;
    static inline int lock = 0;
    static inline pthread_t lockThreadId = 0;
};
