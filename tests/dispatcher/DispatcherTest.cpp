// Who gets which message, and what facilities are told about it.
#include "Dispatcher.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <tuple>

namespace orvo::dispatcher {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::Pair;
using tools::logging::Logging;

using Changes = std::vector<std::pair<std::uint64_t, std::uint32_t>>;
Changes changes; // what the facility below was told since the test looked last
int detachments = 0;

void setLevel(std::uint64_t handle, std::uint32_t threshold) {
    changes.emplace_back(handle, threshold);
}
void detached() {
    ++detachments;
}
Logging* facility(int number) {
    static char addresses[4];
    return reinterpret_cast<Logging*>(&addresses[number]);
}

struct Inbox {
    std::vector<std::tuple<std::string, std::uint32_t, std::string>> messages;
    int answer = 0;

    static int receive(void* context, const char* name, std::uint32_t level, const char* message) {
        auto& inbox = *static_cast<Inbox*>(context);
        inbox.messages.emplace_back(name, level, message);
        return inbox.answer;
    }
};

class DispatcherTest : public testing::Test {
protected:
    DispatcherTest() {
        changes.clear();
        detachments = 0;
    }
    std::string emitted(std::uint64_t handle, std::uint32_t level, const char* message) {
        testing::internal::CaptureStderr();
        dispatcher.emit(handle, level, message);
        return testing::internal::GetCapturedStderr();
    }
    Dispatcher dispatcher{Settings{Thresholds::parse("guard=2,*=4"), ""}};
    Inbox inbox;
};

TEST_F(DispatcherTest, GivesEachNameOneHandleAndItsThreshold) {
    const auto guard = dispatcher.lookup("guard");
    const auto other = dispatcher.lookup("other");
    EXPECT_NE(guard.handle, 0u);
    EXPECT_NE(guard.handle, other.handle);
    EXPECT_EQ(dispatcher.lookup("guard").handle, guard.handle);
    EXPECT_EQ(guard.threshold, 2u);
    EXPECT_EQ(other.threshold, 4u);
}

TEST_F(DispatcherTest, WritesWhatPassesAsOneLine) {
    const auto guard = dispatcher.lookup("guard").handle;
    EXPECT_THAT(emitted(guard, 2, "detail {} %s\n"),
                MatchesRegex("[0-9-]+ [0-9:.]+ debug    guard: detail \\{\\} %s\n"));
    EXPECT_THAT(emitted(guard, 4, "care"), HasSubstr("warning  guard: care\n"));
    EXPECT_THAT(emitted(guard, 5, "bad"), HasSubstr("error    guard: bad\n"));
    EXPECT_EQ(emitted(dispatcher.lookup("other").handle, 3, "too low"), "");
    EXPECT_THAT(emitted(4711, 5, "lost"), HasSubstr("root: lost")); // never given out
}

TEST_F(DispatcherTest, TellsFacilitiesTheLowestThresholdThatAnybodyWants) {
    dispatcher.attach(facility(0), detached, setLevel);
    dispatcher.attach(facility(1), detached, setLevel);
    const auto guard = dispatcher.lookup("guard").handle;
    const auto other = dispatcher.lookup("other").handle;

    const auto onlyOther = dispatcher.subscribe("other", 3, Inbox::receive, &inbox);
    EXPECT_THAT(std::exchange(changes, {}), ElementsAre(Pair(other, 3), Pair(other, 3)));
    const auto everything = dispatcher.subscribe(nullptr, 0, Inbox::receive, &inbox);
    dispatcher.detach(facility(1));
    EXPECT_EQ(dispatcher.lookup("new").threshold, 0u);
    changes.clear();

    EXPECT_TRUE(dispatcher.unsubscribe(everything));
    EXPECT_THAT(std::exchange(changes, {}),
                testing::UnorderedElementsAre(Pair(0, 4), Pair(guard, 2), Pair(other, 3),
                                              Pair(dispatcher.lookup("new").handle, 4)));
    EXPECT_TRUE(dispatcher.unsubscribe(onlyOther));
    EXPECT_FALSE(dispatcher.unsubscribe(onlyOther));
    EXPECT_EQ(dispatcher.subscribe(nullptr, 0, nullptr, &inbox), 0u);

    dispatcher.detachAll();
    dispatcher.detachAll();
    EXPECT_EQ(detachments, 1);
}

TEST_F(DispatcherTest, EachReaderAppliesItsOwnThreshold) {
    const auto other = dispatcher.lookup("other").handle;
    dispatcher.subscribe("other", 3, Inbox::receive, &inbox);
    EXPECT_EQ(emitted(other, 2, "for nobody"), "");
    EXPECT_EQ(emitted(other, 3, "as it is\n"), "");
    EXPECT_THAT(emitted(other, 4, "for both"), HasSubstr("for both"));
    emitted(dispatcher.lookup("guard").handle, 5, "of another logger");
    inbox.answer = 1;
    EXPECT_EQ(emitted(other, 5, "kept from the console"), "");
    EXPECT_THAT(inbox.messages,
                ElementsAre(std::tuple("other", 3, "as it is\n"), std::tuple("other", 4, "for both"),
                            std::tuple("other", 5, "kept from the console")));
}

TEST_F(DispatcherTest, AnEndedSubscriptionReceivesNothingMore) {
    struct Ending {
        Dispatcher& dispatcher;
        std::uint64_t id = 0;
        int calls = 0;
    } ending{dispatcher};
    ending.id = dispatcher.subscribe(
        nullptr, 0,
        [](void* context, const char*, std::uint32_t, const char*) {
            auto& self = *static_cast<Ending*>(context);
            ++self.calls;
            return self.dispatcher.unsubscribe(self.id) ? 1 : 0;
        },
        &ending);
    emitted(0, 5, "first");
    emitted(0, 5, "second");
    EXPECT_EQ(ending.calls, 1);
}

TEST_F(DispatcherTest, UnsubscribingWaitsForTheRunningCallback) {
    struct Slow {
        std::atomic<bool> entered{false}, released{false}, left{false};
    } slow;
    const auto id = dispatcher.subscribe(
        nullptr, 0,
        [](void* context, const char*, std::uint32_t, const char*) {
            auto& self = *static_cast<Slow*>(context);
            self.entered = true;
            while (!self.released) std::this_thread::yield();
            self.left = true;
            return 1;
        },
        &slow);
    std::thread logging([&] { dispatcher.emit(0, 5, "message"); });
    while (!slow.entered) std::this_thread::yield();
    std::thread releasing([&] { slow.released = true; });
    dispatcher.unsubscribe(id);
    EXPECT_TRUE(slow.left);
    releasing.join();
    logging.join();
}

TEST(OutputsTest, TheLogFileGetsWhatTheConsoleGetsAndMore) {
    const auto file = std::filesystem::temp_directory_path() / ("orvo-log-" + std::to_string(getpid()));
    Dispatcher dispatcher(Settings{Thresholds{}, file.string()});
    Inbox inbox{{}, 1};
    dispatcher.subscribe(nullptr, 5, Inbox::receive, &inbox);
    testing::internal::CaptureStderr();
    dispatcher.emit(0, 4, "for both\n");
    dispatcher.emit(0, 5, "kept from the console");
    dispatcher.emit(0, 3, "too low");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), Not(HasSubstr("kept")));
    std::stringstream content;
    content << std::ifstream(file).rdbuf();
    EXPECT_THAT(content.str(), MatchesRegex("[^\n]* warning  root: for both\n"
                                            "[^\n]* error    root: kept from the console\n"));
    std::filesystem::remove(file);
}

TEST(OutputsTest, BadVariablesAreOneLineEachAndTheDefaultsCount) {
    setenv("ORVO_LOG", "guard=9", 1);
    setenv("ORVO_LOG_FILE", "/dev/null/orvo.log", 1);
    testing::internal::CaptureStderr();
    Dispatcher dispatcher(settingsFromEnvironment());
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        MatchesRegex("orvo log: environment variable ORVO_LOG: [^\n]*'9' of 'guard'[^\n]*\n"
                     "orvo log: environment variable ORVO_LOG_FILE: [^\n]*/dev/null/orvo.log[^\n]*\n"));
    EXPECT_EQ(dispatcher.lookup("guard").threshold, 4u);
    unsetenv("ORVO_LOG");
    unsetenv("ORVO_LOG_FILE");
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
