// Where the properties files lie, and the folders made for the user's.
#include "config/PropertiesLocations.h"

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

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
        fs::create_directories(folder / home);
    fs::create_directory_symlink("home", folder / "link");
    folder.write("file", "");
    folder.write("occupied/.config", "no folder");
    const struct {
        std::string home;
        std::string file;
    } rows[] = {{base + "/home", base + "/home/.config/orvo/rt.conf"},
                {base + "/home//../home/", base + "/home/.config/orvo/rt.conf"},
                {base + "/link", base + "/home/.config/orvo/rt.conf"},
                {"home", base + "/home/.config/orvo/rt.conf"},
                {base + "/half", base + "/half/.config/orvo/rt.conf"},
                {base + "/done", base + "/done/.config/orvo/rt.conf"},
                {base + "/missing", ""},
                {base + "/file", ""},
                {base + "/occupied", ""},
                {"", ""}};
    const auto before = fs::current_path();
    fs::current_path(folder.path());
    EnvironmentVariable variable("HOME", nullptr);
    EXPECT_EQ(userPropertiesFile(), "");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.home);
        variable.set(row.home.c_str());
        EXPECT_EQ(userPropertiesFile(), row.file);
        EXPECT_TRUE(row.file.empty() || fs::is_directory(fs::path(row.file).parent_path()));
    }
    EXPECT_FALSE(fs::exists(folder / "missing"));
    fs::current_path(before);
}

} // namespace
} // namespace orvo::test
