// SPDX-License-Identifier: MIT
// Making of process-wide objects: once, visible to themselves, and safe against throwing.
#include "platform/GuardedSingleton.h"

#include "plugin/LibraryInitController.h"
#include "support/Concurrency.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

namespace orvo::test {
namespace {

using core::zume::LibraryInitController;

/// Counts what happens to its instance, and can be made to throw.
class Counted : public GuardedSingleton<Counted> {
public:
    Counted() {
        if (constructorThrows) throw std::runtime_error("constructor");
        ++made;
    }
    ~Counted() override { ++destroyed; }
    void postConstruct() override {
        ++attempts;
        if (postConstructThrows) throw std::runtime_error("postConstruct");
        seenByItself = getInstance();
        std::this_thread::yield();
        complete = true;
    }
    bool complete = false;
    Counted* seenByItself = nullptr;

    static inline std::atomic<int> made = 0, attempts = 0, destroyed = 0;
    static inline bool constructorThrows = false, postConstructThrows = false;
};

/// One use of the plug-in, which ends in the teardown; somebody asks for the instance in between.
struct Life {
    Life() {
        Counted::made = Counted::attempts = Counted::destroyed = 0;
        const LibraryInitController::Lock lock;
        LibraryInitController::beginUse();
    }
    ~Life() {
        const LibraryInitController::Lock lock;
        LibraryInitController::endUse();
        EXPECT_EQ(Counted::made, 1);
        EXPECT_EQ(Counted::attempts, 1);
        EXPECT_EQ(Counted::destroyed, 1);
        EXPECT_EQ(Counted::instance, nullptr);
    }
};

TEST(GuardedSingleton, IsMadeOnceByManyThreadsAndAnewAfterItsTeardown) {
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE(i);
        const Life life;
        runTogether(4, [](int) {
            Counted* const instance = Counted::getInstance();
            EXPECT_EQ(instance, Counted::instance);
            EXPECT_EQ(instance, instance->seenByItself);
            EXPECT_TRUE(instance->complete);
        });
    }
}

TEST(GuardedSingleton, ThrowingConstructorIsTriedAgainAndThrowingPostConstructIsNot) {
    const Life life;
    Counted::constructorThrows = true;
    EXPECT_THROW(Counted::getInstance(), std::runtime_error);
    EXPECT_EQ(Counted::instance, nullptr);
    Counted::constructorThrows = false;
    Counted::postConstructThrows = true;
    EXPECT_THROW(Counted::getInstance(), std::runtime_error);
    Counted::postConstructThrows = false;
    EXPECT_EQ(Counted::lock, 0);
    EXPECT_EQ(Counted::lockThreadId, pthread_t{0});
    inBackground([] { EXPECT_FALSE(Counted::getInstance()->complete); }).get();
}

} // namespace
} // namespace orvo::test
