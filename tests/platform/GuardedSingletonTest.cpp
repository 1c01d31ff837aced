// Making of process-wide objects: once, visible to themselves, and safe against throwing.
#include "platform/GuardedSingleton.h"

#include "plugin/LibraryInitController.h"
#include "support/Concurrency.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <stdexcept>

namespace orvo::test {
namespace {

using core::zume::LibraryInitController;

/// One use of the plug-in, which ends in the teardown.
struct Use {
    Use() {
        const LibraryInitController::Lock lock;
        LibraryInitController::beginUse();
    }
    ~Use() {
        const LibraryInitController::Lock lock;
        LibraryInitController::endUse();
    }
};

/// One class per Tag, which counts what happens to its instance.
template <int Tag> class Counted : public GuardedSingleton<Counted<Tag>> {
public:
    Counted() {
        if (throwing) throw std::runtime_error("constructor");
        ++made;
    }
    ~Counted() override { ++destroyed; }
    void postConstruct() override {
        seenByItself = Counted::getInstance();
        std::this_thread::yield();
        ++finished;
        complete = true;
    }
    bool complete = false;
    Counted* seenByItself = nullptr;

    static inline std::atomic<int> made = 0, finished = 0, destroyed = 0;
    static inline bool throwing = false;
};

TEST(GuardedSingleton, IsMadeOnceByManyThreadsAndAnewAfterItsTeardown) {
    using Singleton = Counted<0>;
    for (int life = 1; life <= 20; ++life) {
        SCOPED_TRACE(life);
        std::optional<Use> use(std::in_place);
        std::atomic<int> incomplete = 0;
        std::atomic<Singleton*> instances[4] = {};
        runTogether(4, [&](int i) {
            instances[i] = Singleton::getInstance();
            incomplete += !instances[i].load()->complete;
        });
        for (const auto& instance : instances) EXPECT_EQ(instance, Singleton::instance);
        EXPECT_EQ(Singleton::instance->seenByItself, Singleton::instance);
        EXPECT_EQ(incomplete, 0);
        EXPECT_EQ(Singleton::made, life);
        EXPECT_EQ(Singleton::finished, life);
        use.reset();
        EXPECT_EQ(Singleton::destroyed, life);
        EXPECT_EQ(Singleton::instance, nullptr);
    }
}

TEST(GuardedSingleton, WithoutControllerItLivesOn) {
    using Singleton = Counted<1>;
    auto* const instance = Singleton::getInstance();
    { const Use use; }
    EXPECT_EQ(Singleton::getInstance(), instance);
    EXPECT_EQ(Singleton::destroyed, 0);
}

TEST(GuardedSingleton, ThrowingConstructorIsTriedAgain) {
    using Singleton = Counted<2>;
    Singleton::throwing = true;
    EXPECT_THROW(Singleton::getInstance(), std::runtime_error);
    EXPECT_EQ(Singleton::instance, nullptr);
    EXPECT_EQ(Singleton::lock, 0);
    Singleton::throwing = false;
    EXPECT_TRUE(Singleton::getInstance()->complete);
}

/// Its postConstruct throws, its constructor does not.
class Unfinished : public GuardedSingleton<Unfinished> {
public:
    ~Unfinished() override { ++destroyed; }
    void postConstruct() override {
        ++attempts;
        throw std::runtime_error("postConstruct");
    }
    static inline int attempts = 0, destroyed = 0;
};

TEST(GuardedSingleton, ThrowingPostConstructLeavesTheInstance) {
    std::optional<Use> use(std::in_place);
    EXPECT_THROW(Unfinished::getInstance(), std::runtime_error);
    EXPECT_EQ(Unfinished::lock, 0);
    EXPECT_EQ(Unfinished::lockThreadId, pthread_t{0});
    ASSERT_NE(Unfinished::instance, nullptr);
    inBackground([] { EXPECT_EQ(Unfinished::getInstance(), Unfinished::instance); }).get();
    EXPECT_EQ(Unfinished::attempts, 1);
    use.reset();
    EXPECT_EQ(Unfinished::destroyed, 1) << "it had been registered before";
}

} // namespace
} // namespace orvo::test
