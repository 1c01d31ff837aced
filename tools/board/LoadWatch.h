// SPDX-License-Identifier: MIT
// Naming of a library that ends the process while it is loaded.
#pragma once

#include <filesystem>

namespace orvo::host {

/// While it lives, the loading of one library: should that library's initialisers crash, throw, end the
/// process, or not return before a signal ends it (or 60 s do), one line on standard error names it first.
/// One at a time, on the thread that loads; before and after, signals are handled as they were.
class LoadWatch {
public:
    explicit LoadWatch(const std::filesystem::path& library);
    ~LoadWatch();
    LoadWatch(const LoadWatch&) = delete;
    LoadWatch& operator=(const LoadWatch&) = delete;
};

} // namespace orvo::host
