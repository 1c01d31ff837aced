// SPDX-License-Identifier: MIT
// The plug-in file as a host meets it: descriptor, initialisation and its undoing, factory. This program has
// functions of its own in place of the framework's four, which the plug-in meets by their names.
#include "support/Concurrency.h"
#include "support/PluginRoot.h"
#include "support/RecordedLog.h"

#include <orvo/core/zume/EthernetFrame.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <gmock/gmock.h>

#include <functional>
#include <vector>

namespace orvo::test {
namespace {

using namespace testing;

// What the plug-in called, in order, with the number of times that its log was detached by then.
std::vector<std::string> journal;
int detachedBefore = 0;
std::function<void()> duringCoreInit;

int detachments() {
    return attachment().detachCount - detachedBefore;
}

void note(const std::string& name) {
    journal.push_back(name + " " + std::to_string(detachments())); // under the library-init lock
}

} // namespace
} // namespace orvo::test

extern "C" {
void OrvoCoreInit() {
    orvo::test::note("core init");
    if (const auto action = std::exchange(orvo::test::duringCoreInit, {})) action();
}
void OrvoCoreDeinit() {
    orvo::test::note("core deinit");
}
void OrvoZumeInit() {
    orvo::test::note("zume init");
}
void OrvoZumeDeinit() {
    orvo::test::note("zume deinit");
}
}

namespace orvo::test {
namespace {

class PluginEntryTest : public Test {
protected:
    PluginEntryTest() {
        root.addDispatcher();
        journal.clear();
        takeRecords();
        detachedBefore = attachment().detachCount;
    }

    static std::vector<std::string> takeJournal() { return std::exchange(journal, {}); }

    PluginRoot root;
    PluginFile plugin{root.plugin()};
    void (*const init)() = *plugin.symbol<void (*)()>("plugin_init");
    void (*const deinit)() = *plugin.symbol<void (*)()>("plugin_deinit");
};

TEST_F(PluginEntryTest, LastDeinitialisationUndoesAllOfThem) {
    for (int life = 0; life < 2; ++life) { // a life after the first starts afresh
        SCOPED_TRACE(life);
        detachedBefore = attachment().detachCount;
        duringCoreInit = init; // comes back on the thread that holds the library-init lock
        init();
        EXPECT_THAT(takeJournal(), ElementsAre("core init 0", "core init 0", "zume init 0", "zume init 0"));
        deinit();
        EXPECT_EQ(detachments(), 0);
        deinit();
        EXPECT_THAT(takeJournal(),
                    ElementsAre("zume deinit 0", "zume deinit 0", "core deinit 0", "core deinit 0"))
            << "newest first, and before the logging facility goes";
        EXPECT_EQ(detachments(), 1);
        EXPECT_THAT(takeMessages(),
                    ElementsAre("2 PLUGIN INIT: OrvoGbePhysicalNetworkInterface (useCount: 1)",
                                "2 PLUGIN INIT: OrvoGbePhysicalNetworkInterface (useCount: 2)",
                                "2 PLUGIN DEINIT: OrvoGbePhysicalNetworkInterface (useCount: 2)",
                                "2 PLUGIN DEINIT: OrvoGbePhysicalNetworkInterface (useCount: 1)"));
    }
}

TEST_F(PluginEntryTest, UsersOnManyThreadsAreCountedTogether) {
    init();
    runTogether(4, [&](int) {
        for (int i = 0; i < 25; ++i) {
            init();
            deinit();
        }
    });
    takeJournal();
    deinit();
    EXPECT_EQ(takeJournal().size(), 2U * (4 * 25 + 1));
    EXPECT_EQ(detachments(), 1);
    EXPECT_EQ(takeRecords().back().logger, "guard.library");
}

TEST_F(PluginEntryTest, FactoryMakesInterfacesThatSayWhatIsMissing) {
    for (int load = 0; load < 2; ++load) { // unloaded and loaded again
        SCOPED_TRACE(load);
        core::PluginLibrary library(root.plugin()), second(root.plugin());
        EXPECT_EQ(library.count(), 1U);
        EXPECT_THAT(library.descriptor(),
                    FieldsAre(_, _, StrEq("zume-phy-gige"), StrEq("Zume GigE Physical Network Interface"),
                              StrEq("Orvo GmbH"), StrEq("26.08.2010"), 1, 70010, 0));
        library.init();
        second.init();
        const auto port = boost::dynamic_pointer_cast<core::zume::PhysicalNetworkInterface>(library.create());
        ASSERT_TRUE(port);
        EXPECT_NE(port, second.create());
        EXPECT_THROW(port->injectDependency("portId", std::string("2")), std::runtime_error);
        EXPECT_FALSE(port->setup()) << "there is no board library";
        library.descriptor().destroy(nullptr);
    }
    const auto messages = takeMessages();
    EXPECT_THAT(messages, Contains(HasSubstr("PLUGIN")).Times(8)) << "each use of each load began and ended";
    EXPECT_THAT(messages, Contains("5 PHY Id '': Error in OHalInitDevice(...) for board id '0'").Times(2));
    EXPECT_EQ(detachments(), 2);
}

TEST_F(PluginEntryTest, ExceptionOfThePluginCanBeReadAfterItsLibraryWasClosed) {
    const PluginRoot unloaded; // which nobody else holds open
    try {
        core::PluginLibrary library(unloaded.plugin());
        library.init();
        library.create()->injectDependency("portId", std::string("2"));
        ADD_FAILURE() << "took a text for a number";
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "boost::bad_any_cast: failed conversion using boost::any_cast");
    }
}

} // namespace
} // namespace orvo::test
