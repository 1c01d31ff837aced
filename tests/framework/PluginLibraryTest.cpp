// SPDX-License-Identifier: MIT
// Loading of plug-ins, good and bad.
#include <orvo/core/PluginLibrary.h>

#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <dlfcn.h>

namespace orvo::test {
namespace {

using core::PluginLibrary;
using core::PluginLibraryError;

/// The stub with a fault; without, the good one.
std::string stub(const std::string& fault = "") {
    return ORVO_BUILD_ROOT "/tests/stubs/libstub-plugin" + fault + ".so";
}

/// What is wrong with a file; empty when nothing is.
std::string refusal(const std::string& path) {
    try {
        const PluginLibrary library(path);
        return "";
    } catch (const PluginLibraryError& error) {
        return error.what();
    }
}

TEST(PluginLibrary, EachBadFileGetsItsSentence) {
    const TemporaryFolder folder;
    const std::pair<std::string, const char*> rows[] = {
        {stub(), ""},
        {stub("-plugin_count-other"), "is not a plug-in: it has no symbol 'plugin_count'"},
        {stub("-plugin_descriptor-other"), "is not a plug-in: it has no symbol 'plugin_descriptor'"},
        {stub("-plugin_init-other"), "is not a plug-in: it has no symbol 'plugin_init'"},
        {stub("-plugin_deinit-other"), "is not a plug-in: it has no symbol 'plugin_deinit'"},
        {stub("-STUB_COUNT-0"), "offers no plug-in class: its 'plugin_count' is 0"},
        {stub("-STUB_COUNT--1"), "offers no plug-in class: its 'plugin_count' is -1"},
        {stub("-STUB_COUNT-3"), "has only 2 rows in 'plugin_descriptor', but its 'plugin_count' is 3"},
        {stub("-STUB_INIT-nullptr"), "has a null pointer in 'plugin_init'"},
        {stub("-STUB_DEINIT-nullptr"), "has a null pointer in 'plugin_deinit'"},
        {stub("-STUB_CREATE-nullptr"), "has no factory in row 1 of 'plugin_descriptor'"},
        {stub("-STUB_DESTROY-nullptr"), "has no destroy function in row 1 of 'plugin_descriptor'"},
        {stub("-STUB_DATE-nullptr"),
         "has no name, description, vendor or date in row 1 of 'plugin_descriptor'"},
        {folder.file("missing.so"), "cannot be read: No such file or directory"},
        {"", "cannot be read: No such file or directory"},
        {"libc.so.6", "cannot be read: No such file or directory"}, // a file of this folder, or none
        {folder.write("text.so", "no library"), "cannot be loaded: "},
        {folder.path(), "cannot be loaded: "}};
    for (const auto& [path, sentence] : rows) {
        SCOPED_TRACE(path);
        const std::string text = refusal(path), begin = "plug-in '" + path + "' " + sentence;
        if (*sentence)
            EXPECT_THAT(text, testing::StartsWith(begin));
        else
            EXPECT_EQ(text, "");
    }
}

TEST(PluginLibrary, ObjectsAndInitialisationsAreMadeUpFor) {
    const std::unique_ptr<void, int (*)(void*)> handle(dlopen(stub().c_str(), RTLD_NOW), dlclose);
    ASSERT_TRUE(handle) << dlerror();
    char* const journal = static_cast<char*>(dlsym(handle.get(), "stub_journal")); // what the stub was told
    {
        PluginLibrary library(stub());
        EXPECT_EQ(library.path(), stub());
        EXPECT_EQ(library.count(), 2U);
        EXPECT_STREQ(library.descriptor(1).name, "stub 2");
        EXPECT_THROW(library.create(), PluginLibraryError) << "not initialised";
        library.deinit(); // nothing to undo
        EXPECT_STREQ(journal, "");
        library.init();
        library.create(1).reset();
        EXPECT_THROW(library.create(2), std::out_of_range);
        library.init();
        library.deinit();
        library.init();
        EXPECT_STREQ(journal, "icpxidi");
    }
    EXPECT_STREQ(journal, "icpxididd");
    PluginLibrary barren(stub("-STUB_CREATE-createNothing"));
    barren.init();
    EXPECT_THROW(barren.create(1), PluginLibraryError);
}

} // namespace
} // namespace orvo::test
