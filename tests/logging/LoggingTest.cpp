// SPDX-License-Identifier: MIT
// The facility over its dispatcher: thresholds, muted threads, shared handles, and how both come and go.
#include "logging/Logging.h"

#include "plugin/LibraryInitController.h"
#include "support/Concurrency.h"
#include "support/RecordedLog.h"

#include <gmock/gmock.h>

#include <new>

namespace orvo::test {
namespace {

using core::zume::LibraryInitController;
using testing::FieldsAre;
using tools::logging::Logger;
using tools::logging::Logging;

/// Each test has a facility of its own, torn down as the plug-in's last de-initialisation does it.
class LoggingTest : public testing::Test {
protected:
    LoggingTest() { startAfresh(); }
    ~LoggingTest() override { startAfresh(); }

    void startAfresh() {
        tearDown();
        setThreshold(2);
        takeRecords();
        logger = Logging::getLogger("guard.library");
    }
    static void tearDown() {
        const LibraryInitController::Lock lock;
        LibraryInitController::beginUse();
        if (Logging::instance) LibraryInitController::registerSingleton(Logging::instance);
        LibraryInitController::endUse();
    }

    Logger* logger = nullptr;
};

TEST_F(LoggingTest, LevelsPassFromTheThresholdUp) {
    EXPECT_FALSE(logger->isEnabled(1));
    EXPECT_TRUE(logger->isEnabled(2));
    EXPECT_TRUE(logger->isEnabled(0xFFFFFFFF));
    logger->setLevel(4);
    EXPECT_FALSE(logger->isEnabled(3));
    EXPECT_TRUE(logger->isEnabled(4));
    EXPECT_TRUE(Logging::getLogger("another")->isEnabled(2));
    logger->log(1, "handed on whatever its level", 3, 0xFEDC'BA98'7654'3210);
    EXPECT_THAT(takeRecords(),
                testing::ElementsAre(FieldsAre("guard.library", 1, "handed on whatever its level",
                                               testing::Ne(0), 3, 0xFEDC'BA98'7654'3210)));
}

TEST_F(LoggingTest, MutingIsForOneLoggerOnOneThread) {
    EXPECT_TRUE(logger->setThreadEnabled(false));
    EXPECT_FALSE(logger->setThreadEnabled(false));
    EXPECT_FALSE(logger->isEnabled(5));
    EXPECT_TRUE(Logging::getLogger("another")->isEnabled(2));
    inBackground([&] {
        EXPECT_TRUE(logger->isEnabled(2));
        EXPECT_TRUE(logger->setThreadEnabled(true));
    }).get();
    EXPECT_FALSE(logger->setThreadEnabled(true));
    EXPECT_TRUE(logger->isEnabled(2));
}

TEST_F(LoggingTest, EachHandleHasOneLoggerWhoseThresholdTheDispatcherSets) {
    shareHandle("guard.library", "second name");
    logger->log(5, "which handle is this?", 0, 0);
    const auto handle = takeRecords().back().handle;
    const auto setLevel = attachment().setLevel;
    setLevel(handle, 5);
    setLevel(0, 0);
    setLevel(handle + 1'000'000, 0);
    EXPECT_FALSE(logger->isEnabled(4));
    EXPECT_TRUE(logger->isEnabled(5));
    Logger* loggers[8] = {};
    runTogether(8, [&](int i) {
        const char* const name = i % 2 ? "racing" : "second name";
        loggers[i] = Logging::getLogger(name);
        for (std::uint32_t k = 0; k < 100; ++k) {
            setLevel(handle, k % 5);
            EXPECT_TRUE(Logging::getLogger(name)->isEnabled(5));
        }
    });
    for (int i = 0; i < 8; ++i) EXPECT_EQ(loggers[i], i % 2 ? loggers[1] : logger);
    EXPECT_NE(loggers[1], logger);
}

TEST_F(LoggingTest, EveryAnswerMakesALoggerExceptThatThereWasNoMemory) {
    using tools::logging::noMemory;
    const struct {
        std::uint64_t handle;
        std::uint32_t threshold;
        bool makesLogger;
    } rows[] = {{0, noMemory, false}, {0, 7, true}, {1'000'000, noMemory, true}};
    for (const auto& row : rows) {
        onLookup([&row](auto& handle, auto& threshold) {
            handle = row.handle;
            threshold = row.threshold;
        });
        if (row.makesLogger)
            EXPECT_FALSE(Logging::getLogger("any")->isEnabled(6));
        else
            EXPECT_THROW(Logging::getLogger("any"), std::bad_alloc);
        onLookup({});
    }
    attachment().setLevel(0, 5);
    onLookup([](auto& handle, auto&) { handle = 0; });
    EXPECT_TRUE(Logging::getLogger("any")->isEnabled(5)) << "handle 0 is as good as any";
    onLookup({});
    Logging::getLogger("any")->log(5, "under its own name", 0, 0);
    EXPECT_EQ(takeRecords().back().logger, "any");
}

TEST_F(LoggingTest, LevelThatIsSetDuringTheLookUpCounts) {
    int lookups = 0;
    onLookup([&lookups](auto& handle, auto& threshold) {
        attachment().setLevel(handle, 5); // the answer is older than this
        if (++lookups > 1) threshold = 5;
    });
    Logger* const late = Logging::getLogger("late");
    onLookup({});
    EXPECT_FALSE(late->isEnabled(4));
    EXPECT_TRUE(late->isEnabled(5));
    EXPECT_LT(lookups, 10) << "a dispatcher that always does so is not asked for ever";
}

TEST_F(LoggingTest, AfterTheDispatcherLeftOnlyMessagesAreLost) {
    const auto before = attachment();
    before.detached();
    Logger* const root = Logging::getLogger("guard.library");
    EXPECT_NE(root, logger);
    EXPECT_EQ(Logging::getLogger("another"), root);
    before.setLevel(0, 0); // the root logger is nobody's
    for (std::uint32_t level = 0; level < 8; ++level) EXPECT_EQ(root->isEnabled(level), level == 7);
    EXPECT_TRUE(logger->isEnabled(2)) << "what was handed out stays as it was";
    logger->log(5, "goes nowhere", 0, 0);
    root->log(7, "goes nowhere", 0, 0);
    EXPECT_THAT(takeRecords(), testing::IsEmpty());
    tearDown();
    EXPECT_EQ(attachment().detachCount, before.detachCount) << "it detached by itself";
}

TEST_F(LoggingTest, TeardownDetachesAndTheNextFacilityStartsAfresh) {
    logger->setThreadEnabled(false);
    const auto before = attachment();
    tearDown();
    EXPECT_EQ(attachment().detachCount, before.detachCount + 1);
    // From within, on the thread that is making the facility, while others wait for it.
    onAttach([](const Attachment& attachment) {
        attachment.setLevel(1, 3); // before there is a logger to set
        EXPECT_TRUE(Logging::getLogger("guard.library")->isEnabled(2));
        attachment.setLevel(1, 4);
    });
    runTogether(4, [](int) { EXPECT_TRUE(Logging::getLogger("guard.library")->isEnabled(4)); });
    onAttach({});
    EXPECT_EQ(attachment().attachCount, before.attachCount + 1);
    EXPECT_EQ(attachment().facility, Logging::instance);
    EXPECT_FALSE(Logging::getLogger("guard.library")->isEnabled(3)) << "as set from within attach";
}

TEST_F(LoggingTest, DispatcherMayLeaveFromWithinAttach) {
    tearDown();
    const int detachments = attachment().detachCount;
    onAttach([](const Attachment& attachment) { attachment.detached(); });
    Logger* const root = Logging::getLogger("guard.library");
    onAttach({});
    EXPECT_FALSE(root->isEnabled(5)) << "the root logger";
    attachment().setLevel(1, 0); // after it left
    Logging::emit(1, 5, "goes nowhere", 0, 0);
    EXPECT_THAT(takeRecords(), testing::IsEmpty());
    tearDown();
    EXPECT_EQ(attachment().detachCount, detachments);
}

} // namespace
} // namespace orvo::test
