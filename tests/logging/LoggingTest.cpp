// The facility over its dispatcher: thresholds, muted threads, shared handles, and how both come and go.
#include "logging/Logging.h"

#include "plugin/LibraryInitController.h"
#include "support/Concurrency.h"
#include "support/RecordedLog.h"

#include <gmock/gmock.h>

namespace orvo::test {
namespace {

using core::zume::LibraryInitController;
using testing::IsEmpty;
using tools::logging::Logger;
using tools::logging::Logging;

/// Each test has a facility of its own, torn down as the plug-in's last de-initialisation does it.
class LoggingTest : public testing::Test {
protected:
    LoggingTest() {
        tearDown();
        setThreshold(2);
        takeRecords();
    }
    ~LoggingTest() override {
        tearDown();
        setThreshold(2);
    }

    static void tearDown() {
        const LibraryInitController::Lock lock;
        LibraryInitController::beginUse();
        if (Logging::instance) LibraryInitController::registerSingleton(Logging::instance);
        LibraryInitController::endUse();
        EXPECT_EQ(Logging::instance, nullptr);
    }
};

TEST_F(LoggingTest, LevelsPassFromTheThresholdUp) {
    Logger* const logger = Logging::getLogger("guard.library");
    EXPECT_EQ(Logging::getLogger("guard.library"), logger);
    EXPECT_NE(Logging::getLogger("another"), logger);
    EXPECT_FALSE(logger->isEnabled(1));
    EXPECT_TRUE(logger->isEnabled(2));
    EXPECT_TRUE(logger->isEnabled(0xFFFFFFFF));
    logger->setLevel(4);
    EXPECT_FALSE(logger->isEnabled(3));
    EXPECT_TRUE(logger->isEnabled(4));
    EXPECT_TRUE(Logging::getLogger("another")->isEnabled(2));
    logger->log(1, "handed on whatever its level", 3, 0xFEDC'BA98'7654'3210);
    const auto records = takeRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, "guard.library");
    EXPECT_EQ(records[0].level, 1U);
    EXPECT_EQ(records[0].text, "handed on whatever its level");
    EXPECT_EQ(records[0].a, 3U);
    EXPECT_EQ(records[0].b, 0xFEDC'BA98'7654'3210);
}

TEST_F(LoggingTest, MutingIsForOneLoggerOnOneThread) {
    Logger* const logger = Logging::getLogger("guard.library");
    EXPECT_TRUE(logger->setThreadEnabled(true));
    EXPECT_TRUE(logger->setThreadEnabled(false));
    EXPECT_FALSE(logger->setThreadEnabled(false));
    EXPECT_FALSE(logger->isEnabled(5));
    EXPECT_TRUE(Logging::getLogger("another")->isEnabled(2));
    inBackground([&] {
        EXPECT_TRUE(logger->isEnabled(2));
        EXPECT_FALSE(logger->isEnabled(1));
        EXPECT_TRUE(logger->setThreadEnabled(true));
    }).get();
    EXPECT_FALSE(logger->setThreadEnabled(true));
    EXPECT_TRUE(logger->isEnabled(2));
}

TEST_F(LoggingTest, NamesOfOneHandleShareALogger) {
    shareHandle("shared.one", "shared.two");
    setThreshold(3);
    Logger* const logger = Logging::getLogger("shared.one");
    EXPECT_EQ(Logging::getLogger("shared.two"), logger);
    Logger* instances[8] = {};
    runTogether(8, [&](int i) { instances[i] = Logging::getLogger(i % 2 ? "racing.name" : "shared.two"); });
    for (int i = 0; i < 8; ++i) EXPECT_EQ(instances[i], i % 2 ? instances[1] : logger);
}

TEST_F(LoggingTest, DispatcherSetsThresholdsOfTheLoggersThatThereAre) {
    Logger* const logger = Logging::getLogger("guard.library");
    logger->log(5, "which handle is this?", 0, 0);
    const auto handle = takeRecords().back().handle;
    const auto setLevel = attachment().setLevel;
    setLevel(handle, 5);
    EXPECT_FALSE(logger->isEnabled(4));
    EXPECT_TRUE(logger->isEnabled(5));
    setLevel(0, 0);
    setLevel(handle + 1'000'000, 0);
    EXPECT_FALSE(logger->isEnabled(4));
    runTogether(4, [&](int i) {
        for (std::uint32_t k = 0; k < 200; ++k)
            if (i % 2)
                setLevel(handle, k % 5);
            else
                EXPECT_TRUE(Logging::getLogger("guard.library")->isEnabled(5));
    });
}

TEST_F(LoggingTest, AfterTheDispatcherLeftOnlyMessagesAreLost) {
    Logger* const logger = Logging::getLogger("guard.library");
    const auto before = attachment();
    attachment().detached();
    Logger* const root = Logging::getLogger("guard.library");
    EXPECT_NE(root, logger);
    EXPECT_EQ(Logging::getLogger("another"), root);
    attachment().setLevel(0, 0); // the root logger is nobody's
    for (std::uint32_t level = 0; level < 7; ++level) EXPECT_FALSE(root->isEnabled(level));
    EXPECT_TRUE(root->isEnabled(7));
    EXPECT_TRUE(logger->isEnabled(2)) << "what was handed out stays as it was";
    logger->log(5, "goes nowhere", 0, 0);
    root->log(7, "goes nowhere", 0, 0);
    Logging::emit(1, 5, "goes nowhere", 0, 0);
    EXPECT_THAT(takeRecords(), IsEmpty());
    tearDown();
    EXPECT_EQ(attachment().detachCount, before.detachCount) << "it detached by itself";
    EXPECT_EQ(attachment().attachCount, before.attachCount) << "and is not attached again";
}

TEST_F(LoggingTest, TeardownDetachesAndTheNextFacilityStartsAfresh) {
    Logging::getLogger("guard.library")->setThreadEnabled(false);
    const auto before = attachment();
    tearDown();
    EXPECT_EQ(attachment().detachCount, before.detachCount + 1);
    EXPECT_EQ(attachment().attachCount, before.attachCount);
    callBackFromAttach(true); // on the thread that is making the facility
    EXPECT_TRUE(Logging::getLogger("guard.library")->isEnabled(2));
    callBackFromAttach(false);
    EXPECT_EQ(attachment().attachCount, before.attachCount + 1);
    EXPECT_EQ(attachment().facility, Logging::instance);
}

} // namespace
} // namespace orvo::test
