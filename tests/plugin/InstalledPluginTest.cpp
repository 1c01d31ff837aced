// SPDX-License-Identifier: MIT
// The plug-in file in installations with and without the libraries that it looks for.
#include "support/Concurrency.h"
#include "support/EnvironmentVariable.h"
#include "support/PluginRoot.h"
#include "support/RecordedLog.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <utility>

namespace orvo::test {
namespace {

std::function<void()> duringLoad; // of the next board library

thread_local int allocationsLeft = -1; // until one is refused; negative refuses none

} // namespace
} // namespace orvo::test

void* operator new(std::size_t bytes) {
    if (orvo::test::allocationsLeft < 0 || orvo::test::allocationsLeft-- > 0)
        if (void* const block = std::malloc(bytes)) return block;
    throw std::bad_alloc();
}
// The standard one calls the other; a sanitizer's would not.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept try {
    return operator new(bytes);
} catch (const std::bad_alloc&) {
    return nullptr;
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

extern "C" ORVO_EXPORT void whileBoardLibraryLoads() {
    if (const auto action = std::exchange(orvo::test::duringLoad, {})) action();
}

namespace orvo::test {
namespace {

constexpr int stubAnswer = 4711, notLoaded = -2130;

TEST(InstalledPlugin, BindsTheLibrariesOnceTheyAreThere) {
    PluginRoot root;
    const PluginFile plugin(root.plugin());
    EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), notLoaded);
    EXPECT_EQ(plugin.call<int>("KIVRT_OpenLib"), -1);
    EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), notLoaded);
    root.addStub("stub-hal", "orvo_hal");
    EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), stubAnswer);
    EXPECT_EQ(plugin.call<void*>("KivFirmwareTrampoline", 1, 2), nullptr) << "each library by itself";
    root.addStub("stub-hal", "kivrt");
    EXPECT_NE(plugin.call<void*>("KivFirmwareTrampoline", 1, 2), nullptr);
    EXPECT_EQ(plugin.call<double>("KivGetParamValueDouble", &plugin, 1, 2), stubAnswer);
    EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), 0);
    EXPECT_EQ(plugin.call<int>("KIVRT_OpenLib"), 0);
}

TEST(InstalledPlugin, WithoutMemoryALibraryIsNotLoadedAndCanBeTriedAgain) {
    PluginRoot root;
    root.addStub("stub-hal", "orvo_hal");
    root.addStub("stub-hal", "kivrt");
    const PluginFile plugin(root.plugin());
    for (const auto* name : {"OHA_OpenLib", "KIVRT_OpenLib"}) {
        auto* const openLibrary = plugin.symbol<int()>(name);
        for (int granted = 0; allocationsLeft < 0; ++granted) {
            SCOPED_TRACE(testing::Message() << name << " after " << granted << " allocations");
            int result = 0;
            allocationsLeft = granted;
            EXPECT_NO_THROW(result = openLibrary());
            EXPECT_EQ(result < 0, allocationsLeft < 0);
        }
        allocationsLeft = -1;
    }
}

TEST(InstalledPlugin, BoardLibraryMayCallBackWhileItIsLoaded) {
    PluginRoot root;
    root.copyStub("stub-hal", "orvo_hal");
    const PluginFile plugin(root.plugin());
    auto& probe = *plugin.symbol<std::atomic<void*>>("m_POHalInitDevice");
    duringLoad = [&] {
        for (int call = 0; call < 2; ++call) EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), stubAnswer);
        EXPECT_EQ(probe, nullptr) << "other threads wait until it is loaded";
    };
    EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), stubAnswer);
    EXPECT_FALSE(duringLoad) << "has run";
    EXPECT_NE(probe, nullptr);
}

TEST(InstalledPlugin, OneMissingEntryIsMissedAloneAndWithoutItsProbeALibraryIsTriedEveryTime) {
    for (const bool hasProbe : {true, false}) {
        SCOPED_TRACE(hasProbe);
        const char* const stub = hasProbe ? "stub-hal-without-words" : "stub-hal-without-probe";
        PluginRoot root;
        root.addStub(stub, "orvo_hal");
        root.addStub(stub, "kivrt");
        const PluginFile plugin(root.plugin());
        std::uint64_t value = 0;
        EXPECT_EQ(plugin.call<void*>("OHalInitDevice", 0) != nullptr, hasProbe);
        EXPECT_EQ(plugin.call<int>("OHalUiqPortGetNrOfWords", &value, 1, &value),
                  hasProbe ? notLoaded : stubAnswer);
        for (const auto* name : {"OHalGetMaxDevices", "KivGetDesignTyp"}) {
            SCOPED_TRACE(name);
            EXPECT_EQ(plugin.call<int>(name, &value), stubAnswer);
            *plugin.symbol<std::atomic<void*>>((std::string("m_P") + name).c_str()) = nullptr;
            EXPECT_EQ(plugin.call<int>(name, &value) == stubAnswer, !hasProbe) << "bound once, or again";
        }
        EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), 0) << "opened it was";
        EXPECT_EQ(plugin.call<int>("KIVRT_OpenLib"), 0);
    }
}

TEST(InstalledPlugin, WhoSeesTheLibraryBoundSeesAllOfIt) {
    PluginRoot root;
    root.addStub("stub-hal", "orvo_hal");
    const PluginFile plugin(root.plugin());
    auto& probe = *plugin.symbol<std::atomic<void*>>("m_POHalInitDevice");
    auto& lastVariable = *plugin.symbol<std::atomic<void*>>("m_POHalVq4UnmapFpgaBase");
    auto* const first = plugin.symbol<int()>("OHalGetMaxDevices");
    auto* const last = plugin.symbol<int(void*, void*)>("OHalVq4UnmapFpgaBase");
    for (int round = 0; round < 200; ++round) {
        probe = nullptr;
        lastVariable = nullptr;
        std::atomic<int> right = 0;
        runTogether(3, [&](int i) {
            if (i == 2) // as soon as it shows; or else with a first call of its own
                for (int spin = 0; !probe && spin < 100'000; ++spin) continue;
            right += (i == 0 ? first() : last(nullptr, nullptr)) == stubAnswer;
        });
        ASSERT_EQ(right, 3) << "in round " << round;
    }
}

TEST(InstalledPlugin, OutsideAnInstallationTheEnvironmentNamesOne) {
    PluginRoot complete, empty;
    complete.addStub("stub-hal", "orvo_hal");
    const std::string full = complete.path() + "//", bare = empty.path();
    const struct {
        const char* first;  // ORVODIR5_64
        const char* second; // ORVODIR5
        int result, later;  // later is when the first variable names the complete installation after all
    } rows[] = {{full.c_str(), bare.c_str(), 0, 0},
                {nullptr, full.c_str(), 0, 0},
                {bare.c_str(), full.c_str(), notLoaded, notLoaded},
                {"", full.c_str(), notLoaded, notLoaded},
                {nullptr, nullptr, notLoaded, 0}};
    EnvironmentVariable first("ORVODIR5_64", nullptr), second("ORVODIR5", nullptr);
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(&row - rows));
        first.set(row.first);
        second.set(row.second);
        const PluginRoot outside("opt");
        const PluginFile plugin(outside.plugin());
        EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), row.result);
        first.set(full.c_str());
        EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), row.later);
    }
    first.set(bare.c_str());
    EXPECT_EQ(PluginFile(complete.plugin()).call<int>("OHA_OpenLib"), 0) << "its own place comes first";
}

/// Loads the plug-in, finds it new, and leaves traces in all that a host can see of it.
void useAsNew(const PluginRoot& root) {
    const PluginFile plugin(root.plugin());
    auto& crcWatch = *plugin.symbol<bool>("_ZN4orvo4core4zume20c_MONITOR_CRC_ERRORSE");
    EXPECT_FALSE(crcWatch);
    EXPECT_EQ(*plugin.symbol<std::atomic<void*>>("m_POHalInitDevice"), nullptr);
    crcWatch = true;
    EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), stubAnswer);
    (*plugin.symbol<void (*)()>("plugin_init"))();
    EXPECT_THAT(takeMessages(),
                testing::ElementsAre("2 PLUGIN INIT: OrvoGbePhysicalNetworkInterface (useCount: 1)"));
    EXPECT_EQ(attachment().attachCount, attachment().detachCount + 1);
}

TEST(InstalledPlugin, LoadedAgainItIsNewAlsoWhenTheHostForgotToDeinitialise) {
    // The board library stays, and has thread-local data in the loader's reserve behind ours, as the plug-in
    // has.
    PluginRoot root;
    root.addStub("stub-hal", "orvo_hal");
    root.addDispatcher();
    const auto useAgainAndAgain = [&root] {
        for (int load = 0; load < 300; ++load) {
            useAsNew(root);
            EXPECT_EQ(attachment().attachCount, attachment().detachCount) << "would be called back unloaded";
        }
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(useAgainAndAgain(), testing::ExitedWithCode(0), ""); // the host's memory leak is the child's
}

TEST(InstalledPlugin, LeavesADispatcherThatEndsWithTheProcess) {
    PluginRoot root;
    root.addStub("stub-dispatcher", "common-logging-dispatcher");
    const auto endWithoutDeinitialisation = [&root] {
        const PluginFile plugin(root.plugin());
        (*plugin.symbol<void (*)()>("plugin_init"))();
        std::exit(0);
    };
    EXPECT_EXIT(endWithoutDeinitialisation(), testing::ExitedWithCode(0), "");
}

TEST(InstalledPlugin, WithoutDispatcherEveryLoggerRefuses) {
    for (const bool hasOtherLibrary : {false, true}) { // one of that name that is no dispatcher
        SCOPED_TRACE(hasOtherLibrary);
        PluginRoot root;
        if (hasOtherLibrary) root.addStub("stub-hal", "common-logging-dispatcher");
        const PluginFile plugin(root.plugin());
        (*plugin.symbol<void (*)()>("plugin_init"))();
        auto* const getLogger =
            plugin.symbol<void*(const char*)>("_ZN4orvo5tools7logging7Logging9getLoggerEPKc");
        auto* const isEnabled =
            plugin.symbol<bool(void*, std::uint32_t)>("_ZN4orvo5tools7logging6Logger9isEnabledEj");
        void* const logger = getLogger("guard.library");
        ASSERT_NE(logger, nullptr);
        EXPECT_EQ(getLogger("another"), logger);
        EXPECT_FALSE(isEnabled(logger, 6));
        EXPECT_TRUE(isEnabled(logger, 7));
        plugin.call<void>("_ZN4orvo5tools7logging6Logger3logEjPKcjm", logger, std::uint32_t{7}, "nowhere",
                          std::uint32_t{0}, std::uint64_t{0});
        (*plugin.symbol<void (*)()>("plugin_deinit"))();
    }
}

} // namespace
} // namespace orvo::test
