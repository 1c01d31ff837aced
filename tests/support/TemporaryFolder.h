// SPDX-License-Identifier: MIT
// Files that last as long as a test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace orvo::test {

/// An empty folder that goes with everything in it; no folder on its way has a name that matters.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = std::filesystem::temp_directory_path() / "orvo-XXXXXX";
        if (!mkdtemp(name.data())) throw std::runtime_error("cannot make " + name);
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored; // what cannot be removed is left to the system's cleaning
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// The path of a file or folder in here, whether or not it exists.
    std::string file(const std::string& name) const { return path_ / name; }

    /// Writes a file, and makes the folders on its way.
    std::string write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories((path_ / name).parent_path());
        std::ofstream(path_ / name) << text;
        return path_ / name;
    }

private:
    std::filesystem::path path_;
};

} // namespace orvo::test
