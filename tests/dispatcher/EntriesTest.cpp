// SPDX-License-Identifier: MIT
// The dispatcher library as a logging facility and a host program meet it: opened at run time.
#include "sweep/Allocations.h"

#include <orvo/tools/logging/Dispatcher.h>
#include <orvo/tools/logging/DispatcherControl.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace orvo::tools::logging {
namespace {

std::uint32_t toldThreshold = 0;

TEST(EntriesTest, ServeAFacilityAndItsHost) {
    void* const library = dlopen(DISPATCHER_LIBRARY, RTLD_NOW);
    ASSERT_TRUE(library) << dlerror();
    const auto* const descriptor =
        static_cast<const DispatcherDescriptor*>(dlsym(library, "logging_dispatcher_descriptor"));
    const auto subscribe = reinterpret_cast<decltype(&orvoLogSubscribe)>(dlsym(library, "orvoLogSubscribe"));
    const auto unsubscribe =
        reinterpret_cast<decltype(&orvoLogUnsubscribe)>(dlsym(library, "orvoLogUnsubscribe"));
    ASSERT_TRUE(descriptor && subscribe && unsubscribe);

    auto* const facility = reinterpret_cast<Logging*>(&toldThreshold);
    LookupLogger lookup = nullptr;
    EmitMessage emit = nullptr;
    descriptor->attach(
        facility, [] {}, [](std::uint64_t, std::uint32_t threshold) { toldThreshold = threshold; }, &lookup,
        &emit);
    std::uint64_t handle = 0;
    lookup("entries", &handle, &toldThreshold);
    EXPECT_EQ(toldThreshold, 4u);
    test::armMemoryFault({.nth = 1});
    std::uint64_t unlucky = 4711;
    {
        const test::ProductScope scope;
        lookup("unlucky", &unlucky, &toldThreshold);
    }
    EXPECT_EQ(unlucky, 0u) << "without memory: ask again";
    EXPECT_EQ(toldThreshold, noMemory);
    lookup("unlucky", &unlucky, &toldThreshold);
    EXPECT_EQ(unlucky, handle + 1);
    std::string received;
    const auto receive = [](void* context, const char* name, std::uint32_t, const char* message) {
        *static_cast<std::string*>(context) = std::string(name) + "|" + message;
        return 1;
    };
    const auto id = subscribe("entries", 3, receive, &received);
    EXPECT_EQ(toldThreshold, 3u);
    emit(handle, 3, "text", 0, 0);
    EXPECT_EQ(received, "entries|text");
    EXPECT_EQ(unsubscribe(id), 0);
    EXPECT_EQ(toldThreshold, 4u);
    EXPECT_EQ(unsubscribe(id), -1);
    descriptor->detach(facility);
    dlclose(library);
}

} // namespace
} // namespace orvo::tools::logging
