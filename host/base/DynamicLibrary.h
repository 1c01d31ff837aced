// SPDX-License-Identifier: MIT
// A library of the installation, opened at run time.
#pragma once

#include <filesystem>
#include <string>

namespace orvo::host {

/// Whether a file is a program or library, but none for this program's processor; the loader has other words
/// for that.
bool isForAnotherProcessor(const std::filesystem::path& library);

/// An opened library; it stays loaded for the life of the process, so that addresses taken from it stay
/// valid.
class DynamicLibrary {
public:
    /// Errors: Failure when the file is missing or cannot be loaded.
    explicit DynamicLibrary(const std::filesystem::path& path);

    /// The function of this name, null when the library has none. `Function` is its type.
    template <class Function> Function* find(const char* name) const {
        return reinterpret_cast<Function*>(address(name));
    }

    /// As `find`. Errors: Failure when the library has no such function.
    template <class Function> Function* require(const char* name) const {
        return reinterpret_cast<Function*>(requiredAddress(name));
    }

private:
    void* address(const char* name) const;
    void* requiredAddress(const char* name) const;

    std::filesystem::path path_;
    void* handle_;
};

} // namespace orvo::host
