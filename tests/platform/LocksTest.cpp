// SPDX-License-Identifier: MIT
// Locks and their guards: exclusion, re-entrancy, release.
#include "platform/ReadWriteLock.h"
#include "platform/RecursiveMutex.h"
#include "platform/SpinLockVariableGuard.h"
#include "support/Concurrency.h"

#include <gtest/gtest.h>

#include <optional>

namespace orvo::test {
namespace {

using namespace templates::platform;
using Access = ReadWriteLockGuard::Access;

/// Somebody else gets what `takeLock` returns only once `held` is released.
template <class Held, class TakeLock> void checkOthersWait(std::optional<Held>& held, TakeLock takeLock) {
    auto other = inBackground([&] { const auto guard = takeLock(); });
    EXPECT_TRUE(isWaiting(other));
    held.reset();
    other.get();
}

TEST(Locks, RecursiveMutexIsFreeOnlyAfterItsLastRelease) {
    RecursiveMutex mutex;
    const auto take = [&] { return RecursiveMutexGuard(&mutex); };
    std::optional<RecursiveMutexGuard> outer(std::in_place, &mutex);
    take();
    outer->unlock();
    inBackground([&] { take(); }).get();
    outer->relock();
    take().unlock(); // released once already: its end leaves the outer hold alone
    checkOthersWait(outer, take);
}

TEST(Locks, ReadersShareAndWritersWait) {
    ReadWriteLock lock;
    const auto read = [&] { return ReadWriteLockGuard(&lock, Access::Shared); };
    const auto write = [&] { return ReadWriteLockGuard(&lock, Access::Exclusive); };
    std::optional<ReadWriteLockGuard> held(std::in_place, &lock, Access::Shared);
    inBackground([&] { read(); }).get();
    checkOthersWait(held, write);
    held.emplace(&lock, Access::Exclusive);
    checkOthersWait(held, read);
}

TEST(Locks, SpinLockLetsNobodyThroughButItsHolder) {
    int word = 0, count = 0; // the lock, and a plain variable counted up under it
    pthread_t owner = 0;
    for (pthread_t* const itsOwner : {static_cast<pthread_t*>(nullptr), &owner})
        runTogether(4, [&](int) {
            for (int i = 0; i < 2000; ++i) {
                const SpinLockVariableGuard guard(&word, itsOwner);
                const int before = count;
                if (i % 64 == 0) std::this_thread::yield();
                count = before + 1;
            }
        });
    EXPECT_EQ(count, 2 * 4 * 2000);
    EXPECT_EQ(word, 0);
    EXPECT_EQ(owner, pthread_t{0});

    const auto take = [&] { return SpinLockVariableGuard(&word, &owner); };
    std::optional<SpinLockVariableGuard> outer(std::in_place, &word, &owner);
    take();
    EXPECT_EQ(word, 1) << "only the outermost guard releases";
    EXPECT_EQ(owner, pthread_self());
    checkOthersWait(outer, take);
}

} // namespace
} // namespace orvo::test
