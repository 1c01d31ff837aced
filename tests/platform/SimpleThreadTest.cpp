// SPDX-License-Identifier: MIT
// Life of a worker thread: started, ended, joined or not.
#include "platform/SimpleThread.h"

#include "support/Concurrency.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace orvo::test {
namespace {

std::atomic<bool> namingIsSupported = true;
std::atomic<int> joins;                                        // of threads, by the code under test
std::function<void(const std::function<void()>& join)> onJoin; // does the next one

} // namespace
} // namespace orvo::test

// Every look-up and every join of this program come here; the linker calls the C library's functions by the
// other names.
extern "C" void* __real_dlsym(void* library, const char* symbol);  // NOLINT(bugprone-reserved-identifier)
extern "C" void* __wrap_dlsym(void* library, const char* symbol) { // NOLINT(bugprone-reserved-identifier)
    if (!orvo::test::namingIsSupported && std::string_view(symbol) == "pthread_setname_np") return nullptr;
    return __real_dlsym(library, symbol);
}
extern "C" int __real_pthread_join(pthread_t thread, void** result);  // NOLINT(bugprone-reserved-identifier)
extern "C" int __wrap_pthread_join(pthread_t thread, void** result) { // NOLINT(bugprone-reserved-identifier)
    int outcome = 0;
    const auto join = [&] { outcome = __real_pthread_join(thread, result); };
    ++orvo::test::joins;
    if (const auto action = std::exchange(orvo::test::onJoin, {}))
        action(join);
    else
        join();
    return outcome;
}

namespace orvo::test {
namespace {

// What the workers of these tests do and show, also when the object is going already.
std::atomic<int> begun, ended;
std::atomic<bool> mayEnd;

struct Worker : templates::platform::SimpleThread {
    void run() override {
        ++begun;
        while (!mayEnd) std::this_thread::yield();
        ++ended;
    }
};

void awaitBegun(int count) {
    while (begun < count) std::this_thread::yield();
}

class SimpleThreadTest : public testing::Test {
protected:
    SimpleThreadTest() {
        begun = ended = 0;
        mayEnd = true;
    }
};

TEST_F(SimpleThreadTest, RunsOnceHoweverOftenItIsStarted) {
    std::optional<Worker> worker(std::in_place);
    worker->join(); // never started: at once
    for (int life = 1; life <= 3; ++life) {
        SCOPED_TRACE(life);
        mayEnd = false;
        worker->start();
        worker->start();
        awaitBegun(life);
        worker->start();
        auto waiting = inBackground([&] { life < 3 ? worker->join() : worker.reset(); });
        EXPECT_TRUE(isWaiting(waiting));
        mayEnd = true;
        waiting.get();
        EXPECT_EQ(ended, life);
        EXPECT_EQ(begun, life);
        if (worker) worker->join(); // ended: at once
    }
}

/// The name that a thread has after it tried to name itself.
std::string nameTaken(bool isSupported) {
    std::string name;
    std::thread([&] {
        namingIsSupported = isSupported;
        templates::platform::nameThisThread("named");
        std::ifstream("/proc/thread-self/comm") >> name;
    }).join();
    namingIsSupported = true;
    return name;
}

TEST(ThreadName, IsTakenWhereTheCLibraryCanGiveOne) {
    EXPECT_EQ(nameTaken(true), "named");
    EXPECT_NE(nameTaken(false), "named");
}

/// Address space in use, in MiB; the stack of a thread that nobody reclaimed stays in it.
long addressSpaceMiB() {
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * 4 / 1024;
}

TEST_F(SimpleThreadTest, NothingStaysOfThreadsThatNobodyJoins) {
    Worker worker;
    const auto runTo = [&](int count) {
        while (begun < count) {
            worker.start();
            std::this_thread::yield();
        }
    };
    runTo(20); // what the C library keeps for the next thread is there now
    const long before = addressSpaceMiB();
    runTo(320);
    EXPECT_LT(addressSpaceMiB() - before, 400) << "300 stacks of 8 MiB would be 2400";
}

TEST_F(SimpleThreadTest, ThreadStartedWhileTheLastIsBeingJoinedIsJoinedToo) {
    joins = 0;
    {
        Worker worker;
        mayEnd = false;
        worker.start();
        onJoin = [&worker](const auto& join) {
            mayEnd = true;
            join();
            while (begun < 3) {
                worker.start();
                std::this_thread::yield();
            }
        };
        worker.join(); // has its mutex again after all this
    }
    EXPECT_EQ(joins, 3);
}

TEST_F(SimpleThreadTest, FailedStartCountsAsEnded) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_getattr_default_np(&attributes), 0);
    std::size_t usual = 0;
    pthread_attr_getstacksize(&attributes, &usual);
    Worker worker;
    for (const std::size_t stackBytes : {std::size_t{1} << 50, usual}) {
        EXPECT_EQ(begun, 0);
        pthread_attr_setstacksize(&attributes, stackBytes);
        ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
        worker.start();
        worker.join(); // at once after the failure
    }
    pthread_attr_destroy(&attributes);
    awaitBegun(1);
}

} // namespace
} // namespace orvo::test
