// Life of a worker thread: started, ended, joined or not.
#include "platform/SimpleThread.h"

#include "support/Concurrency.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>

namespace orvo::test {
namespace {

/// What a worker of these tests does and shows; outlives the worker.
struct Task {
    std::atomic<int> begun = 0, ended = 0;
    std::atomic<bool> mayEnd = false;

    void awaitBegun(int count) {
        while (begun < count) std::this_thread::yield();
    }
};

class Worker : public templates::platform::SimpleThread {
public:
    explicit Worker(Task& task) : task_(task) {}
    void run() override {
        Task& task = task_; // the object may be going already
        ++task.begun;
        while (!task.mayEnd) std::this_thread::yield();
        ++task.ended;
    }

private:
    Task& task_;
};

TEST(SimpleThread, RunsOnceHoweverOftenItIsStarted) {
    Task task;
    Worker worker(task);
    worker.join(); // never started: at once
    worker.start();
    worker.start();
    task.awaitBegun(1);
    worker.start();
    auto joiner = inBackground([&] { worker.join(); });
    EXPECT_TRUE(isWaiting(joiner));
    task.mayEnd = true;
    joiner.get();
    EXPECT_EQ(task.ended, 1);
    worker.join(); // ended: at once
    EXPECT_EQ(task.begun, 1);

    task.mayEnd = false;
    worker.start(); // and once more
    task.awaitBegun(2);
    joiner = inBackground([&] { worker.join(); });
    EXPECT_TRUE(isWaiting(joiner));
    task.mayEnd = true;
    joiner.get();
    EXPECT_EQ(task.ended, 2);
}

TEST(SimpleThread, DestructionWaitsForItsEnd) {
    Task task;
    std::future<void> release;
    {
        Worker worker(task);
        worker.start();
        task.awaitBegun(1);
        release = inBackground([&] {
            std::this_thread::sleep_for(
                std::chrono::milliseconds{20}); // the destruction is under way by then
            task.mayEnd = true;
        });
    }
    EXPECT_EQ(task.ended, 1);
}

/// Address space in use, in MiB; the stack of a thread that nobody reclaimed stays in it.
long addressSpaceMiB() {
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * 4 / 1024;
}

TEST(SimpleThread, NothingStaysOfThreadsThatNobodyJoins) {
    Task task;
    task.mayEnd = true;
    Worker worker(task);
    const auto runTo = [&](int count) {
        while (task.begun < count) {
            worker.start();
            std::this_thread::yield();
        }
    };
    runTo(20); // what the C library keeps for the next thread is there now
    const long before = addressSpaceMiB();
    runTo(320);
    EXPECT_LT(addressSpaceMiB() - before, 400) << "300 stacks of 8 MiB would be 2400";
}

TEST(SimpleThread, FailedStartCountsAsEnded) {
    pthread_attr_t usual, impossible;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    pthread_attr_init(&impossible);
    pthread_attr_setstacksize(&impossible, std::size_t{1} << 50);
    Task task;
    task.mayEnd = true;
    Worker worker(task);
    ASSERT_EQ(pthread_setattr_default_np(&impossible), 0);
    worker.start();
    pthread_setattr_default_np(&usual);
    worker.join(); // at once
    EXPECT_EQ(task.begun, 0);
    worker.start();
    worker.join();
    task.awaitBegun(1); // a join after the end returns at once; so wait for what must have been
    pthread_attr_destroy(&usual);
    pthread_attr_destroy(&impossible);
}

TEST(SimpleThread, ThreadsNameThemselves) {
    inBackground([] {
        const auto nameNow = [] {
            char name[32] = {};
            pthread_getname_np(pthread_self(), name, sizeof name);
            return std::string(name);
        };
        templates::platform::nameThisThread("fifteen letters");
        EXPECT_EQ(nameNow(), "fifteen letters");
        templates::platform::nameThisThread("sixteen letters!");
        EXPECT_EQ(nameNow(), "fifteen letters") << "refused by the system, and no harm done";
    }).get();
}

} // namespace
} // namespace orvo::test
