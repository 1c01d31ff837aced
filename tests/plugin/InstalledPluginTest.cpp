// The plug-in file in installations with and without the libraries that it looks for.
#include "support/Concurrency.h"
#include "support/EnvironmentVariable.h"
#include "support/PluginRoot.h"
#include "support/RecordedLog.h"

#include <orvo/core/zume/EthernetFrame.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <gmock/gmock.h>

#include <atomic>
#include <optional>

namespace orvo::test {
namespace {

using testing::ElementsAre;

constexpr int stubAnswer = 4711;

/// The plug-in's pointer variable of an entry.
std::atomic<void*>& variable(const PluginFile& plugin, const char* name) {
    return *plugin.symbol<std::atomic<void*>>(name);
}

TEST(InstalledPlugin, AloneItSaysWhatIsMissing) {
    PluginRoot root;
    root.addDispatcher();
    setThreshold(4);
    core::PluginLibrary library(root.plugin());
    library.init();
    const auto port = boost::dynamic_pointer_cast<core::zume::PhysicalNetworkInterface>(library.create());
    ASSERT_TRUE(port);
    port->injectDependency("id", std::string("gige"));
    takeRecords();
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(port->setup());
        EXPECT_THAT(takeMessages(),
                    ElementsAre("5 PHY Id 'gige': Error in OHalInitDevice(...) for board id '0'"));
    }
    setThreshold(2);
}

TEST(InstalledPlugin, BindsTheLibrariesOnceTheyAreThere) {
    PluginRoot root;
    const PluginFile plugin(root.plugin());
    EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), -2130);
    EXPECT_EQ(plugin.call<int>("KIVRT_OpenLib"), -1);
    EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), -2130);
    EXPECT_EQ(plugin.call<void*>("KivFirmwareTrampoline", 1, 2), nullptr);
    root.addStub("stub-hal", "orvo_hal");
    EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), stubAnswer);
    EXPECT_EQ(plugin.call<void*>("KivFirmwareTrampoline", 1, 2), nullptr) << "each library by itself";
    root.addStub("stub-hal", "kivrt");
    EXPECT_NE(plugin.call<void*>("KivFirmwareTrampoline", 1, 2), nullptr);
    EXPECT_EQ(plugin.call<double>("KivGetParamValueDouble", &plugin, 1, 2), stubAnswer);
    EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), 0);
    EXPECT_EQ(plugin.call<int>("KIVRT_OpenLib"), 0);
}

TEST(InstalledPlugin, OneMissingEntryIsMissedAlone) {
    PluginRoot root;
    root.addStub("stub-hal-without-words", "orvo_hal");
    const PluginFile plugin(root.plugin());
    std::uint64_t value = 0;
    EXPECT_EQ(plugin.call<int>("OHalUiqPortGetNrOfWords", &value, 1, &value), -2130);
    EXPECT_EQ(plugin.call<int>("OHalRegisterRead", &value, 8, &value), stubAnswer);
    variable(plugin, "m_POHalGetMaxDevices") = nullptr;
    EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), -2130) << "bound, and not bound again";
    EXPECT_EQ(variable(plugin, "m_POHalGetMaxDevices"), nullptr);
}

TEST(InstalledPlugin, LibraryWithoutItsProbeIsTriedEveryTime) {
    PluginRoot root;
    root.addStub("stub-hal-without-probe", "orvo_hal");
    root.addStub("stub-hal-without-probe", "kivrt");
    const PluginFile plugin(root.plugin());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(plugin.call<void*>("OHalInitDevice", 0), nullptr);
        EXPECT_EQ(plugin.call<int>("OHalGetMaxDevices"), stubAnswer);
        EXPECT_EQ(plugin.call<int>("KivGetDesignTyp", &root), stubAnswer);
        variable(plugin, "m_POHalGetMaxDevices") = nullptr;
        variable(plugin, "m_PKivGetDesignTyp") = nullptr;
    }
    EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), 0) << "opened it was";
    EXPECT_EQ(plugin.call<int>("KIVRT_OpenLib"), 0);
}

TEST(InstalledPlugin, WhoSeesTheLibraryBoundSeesAllOfIt) {
    PluginRoot root;
    root.addStub("stub-hal", "orvo_hal");
    const PluginFile plugin(root.plugin());
    auto& probe = variable(plugin, "m_POHalInitDevice");
    auto& lastVariable = variable(plugin, "m_POHalVq4UnmapFpgaBase");
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
    PluginRoot complete("lib64/plugins"), empty("lib64/plugins");
    complete.addStub("stub-hal", "orvo_hal");
    const std::string completePath = complete.path() + "//", emptyPath = empty.path();
    const struct {
        const char* first;  // ORVODIR5_64
        const char* second; // ORVODIR5
        int result;
    } rows[] = {{completePath.c_str(), nullptr, 0},
                {nullptr, completePath.c_str(), 0},
                {completePath.c_str(), emptyPath.c_str(), 0},
                {emptyPath.c_str(), completePath.c_str(), -2130},
                {"", completePath.c_str(), -2130},
                {nullptr, nullptr, -2130}};
    EnvironmentVariable first("ORVODIR5_64", nullptr), second("ORVODIR5", nullptr);
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << (row.first ? row.first : "unset") << ", " << (row.second ? row.second : "unset"));
        first.set(row.first);
        second.set(row.second);
        const PluginRoot outside("opt");
        const PluginFile plugin(outside.plugin());
        EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), row.result);
        const bool wasResolved = row.first || row.second;
        first.set(completePath.c_str()); // set later, or changed after
        EXPECT_EQ(plugin.call<int>("OHA_OpenLib"), wasResolved ? row.result : 0);
    }
    first.set(emptyPath.c_str());
    const PluginFile inside(complete.plugin());
    EXPECT_EQ(inside.call<int>("OHA_OpenLib"), 0) << "its own place comes first";
}

TEST(InstalledPlugin, WithoutDispatcherEveryLoggerRefuses) {
    for (const bool hasOtherLibrary : {false, true}) { // one of that name that is no dispatcher
        SCOPED_TRACE(hasOtherLibrary);
        PluginRoot root;
        if (hasOtherLibrary) root.addStub("stub-hal", "common-logging-dispatcher");
        const PluginFile plugin(root.plugin());
        const auto getLogger = [&](const char* name) {
            return plugin.call<void*>("_ZN4orvo5tools7logging7Logging9getLoggerEPKc", name);
        };
        const auto isEnabled = [&](void* logger, std::uint32_t level) {
            return plugin.call<bool>("_ZN4orvo5tools7logging6Logger9isEnabledEj", logger, level);
        };
        void* const logger = getLogger("guard.library");
        ASSERT_NE(logger, nullptr);
        EXPECT_EQ(getLogger("another"), logger);
        for (std::uint32_t level = 0; level < 7; ++level) EXPECT_FALSE(isEnabled(logger, level));
        EXPECT_TRUE(isEnabled(logger, 7));
        takeRecords();
        plugin.call<void>("_ZN4orvo5tools7logging6Logger3logEjPKcjm", logger, std::uint32_t{7}, "nowhere",
                          std::uint32_t{0}, std::uint64_t{0});
        EXPECT_THAT(takeRecords(), testing::IsEmpty());
    }
}

} // namespace
} // namespace orvo::test
