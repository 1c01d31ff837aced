// SPDX-License-Identifier: MIT
// Who gets which message, and what facilities are told about it.
#include "Dispatcher.h"

#include "support/Concurrency.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <sstream>

namespace orvo::dispatcher {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Pair;
using tools::logging::Logging;

class DispatcherTest : public testing::Test {
protected:
    /// A subscription that fills the inbox.
    std::uint64_t subscribe(const char* name, std::uint32_t level) {
        const auto receive = [](void* context, const char* logger, std::uint32_t, const char* message) {
            auto& test = *static_cast<DispatcherTest*>(context);
            test.inbox.push_back(std::string(logger) + ": " + message);
            return test.onMessage();
        };
        return dispatcher.subscribe(name, level, receive, this);
    }
    /// What a message puts on the console.
    std::string emitted(std::uint64_t handle, std::uint32_t level, const char* message) {
        testing::internal::CaptureStderr();
        dispatcher.emit(handle, level, message);
        return testing::internal::GetCapturedStderr();
    }

    const test::TemporaryFolder folder;
    Dispatcher dispatcher{Settings{Thresholds::parse("guard=2,*=4"), folder.file("log")}};
    const std::uint64_t guard = dispatcher.lookup("guard").handle, other = dispatcher.lookup("other").handle;
    std::vector<std::string> inbox;
    std::function<int()> onMessage = [] { return 0; };
};

TEST_F(DispatcherTest, WritesWhatPassesAsOneLineToConsoleAndFile) {
    const char* const line = "[0-9-]+ [0-9:.]+ debug    guard: detail \\{\\} %s\n";
    EXPECT_THAT(emitted(guard, 2, "detail {} %s\n"), MatchesRegex(line));
    EXPECT_THAT(emitted(guard, 4, "care"), HasSubstr("warning  guard: care\n"));
    EXPECT_EQ(emitted(other, 3, "too low"), "");
    EXPECT_THAT(emitted(4711, 5, "lost"), HasSubstr("error    root: lost\n")); // never given out
    subscribe("other", 5);
    onMessage = [] { return 1; };
    EXPECT_EQ(emitted(other, 5, "kept from the console"), "");
    std::stringstream content;
    content << std::ifstream(folder.file("log")).rdbuf();
    EXPECT_THAT(content.str(), MatchesRegex(line + std::string("[^\n]*: care\n[^\n]*: lost\n[^\n]* error    "
                                                               "other: kept from the console\n")));
}

TEST_F(DispatcherTest, TellsFacilitiesTheLowestThresholdThatAnybodyWants) {
    static std::vector<std::pair<std::uint64_t, std::uint32_t>> changes; // as the facilities were told
    static int detachments;
    changes.clear();
    detachments = 0;
    EXPECT_NE(guard, 0u);
    EXPECT_NE(guard, other);
    EXPECT_EQ(dispatcher.lookup("guard").handle, guard);
    EXPECT_EQ(dispatcher.lookup("guard").threshold, 2u);
    char addresses[2] = {};
    Logging* const facilities[] = {reinterpret_cast<Logging*>(&addresses[0]),
                                   reinterpret_cast<Logging*>(&addresses[1])};
    for (Logging* const facility : facilities)
        dispatcher.attach(
            facility, [] { ++detachments; },
            [](std::uint64_t handle, std::uint32_t threshold) { changes.emplace_back(handle, threshold); });
    const auto onlyOther = subscribe("other", 3);
    EXPECT_THAT(std::exchange(changes, {}), ElementsAre(Pair(other, 3), Pair(other, 3)));
    const auto everything = subscribe(nullptr, 0);
    dispatcher.detach(facilities[1]);
    const auto late = dispatcher.lookup("new");
    EXPECT_EQ(late.threshold, 0u);
    changes.clear();
    EXPECT_TRUE(dispatcher.unsubscribe(everything));
    EXPECT_THAT(std::exchange(changes, {}),
                ElementsAre(Pair(0, 4), Pair(guard, 2), Pair(other, 3), Pair(late.handle, 4)));
    EXPECT_TRUE(dispatcher.unsubscribe(onlyOther));
    EXPECT_FALSE(dispatcher.unsubscribe(onlyOther));
    EXPECT_EQ(dispatcher.subscribe(nullptr, 0, nullptr, this), 0u);
    dispatcher.detachAll();
    dispatcher.detachAll();
    EXPECT_EQ(detachments, 1);
}

TEST_F(DispatcherTest, FacilitiesAreToldTheNewestThresholdLast) {
    static std::function<void()> onChange;
    static std::vector<std::uint32_t> told;
    told.clear();
    onChange = [this] { subscribe("other", 1); };
    char addresses[2] = {};
    for (char& address : addresses)
        dispatcher.attach(reinterpret_cast<Logging*>(&address), nullptr,
                          [](std::uint64_t, std::uint32_t threshold) {
                              told.push_back(threshold);
                              if (const auto action = std::exchange(onChange, {})) action();
                          });
    subscribe("other", 3);
    EXPECT_THAT(told, ElementsAre(3, 1, 1, 1)) << "the first facility subscribes when it is told";
}

TEST_F(DispatcherTest, EachReaderAppliesItsOwnThresholdUntilItEndsItself) {
    const auto id = subscribe("other", 3);
    EXPECT_EQ(emitted(other, 2, "for nobody"), "");
    EXPECT_EQ(emitted(other, 3, "as it is\n"), "");
    emitted(guard, 5, "of another logger");
    onMessage = [&] { return dispatcher.unsubscribe(id) ? 0 : 1; }; // from within
    EXPECT_THAT(emitted(other, 4, "for both"), HasSubstr("for both"));
    emitted(other, 5, "for the console");
    EXPECT_THAT(inbox, ElementsAre("other: as it is\n", "other: for both"));
}

TEST_F(DispatcherTest, UnsubscribingWaitsForTheRunningCallback) {
    std::atomic<bool> entered = false, released = false;
    onMessage = [&] {
        entered = true;
        while (!released) std::this_thread::yield();
        return 1;
    };
    const auto id = subscribe(nullptr, 0);
    auto logging = test::inBackground([&] { dispatcher.emit(0, 5, "message"); });
    while (!entered) std::this_thread::yield();
    auto ending = test::inBackground([&] { dispatcher.unsubscribe(id); });
    EXPECT_TRUE(test::isWaiting(ending));
    released = true;
    ending.get();
    logging.get();
}

TEST(OutputsTest, BadVariablesAreOneLineEachAndTheDefaultsCount) {
    const test::EnvironmentVariable thresholds("ORVO_LOG", "guard=9"), file("ORVO_LOG_FILE", "/dev/null/log");
    testing::internal::CaptureStderr();
    Dispatcher dispatcher(settingsFromEnvironment());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                MatchesRegex("orvo log: environment variable ORVO_LOG: [^\n]*'9' of 'guard'[^\n]*\n"
                             "orvo log: environment variable ORVO_LOG_FILE: [^\n]*/dev/null/log[^\n]*\n"));
    EXPECT_EQ(dispatcher.lookup("guard").threshold, 4u);
}

TEST(OutputsTest, AFullDiskIsReportedOnce) {
    Dispatcher dispatcher(Settings{Thresholds{}, "/dev/full"});
    testing::internal::CaptureStderr();
    dispatcher.emit(0, 5, "first");
    dispatcher.emit(0, 5, "second");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                MatchesRegex("[^\n]*first\norvo log: [^\n]*/dev/full[^\n]*\n[^\n]*second\n"));
}

} // namespace
} // namespace orvo::dispatcher
