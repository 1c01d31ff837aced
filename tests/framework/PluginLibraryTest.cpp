// Loading of plug-ins, good and bad.
#include <orvo/core/PluginLibrary.h>

#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <dlfcn.h>

#include <cstring>

namespace orvo::test {
namespace {

using core::PluginLibrary;
using core::PluginLibraryError;
using testing::HasSubstr;

/// The stub with a fault; without, the good one.
std::string stub(const std::string& fault = {}) {
    return ORVO_BUILD_ROOT "/tests/stubs/libstub-plugin" + (fault.empty() ? "" : "-" + fault) + ".so";
}

/// The sentence with which a file is refused, without its name; empty when it is not.
std::string refusal(const std::string& path) {
    try {
        const PluginLibrary library(path);
    } catch (const PluginLibraryError& error) {
        const std::string text = error.what(), name = "plug-in '" + path + "' ";
        EXPECT_TRUE(text.starts_with(name)) << text;
        return text.substr(std::min(name.size(), text.size()));
    }
    return {};
}

TEST(PluginLibrary, EachBadFileGetsItsSentence) {
    const struct {
        const char* fault;
        const char* sentence;
    } rows[] = {
        {"", ""},
        {"plugin_count-other", "is not a plug-in: it has no symbol 'plugin_count'"},
        {"plugin_descriptor-other", "is not a plug-in: it has no symbol 'plugin_descriptor'"},
        {"plugin_init-other", "is not a plug-in: it has no symbol 'plugin_init'"},
        {"plugin_deinit-other", "is not a plug-in: it has no symbol 'plugin_deinit'"},
        {"STUB_COUNT-0", "offers no plug-in class: its 'plugin_count' is 0"},
        {"STUB_COUNT--1", "offers no plug-in class: its 'plugin_count' is -1"},
        {"STUB_INIT-nullptr", "has a null pointer in 'plugin_init'"},
        {"STUB_DEINIT-nullptr", "has a null pointer in 'plugin_deinit'"},
        {"STUB_CREATE-nullptr", "has no factory in row 1 of 'plugin_descriptor'"},
        {"STUB_DESTROY-nullptr", "has no destroy function in row 1 of 'plugin_descriptor'"},
        {"STUB_DATE-nullptr", "has no name, description, vendor or date in row 1 of 'plugin_descriptor'"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        EXPECT_EQ(refusal(stub(row.fault)), row.sentence);
    }
}

TEST(PluginLibrary, EachFileThatIsNoneGetsItsReason) {
    const TemporaryFolder folder;
    EXPECT_EQ(refusal(folder / "missing.so"), "cannot be read: No such file or directory");
    EXPECT_EQ(refusal(""), "cannot be read: No such file or directory");
    EXPECT_THAT(refusal(folder.write("text.so", "no library")), HasSubstr("cannot be loaded: "));
    EXPECT_THAT(refusal(folder.path()), HasSubstr("cannot be loaded: "));
    EXPECT_THAT(refusal("libc.so.6"), HasSubstr("cannot be read: ")) << "a file of this folder, or none";
}

/// What was done with the stub since the last call.
std::string takeJournal(void* handle) {
    auto* const journal = static_cast<char*>(dlsym(handle, "stub_journal"));
    std::string text = journal;
    std::memset(journal, 0, text.size());
    return text;
}

TEST(PluginLibrary, ObjectsAndInitialisationsAreMadeUpFor) {
    const std::unique_ptr<void, int (*)(void*)> handle(dlopen(stub().c_str(), RTLD_NOW), dlclose);
    ASSERT_TRUE(handle) << dlerror();
    {
        PluginLibrary library(stub());
        EXPECT_EQ(library.path(), stub());
        EXPECT_EQ(library.count(), 2U);
        EXPECT_STREQ(library.descriptor(1).name, "stub 2");
        EXPECT_THROW(library.descriptor(2), std::out_of_range);
        EXPECT_THROW(library.create(), PluginLibraryError) << "not initialised";
        library.deinit(); // nothing to undo
        EXPECT_EQ(takeJournal(handle.get()), "");
        library.init();
        library.create(1).reset();
        EXPECT_EQ(takeJournal(handle.get()), "icpx");
        EXPECT_THROW(library.create(2), std::out_of_range);
        library.init();
        library.deinit();
        library.init();
        EXPECT_EQ(takeJournal(handle.get()), "idi");
    }
    EXPECT_EQ(takeJournal(handle.get()), "dd");
    PluginLibrary barren(stub("STUB_CREATE-createNothing"));
    barren.init();
    EXPECT_THROW(barren.create(1), PluginLibraryError);
}

} // namespace
} // namespace orvo::test
