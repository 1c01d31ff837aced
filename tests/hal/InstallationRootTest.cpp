// SPDX-License-Identifier: MIT
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
    const std::pair<std::string, std::optional<std::string>> rows[] = {
        {"/opt/x/lib64/plugins/libp.so", "/opt/x"},
        {"/opt/x/bin/libp.so", "/opt/x"},
        {"/opt/x/dll/libp.so", "/opt/x"},
        {"/opt/x/hardware applets/a/b/libp.so", "/opt/x"},
        {"/srv/a/LIB64/sub/libp.so", "/srv/a"},
        {"/srv/a///lib//sub///libp.so", "/srv/a"},
        {"//lib64/libp.so", "/"},
        {"/opt/bin/x/lib/libp.so", "/opt/bin/x"},
        {"/opt/x/lib/lib64/libp.so", "/opt/x/lib"},
        {"./lib64/libp.so", "."},
        {"/opt/x/lib", std::nullopt},
        {"/opt/lib32/mybin/libs/libp.so", std::nullopt},
        {"/libp.so", std::nullopt},
        {"libp.so", std::nullopt}};
    for (auto [path, root] : rows) {
        SCOPED_TRACE(path);
        const bool found = hal::cutToInstallationRoot(path.data());
        EXPECT_EQ(found ? std::optional<std::string>(path.c_str()) : std::nullopt, root);
    }
}

TEST(InstallationRoot, VariableIsTakenWithoutTrailingSlashesAndCutToFit) {
    const std::string longest = "/" + std::string(1022, 'x');
    const std::pair<std::string, std::string> rows[] = {
        {"a/b///", "a/b"}, {"///", "/"}, {"", ""}, {longest, longest}, {longest + "y", longest}};
    for (const auto& [value, root] : rows) {
        SCOPED_TRACE(value);
        std::string memory(1 + hal::rootBufferBytes, '#');
        memory[0] = '/'; // before the buffer: nobody's business
        hal::copyRootDirectory(&memory[1], value.c_str());
        EXPECT_EQ(&memory[1], root);
        EXPECT_EQ(memory[0], '/');
    }
}

TEST(SharedLibrary, StaysLoadedUnlessToldOtherwiseAndWhatCannotBeOpenedIsNull) {
    const TemporaryFolder folder;
    const std::string root = folder.path(), name = "/lib64/libstub.so", copy = root + name;
    const auto isLoaded = [&copy] {
        void* const handle = dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD);
        return handle && dlclose(handle) == 0;
    };
    const hal::SharedLibrary text(folder.write("lib64/libtext.so", "no library").c_str());
    EXPECT_EQ(text.handle, nullptr);
    EXPECT_NE(text.errorMessage, "");
    EXPECT_EQ(hal::findSymbol(text, "OHalInitDevice"), nullptr);
    EXPECT_FALSE(hal::loadLibrary("text", root.c_str()));
    EXPECT_FALSE(hal::loadLibrary("stub", root.c_str()));
    std::filesystem::copy_file(ORVO_BUILD_ROOT "/tests/stubs/libstub-hal.so", copy);
    auto library = hal::loadLibrary("stub", root.c_str());
    ASSERT_TRUE(library);
    EXPECT_EQ(library->path, copy);
    EXPECT_EQ(library->errorMessage, "");
    EXPECT_NE(hal::findSymbol(*library, "OHalInitDevice"), nullptr);
    EXPECT_EQ(hal::findSymbol(*library, "no such symbol"), nullptr);
    library->closeOnDestroy = true;
    library.reset();
    EXPECT_FALSE(isLoaded());
    hal::loadLibrary("stub", root.c_str()).reset();
    EXPECT_TRUE(isLoaded());

    // 1023 characters fit, one more does not.
    std::string padded = root;
    while (padded.size() + name.size() < 1023) padded += padded.size() + name.size() == 1022 ? "/" : "/.";
    EXPECT_TRUE(hal::loadLibrary("stub", padded.c_str()));
    EXPECT_FALSE(hal::loadLibrary("stub", (padded + "/").c_str()));
}

} // namespace
} // namespace orvo::test
