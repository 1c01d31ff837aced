// The count of users and the order of the teardown.
#include "plugin/LibraryInitController.h"

#include "platform/GuardedSingleton.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace orvo::test {
namespace {

using core::zume::LibraryInitController;
using testing::ElementsAre;

std::vector<std::string> journal;

void first() {
    journal.push_back("first");
}
void second() {
    journal.push_back("second");
}

template <int Tag> class Journaled : public GuardedSingleton<Journaled<Tag>> {
public:
    void preDestruct() override { journal.push_back("preDestruct " + std::to_string(Tag)); }
    ~Journaled() override {
        const LibraryInitController::Lock again; // the teardown holds it, on this very thread
        journal.push_back("destroy " + std::to_string(Tag));
    }
};

void makeThird() {
    Journaled<3>::getInstance();
}

TEST(LibraryInitController, LastUserUndoesEverythingNewestFirst) {
    const LibraryInitController::Lock lock;
    LibraryInitController::addDeinitFunction(first); // without users nothing is kept
    LibraryInitController::registerSingleton(Journaled<4>::getInstance());
    LibraryInitController::beginUse();
    EXPECT_EQ(LibraryInitController::useCount(), 1U);
    LibraryInitController::addDeinitFunction(first);
    Journaled<1>::getInstance();
    LibraryInitController::beginUse();
    EXPECT_EQ(LibraryInitController::useCount(), 2U);
    LibraryInitController::addDeinitFunction(second);
    Journaled<2>::getInstance();
    LibraryInitController::addDeinitFunction(first);
    LibraryInitController::addDeinitFunction(makeThird);
    LibraryInitController::endUse();
    EXPECT_THAT(journal, testing::IsEmpty());
    LibraryInitController::endUse();
    EXPECT_THAT(journal, ElementsAre("first", "second", "first", "preDestruct 3", "destroy 3",
                                     "preDestruct 2", "destroy 2", "preDestruct 1", "destroy 1"));
    EXPECT_EQ(Journaled<1>::instance, nullptr);
    EXPECT_EQ(Journaled<2>::instance, nullptr);
    EXPECT_EQ(Journaled<3>::instance, nullptr);
    EXPECT_EQ(LibraryInitController::useCount(), 0U);

    journal.clear();
    LibraryInitController::beginUse(); // nothing is left of the life before
    Journaled<2>::getInstance();
    LibraryInitController::endUse();
    EXPECT_THAT(journal, ElementsAre("preDestruct 2", "destroy 2"));
}

} // namespace
} // namespace orvo::test
