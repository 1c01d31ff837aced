// The plug-in file as a host meets it: descriptor, initialisation and its undoing, factory. This program has
// functions of its own in place of the framework's four, which the plug-in meets by their names.
#include "support/Concurrency.h"
#include "support/PluginRoot.h"
#include "support/RecordedLog.h"

#include <orvo/core/zume/EthernetFrame.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <gmock/gmock.h>

#include <link.h>

#include <functional>
#include <vector>

namespace orvo::test {
namespace {

using testing::ElementsAre;

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

using Function = void (*)();

class PluginEntryTest : public testing::Test {
protected:
    PluginEntryTest() {
        root.addDispatcher();
        journal.clear();
        setThreshold(2);
        takeRecords();
        detachedBefore = attachment().detachCount;
    }

    std::vector<std::string> takeJournal() { return std::exchange(journal, {}); }

    PluginRoot root;
    PluginFile plugin{root.plugin()};
    const Function init = *plugin.symbol<Function>("plugin_init");
    const Function deinit = *plugin.symbol<Function>("plugin_deinit");
};

std::size_t sizeOf(const void* symbol) {
    Dl_info info{};
    void* extra = nullptr;
    if (dladdr1(symbol, &info, &extra, RTLD_DL_SYMENT) == 0 || !extra) return 0;
    return static_cast<const ElfW(Sym)*>(extra)->st_size;
}

TEST_F(PluginEntryTest, DescriptorRowIsAsAgreed) {
    const auto* const count = plugin.symbol<std::int32_t>("plugin_count");
    EXPECT_EQ(*count, 1);
    EXPECT_EQ(sizeOf(count), 4U);
    EXPECT_EQ(sizeOf(plugin.symbol<Function>("plugin_init")), 8U);
    EXPECT_EQ(sizeOf(plugin.symbol<Function>("plugin_deinit")), 8U);
    const void* const row = plugin.symbol<void>("plugin_descriptor");
    EXPECT_EQ(sizeOf(row), 72U);
    const auto* const texts = static_cast<const char* const*>(row) + 2; // after factory and destroy function
    EXPECT_THAT(
        std::vector<std::string>(texts, texts + 4),
        ElementsAre("zume-phy-gige", "Zume GigE Physical Network Interface", "Orvo GmbH", "26.08.2010"));
    const auto* const numbers = static_cast<const std::uint64_t*>(row) + 6;
    EXPECT_THAT(std::vector<std::uint64_t>(numbers, numbers + 3), ElementsAre(1, 0x1117A, 0));
}

TEST_F(PluginEntryTest, LastDeinitialisationUndoesAllOfThem) {
    for (int life = 0; life < 2; ++life) { // a life after the first starts afresh
        SCOPED_TRACE(life);
        detachedBefore = attachment().detachCount;
        init();
        EXPECT_THAT(takeMessages(),
                    ElementsAre("2 PLUGIN INIT: OrvoGbePhysicalNetworkInterface (useCount: 1)"));
        EXPECT_THAT(takeJournal(), ElementsAre("core init 0", "zume init 0"));
        init();
        deinit();
        EXPECT_THAT(takeJournal(), ElementsAre("core init 0", "zume init 0"));
        EXPECT_THAT(takeMessages(),
                    ElementsAre("2 PLUGIN INIT: OrvoGbePhysicalNetworkInterface (useCount: 2)",
                                "2 PLUGIN DEINIT: OrvoGbePhysicalNetworkInterface (useCount: 2)"));
        EXPECT_EQ(detachments(), 0);
        deinit();
        EXPECT_THAT(takeJournal(),
                    ElementsAre("zume deinit 0", "core deinit 0", "zume deinit 0", "core deinit 0"))
            << "both before the logging facility goes";
        EXPECT_EQ(detachments(), 1);
        const auto records = takeRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].logger, "guard.library");
        EXPECT_THAT(records[0].text,
                    testing::EndsWith("PLUGIN DEINIT: OrvoGbePhysicalNetworkInterface (useCount: 1)"));
    }
}

TEST_F(PluginEntryTest, FrameworkInitialiserMayComeBack) {
    setThreshold(3);
    duringCoreInit = init; // on the thread that holds the library-init lock
    init();
    EXPECT_THAT(takeJournal(), ElementsAre("core init 0", "core init 0", "zume init 0", "zume init 0"));
    deinit();
    deinit();
    EXPECT_EQ(takeJournal().size(), 4U);
    EXPECT_EQ(detachments(), 1);
    EXPECT_THAT(takeRecords(), testing::IsEmpty()) << "below the threshold";
}

TEST_F(PluginEntryTest, UsersOnManyThreadsAreCountedTogether) {
    constexpr int threadCount = 4, roundsEach = 25;
    init();
    runTogether(threadCount, [&](int) {
        for (int i = 0; i < roundsEach; ++i) {
            init();
            deinit();
        }
    });
    takeJournal();
    EXPECT_EQ(detachments(), 0);
    deinit();
    EXPECT_EQ(takeJournal().size(), 2U * (threadCount * roundsEach + 1));
    EXPECT_EQ(detachments(), 1);
}

TEST_F(PluginEntryTest, FactoryMakesInterfacesAndDestroyTakesNull) {
    for (int load = 0; load < 2; ++load) { // unloaded and loaded again
        SCOPED_TRACE(load);
        core::PluginLibrary library(root.plugin());
        core::PluginLibrary second(root.plugin());
        EXPECT_EQ(library.count(), 1U);
        library.init();
        second.init();
        const auto port = boost::dynamic_pointer_cast<core::zume::PhysicalNetworkInterface>(library.create());
        ASSERT_TRUE(port);
        EXPECT_NE(port, second.create());
        port->injectDependency("boardId", 0);
        try {
            port->injectDependency("portId", std::string("2"));
            ADD_FAILURE() << "took a text for a number";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "boost::bad_any_cast: failed conversion using boost::any_cast");
        }
        library.descriptor().destroy(nullptr);
    }
    EXPECT_EQ(takeMessages().size(), 8U) << "each use of each load began and ended";
    EXPECT_EQ(detachments(), 2);
}

} // namespace
} // namespace orvo::test
