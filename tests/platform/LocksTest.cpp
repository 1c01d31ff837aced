// Locks and their guards: exclusion, re-entrancy, release.
#include "platform/ReadWriteLock.h"
#include "platform/RecursiveMutex.h"
#include "platform/SpinLockVariableGuard.h"
#include "support/Concurrency.h"

#include <gtest/gtest.h>

#include <optional>

namespace orvo::test {
namespace {

using templates::platform::ReadWriteLock;
using templates::platform::ReadWriteLockGuard;
using templates::platform::RecursiveMutex;
using templates::platform::RecursiveMutexGuard;
using templates::platform::SpinLockVariableGuard;

constexpr int threadCount = 4;
constexpr int roundsEach = 2000;

/// Four threads count up a plain variable, each round under what `takeLock` returns.
template <class TakeLock> int countUnder(TakeLock takeLock) {
    int count = 0;
    runTogether(threadCount, [&](int) {
        for (int i = 0; i < roundsEach; ++i) {
            const auto guard = takeLock();
            const int before = count;
            if (i % 64 == 0) std::this_thread::yield();
            count = before + 1;
        }
    });
    return count;
}

TEST(Locks, EachExcludesOtherThreads) {
    RecursiveMutex mutex;
    EXPECT_EQ(countUnder([&] { return RecursiveMutexGuard(&mutex); }), threadCount * roundsEach);
    ReadWriteLock readWrite;
    EXPECT_EQ(
        countUnder([&] { return ReadWriteLockGuard(&readWrite, ReadWriteLockGuard::Access::Exclusive); }),
        threadCount * roundsEach);
    int word = 0;
    EXPECT_EQ(countUnder([&] { return SpinLockVariableGuard(&word, nullptr); }), threadCount * roundsEach);
    pthread_t owner = 0;
    EXPECT_EQ(countUnder([&] { return SpinLockVariableGuard(&word, &owner); }), threadCount * roundsEach);
    EXPECT_EQ(word, 0);
    EXPECT_EQ(owner, pthread_t{0});
}

TEST(Locks, RecursiveMutexIsFreeOnlyAfterItsLastRelease) {
    RecursiveMutex mutex;
    std::optional<RecursiveMutexGuard> outer(std::in_place, &mutex);
    auto other = inBackground([&] { const RecursiveMutexGuard guard(&mutex); });
    { const RecursiveMutexGuard inner(&mutex); }
    EXPECT_TRUE(isWaiting(other));
    outer->unlock();
    other.get();
    outer->relock();
    other = inBackground([&] { const RecursiveMutexGuard guard(&mutex); });
    EXPECT_TRUE(isWaiting(other));
    RecursiveMutexGuard(&mutex).unlock(); // released once already: its end leaves the outer hold alone
    EXPECT_TRUE(isWaiting(other));
    outer.reset();
    other.get();
}

TEST(Locks, ReadersShareAndWritersWait) {
    using Access = ReadWriteLockGuard::Access;
    ReadWriteLock lock;
    std::future<void> writer;
    {
        const ReadWriteLockGuard first(&lock, Access::Shared);
        inBackground([&] { const ReadWriteLockGuard second(&lock, Access::Shared); }).get();
        writer = inBackground([&] { const ReadWriteLockGuard guard(&lock, Access::Exclusive); });
        EXPECT_TRUE(isWaiting(writer));
    }
    writer.get();
    std::future<void> reader;
    {
        const ReadWriteLockGuard exclusive(&lock, Access::Exclusive);
        reader = inBackground([&] { const ReadWriteLockGuard guard(&lock, Access::Shared); });
        EXPECT_TRUE(isWaiting(reader));
    }
    reader.get();
}

TEST(Locks, SpinLockLetsItsHolderThrough) {
    int word = 0;
    pthread_t owner = 0;
    std::optional<SpinLockVariableGuard> outer(std::in_place, &word, &owner);
    EXPECT_EQ(word, 1);
    EXPECT_EQ(owner, pthread_self());
    { const SpinLockVariableGuard inner(&word, &owner); }
    EXPECT_EQ(word, 1) << "only the outermost guard releases";
    EXPECT_EQ(owner, pthread_self());
    auto other = inBackground([&] {
        const SpinLockVariableGuard guard(&word, &owner);
        EXPECT_EQ(owner, pthread_self());
    });
    EXPECT_TRUE(isWaiting(other));
    outer.reset();
    other.get();
    EXPECT_EQ(word, 0);
    EXPECT_EQ(owner, pthread_t{0});
}

} // namespace
} // namespace orvo::test
