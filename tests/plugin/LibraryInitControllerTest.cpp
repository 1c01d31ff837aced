// SPDX-License-Identifier: MIT
// The count of users and the order of the teardown.
#include "plugin/LibraryInitController.h"

#include "platform/GuardedSingleton.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace orvo::test {
namespace {

using core::zume::LibraryInitController;
using testing::ElementsAre;

std::vector<std::string> journal;

template <int tag> void note() {
    journal.push_back("function " + std::to_string(tag));
}

template <int tag> class Journaled : public GuardedSingleton<Journaled<tag>> {
public:
    void preDestruct() override { journal.push_back("preDestruct " + std::to_string(tag)); }
    ~Journaled() override {
        const LibraryInitController::Lock again; // the teardown holds it, on this very thread
        journal.push_back("destroy " + std::to_string(tag));
    }
};

int revivals = 0;

/// Makes the other one when it goes.
template <int tag> class Reviving : public GuardedSingleton<Reviving<tag>> {
public:
    ~Reviving() override {
        if (++revivals < 10) Reviving<1 - tag>::getInstance(); // so that an endless teardown fails and ends
    }
};

TEST(LibraryInitController, TeardownDestroysWhatItFoundAndNotWhatIsMadeMeanwhile) {
    const LibraryInitController::Lock lock;
    LibraryInitController::beginUse();
    Reviving<0>::getInstance();
    LibraryInitController::endUse();
    EXPECT_EQ(revivals, 1);
    EXPECT_EQ(Reviving<0>::instance, nullptr);
    EXPECT_NE(Reviving<1>::instance, nullptr);
}

TEST(LibraryInitController, LastUserUndoesEverythingNewestFirst) {
    const LibraryInitController::Lock lock;
    LibraryInitController::addDeinitFunction(note<0>); // without users nothing is kept,
    auto* const lasting = Journaled<0>::getInstance(); // and what is made then lives on
    for (int life = 0; life < 2; ++life) {             // nothing is left of the life before
        SCOPED_TRACE(life);
        LibraryInitController::beginUse();
        LibraryInitController::addDeinitFunction(note<1>);
        Journaled<1>::getInstance();
        LibraryInitController::beginUse();
        EXPECT_EQ(LibraryInitController::useCount(), 2U);
        LibraryInitController::addDeinitFunction(note<2>);
        Journaled<2>::getInstance();
        LibraryInitController::addDeinitFunction(note<1>);
        LibraryInitController::addDeinitFunction([] { Journaled<3>::getInstance(); });
        LibraryInitController::endUse();
        EXPECT_THAT(journal, testing::IsEmpty());
        LibraryInitController::endUse();
        EXPECT_THAT(std::exchange(journal, {}),
                    ElementsAre("function 1", "function 2", "function 1", "preDestruct 3", "destroy 3",
                                "preDestruct 2", "destroy 2", "preDestruct 1", "destroy 1"));
        EXPECT_EQ(Journaled<1>::instance, nullptr);
        EXPECT_EQ(Journaled<3>::instance, nullptr);
        EXPECT_EQ(LibraryInitController::useCount(), 0U);
    }
    EXPECT_EQ(Journaled<0>::getInstance(), lasting);
}

} // namespace
} // namespace orvo::test
