// From a file's path, or a variable, to the installation's folder; and opening of libraries below it.
#include "hal/InstallationRoot.h"

#include "hal/SharedLibrary.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <optional>
#include <string>

namespace orvo::test {
namespace {

TEST(InstallationRoot, IsAboveTheInnermostFolderOfThatName) {
    const struct {
        const char* file;
        std::optional<std::string> root;
    } rows[] = {{"/opt/x/lib64/plugins/libp.so", "/opt/x"},
                {"/opt/x/bin/libp.so", "/opt/x"},
                {"/opt/x/dll/libp.so", "/opt/x"},
                {"/opt/x/lib/libp.so", "/opt/x"},
                {"/opt/x/Hardware Applets/libp.so", "/opt/x"},
                {"/opt/x/hardware applets/a/b/libp.so", "/opt/x"},
                {"/srv/a/LIB64/sub/libp.so", "/srv/a"},
                {"/srv/a//lib//libp.so", "/srv/a"},
                {"/srv/a///bin/sub///libp.so", "/srv/a"},
                {"/lib64/libp.so", "/"},
                {"//lib64/libp.so", "/"},
                {"/opt/bin/x/lib/libp.so", "/opt/bin/x"},
                {"/opt/x/lib/lib64/libp.so", "/opt/x/lib"},
                {"./lib64/libp.so", "."},
                {"a/lib64/libp.so", "a"},
                {"/opt/x/libp.so", std::nullopt},
                {"/opt/x/lib", std::nullopt},
                {"/opt/lib32/mybin/libs/libp.so", std::nullopt},
                {"/libp.so", std::nullopt},
                {"libp.so", std::nullopt}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        std::string path = row.file;
        const bool found = hal::cutToInstallationRoot(path.data());
        EXPECT_EQ(found ? std::optional<std::string>(path.c_str()) : std::nullopt, row.root);
    }
}

TEST(InstallationRoot, VariableIsTakenWithoutTrailingSlashesAndCutToFit) {
    const std::string longest = "/" + std::string(1022, 'x');
    const std::pair<std::string, std::string> rows[] = {
        {"/inst/", "/inst"},
        {"/inst", "/inst"},
        {"a/b///", "a/b"},
        {"/", "/"},
        {"///", "/"},
        {"", ""},
        {longest, longest},
        {longest + "y", longest},
        {longest.substr(0, 1020) + "///yy", longest.substr(0, 1020)}};
    for (const auto& [value, root] : rows) {
        SCOPED_TRACE(value);
        std::string buffer(hal::rootBufferBytes, '#');
        hal::copyRootDirectory(buffer.data(), value.c_str());
        EXPECT_EQ(buffer.c_str(), root);
    }
}

class StubLibraryTest : public testing::Test {
protected:
    StubLibraryTest() {
        folder.write("lib64/libtext.so", "no library");
        copy = folder / "lib64/libstub.so";
        std::filesystem::copy_file(ORVO_BUILD_ROOT "/tests/stubs/libstub-hal.so", copy);
    }

    bool isLoaded() const {
        void* const handle = dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD);
        return handle && dlclose(handle) == 0;
    }

    TemporaryFolder folder;
    std::string copy;
};

TEST_F(StubLibraryTest, StaysLoadedUnlessToldOtherwise) {
    const std::string root = folder.path();
    EXPECT_FALSE(isLoaded());
    auto library = hal::loadLibrary("stub", root.c_str());
    ASSERT_TRUE(library);
    EXPECT_EQ(library->path, copy);
    EXPECT_EQ(library->errorMessage, "");
    EXPECT_NE(hal::findSymbol(*library, "OHalInitDevice"), nullptr);
    EXPECT_EQ(hal::findSymbol(*library, "no such symbol"), nullptr);
    EXPECT_TRUE(isLoaded());
    library->closeOnDestroy = true;
    library.reset();
    EXPECT_FALSE(isLoaded());
    hal::loadLibrary("stub", root.c_str()).reset();
    EXPECT_TRUE(isLoaded());
}

TEST_F(StubLibraryTest, WhatCannotBeOpenedIsNull) {
    const std::string root = folder.path();
    EXPECT_FALSE(hal::loadLibrary("missing", root.c_str()));
    EXPECT_FALSE(hal::loadLibrary("text", root.c_str()));
    EXPECT_FALSE(hal::loadLibrary("stub", folder.path().parent_path().c_str()));
    const hal::SharedLibrary text((folder / "lib64/libtext.so").c_str());
    EXPECT_EQ(text.handle, nullptr);
    EXPECT_NE(text.errorMessage, "");
    EXPECT_EQ(hal::findSymbol(text, "OHalInitDevice"), nullptr);

    // 1023 characters fit, one more does not.
    const std::string name = "/lib64/libstub.so";
    std::string padded = root;
    while (padded.size() + name.size() < 1023) padded += padded.size() + name.size() == 1022 ? "/" : "/.";
    ASSERT_EQ(padded.size() + name.size(), 1023U);
    EXPECT_TRUE(hal::loadLibrary("stub", padded.c_str()));
    EXPECT_FALSE(hal::loadLibrary("stub", (padded + "/").c_str()));
}

} // namespace
} // namespace orvo::test
