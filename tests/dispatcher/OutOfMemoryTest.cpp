// SPDX-License-Identifier: MIT
// Every allocation of every step is refused once: what fails leaves no trace, and what ends something does
// not fail.
#include "Dispatcher.h"

#include "sweep/Allocations.h"
#include "sweep/VirtualTime.h"

#include <gmock/gmock.h>

#include <map>

namespace orvo::test {

bool isHostThread() { // for the allocator: every thread here may be refused memory
    return true;
}

} // namespace orvo::test

namespace orvo::dispatcher {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::map<std::uint64_t, std::uint32_t> told; // thresholds by handle, as a facility was told
int received = 0;

class OutOfMemoryTest : public testing::TestWithParam<bool> {
protected:
    /// Whether a step succeeds with its `nth` allocation, or all from there on, refused.
    template <class Step> bool succeeds(Step step) {
        bool done = true;
        test::armMemoryFault({.nth = nth, .fromThenOn = GetParam()});
        try {
            const test::ProductScope scope;
            step();
        } catch (const std::bad_alloc&) {
            done = false;
        }
        mayFailLater = mayFailLater || test::allocationsOfHost() >= nth;
        test::armMemoryFault({});
        return done;
    }

    /// Does a step that may fail, and then once more.
    template <class Step> void insistOn(Step step) {
        if (!succeeds(step)) step();
    }

    void live() {
        Dispatcher dispatcher(Settings{});
        const auto known = dispatcher.lookup("known");
        auto* const facility = reinterpret_cast<tools::logging::Logging*>(&told);
        insistOn([&] {
            dispatcher.attach(
                facility, [] { told.clear(); },
                [](std::uint64_t handle, std::uint32_t threshold) {
                    const test::BoardScope notTheDispatchers;
                    told[handle] = threshold;
                });
        });
        EXPECT_TRUE(succeeds([&] { dispatcher.lookup("known"); }));
        Dispatcher::Logger added{};
        insistOn([&] { added = dispatcher.lookup("a name that is too long to be kept in place"); });
        EXPECT_EQ(added.handle, known.handle + 1) << "an entry of the attempt is left";
        dispatcher.lookup("next");
        subscribeAndEnd(dispatcher, added.handle);
        EXPECT_TRUE(succeeds([&] { dispatcher.detach(facility); }));
    }

    void subscribeAndEnd(Dispatcher& dispatcher, std::uint64_t handle) {
        const auto emitted = [&] {
            received = 0;
            dispatcher.emit(handle, 3, "below the console's threshold");
            return received;
        };
        std::uint64_t id = 0;
        const auto subscribe = [&] {
            const auto receive = [](void*, const char*, std::uint32_t, const char*) { return ++received; };
            id = dispatcher.subscribe("a name that is too long to be kept in place", 3, receive, nullptr);
        };
        told.clear();
        if (!succeeds(subscribe)) {
            EXPECT_THAT(told, IsEmpty());
            EXPECT_EQ(emitted(), 0);
            subscribe();
        }
        EXPECT_THAT(std::exchange(told, {}), ElementsAre(Pair(handle, 3)));
        EXPECT_TRUE(succeeds([&] { emitted(); }));
        EXPECT_EQ(received, 1);
        EXPECT_TRUE(succeeds([&] { EXPECT_TRUE(dispatcher.unsubscribe(id)); }));
        EXPECT_THAT(std::exchange(told, {}), ElementsAre(Pair(handle, 4)));
        EXPECT_EQ(emitted(), 0);
        EXPECT_FALSE(dispatcher.unsubscribe(id));
    }

    std::uint64_t nth = 1; // allocation of each step
    bool mayFailLater = true;
};

TEST_P(OutOfMemoryTest, StepThatFailsLeavesNoTraceAndEndsDoNotFail) {
    for (; mayFailLater; ++nth) {
        SCOPED_TRACE(nth);
        mayFailLater = false;
        live();
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(nth, 4u) << "no allocation was refused";
}

INSTANTIATE_TEST_SUITE_P(OnceOrFromThenOn, OutOfMemoryTest, testing::Bool());

} // namespace
} // namespace orvo::dispatcher
