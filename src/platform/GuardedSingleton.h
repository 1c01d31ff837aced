// SPDX-License-Identifier: MIT
// Process-wide objects, created on first use and destroyed in order when the plug-in is de-initialised.
#pragma once

#include "platform/SpinLockVariableGuard.h"

#include <pthread.h>

/// The operations by which the teardown destroys a singleton: it calls `preDestruct`, deletes the instance,
/// and sets the pointer that `getStaticMemberPointers` names to null.
class GuardedSingletonBase {
public:
    virtual void preDestruct() {}
    virtual void getStaticMemberPointers(void*** out) = 0;
    virtual ~GuardedSingletonBase() = default;
};

namespace orvo::templates::platform {

/// Puts a new singleton on the teardown list. While the plug-in is not initialised there is no list, and the
/// singleton lives until the process ends. Takes the library-init lock. This is the only call out of this
/// folder to a layer above; it is defined beside the library init controller.
void registerForTeardown(GuardedSingletonBase* singleton);

} // namespace orvo::templates::platform

/// Base of a class T with one instance per process, created by T's default constructor.
///
/// Threads: any thread may call `getInstance`, also from within T's `postConstruct`. The singleton's own spin
/// lock is taken before the library-init lock. Errors: an exception of T's constructor passes through, and
/// the next call tries again; after one of `postConstruct` the instance stays.
template <class T> class GuardedSingleton : public GuardedSingletonBase {
public:
    /// The instance, never null.
    static T* getInstance() {
        orvo::templates::platform::SpinLockVariableGuard guard(&lock, &lockThreadId);
        if (!instance) {
            instance = new T(); // set first: the calls below may come back here on this thread
            orvo::templates::platform::registerForTeardown(instance);
            instance->postConstruct();
        }
        return instance;
    }

    void getStaticMemberPointers(void*** out) override { *out = reinterpret_cast<void**>(&instance); }

    /// Called once, after the instance was created and registered, while the singleton's lock is held.
    virtual void postConstruct() {}

    static inline T* instance = nullptr;
    static inline int lock = 0;
    static inline pthread_t lockThreadId = 0;
};
