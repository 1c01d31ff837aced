// SPDX-License-Identifier: MIT
// The installation: where the plug-in and the libraries that it uses lie.
#pragma once

#include <filesystem>
#include <string>

namespace orvo::host {

class Installation {
public:
    /// The installation in the directory `root`, or, when that is empty, the one that this program's own file
    /// belongs to (the directory above its `bin`).
    /// Errors: Failure when it is no directory. What is inside shows when it is used.
    explicit Installation(const std::string& root);

    const std::filesystem::path& root() const noexcept { return root_; }

    /// Path of `lib64/libNAME.so`.
    std::filesystem::path library(const std::string& name) const;

    std::filesystem::path plugin() const;

private:
    std::filesystem::path root_; // absolute: the plug-in finds the installation by its own path
};

} // namespace orvo::host
