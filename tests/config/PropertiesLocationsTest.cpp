// SPDX-License-Identifier: MIT
// Where the properties files lie, and the folders made for the user's.
#include "config/PropertiesLocations.h"

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace orvo::test {
namespace {

namespace fs = std::filesystem;
using templates::platform::systemPropertiesFile;
using templates::platform::userPropertiesFile;

TEST(PropertiesLocations, SystemFileLiesInTheInstallation) {
    EXPECT_EQ(fs::weakly_canonical(systemPropertiesFile()), ORVO_BUILD_ROOT "/tests/unit/rt.conf");
}

TEST(PropertiesLocations, UserFileNeedsAHomeThatTakesFolders) {
    const TemporaryFolder folder;
    const std::string base = fs::canonical(folder.path());
    for (const char* home : {"home", "half/.config", "done/.config/orvo"})
        fs::create_directories(folder.file(home));
    fs::create_directory_symlink("home", folder.file("link"));
    folder.write("file", "");
    folder.write("occupied/.config", "no folder");
    // What HOME says, and below which folder the file then is, if at all.
    const std::pair<std::string, std::string> rows[] = {
        {base + "/home", "home"}, {base + "/home//../home/", "home"},
        {base + "/link", "home"}, {"home", "home"},
        {base + "/half", "half"}, {base + "/done", "done"},
        {base + "/missing", ""},  {base + "/file", ""},
        {base + "/occupied", ""}, {"", ""}};
    const auto before = fs::current_path();
    fs::current_path(base);
    EnvironmentVariable variable("HOME", nullptr);
    EXPECT_EQ(userPropertiesFile(), "");
    for (const auto& [home, place] : rows) {
        SCOPED_TRACE(home);
        variable.set(home.c_str());
        const std::string made = fs::path(base) / place / ".config/orvo";
        EXPECT_EQ(userPropertiesFile(), place.empty() ? "" : made + "/rt.conf");
        EXPECT_TRUE(place.empty() || fs::is_directory(made));
    }
    EXPECT_FALSE(fs::exists(folder.file("missing")));
    fs::current_path(before);
}

TEST(PropertiesLocations, UsersFoldersAreForAllThatTheMaskLetsIn) {
    for (const mode_t mask : {0U, 027U}) {
        SCOPED_TRACE(mask);
        const TemporaryFolder folder;
        const EnvironmentVariable variable("HOME", folder.path().c_str());
        const mode_t before = umask(mask);
        const auto file = userPropertiesFile();
        umask(before);
        EXPECT_NE(file, "");
        for (const char* made : {".config", ".config/orvo"})
            EXPECT_EQ(fs::status(folder.file(made)).permissions(), static_cast<fs::perms>(0777 & ~mask))
                << made;
    }
}

} // namespace
} // namespace orvo::test
