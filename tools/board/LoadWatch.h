// SPDX-License-Identifier: MIT
// Naming of a library that ends the process while it is loaded.
#pragma once

#include <filesystem>

namespace orvo::host {

/// While it lives, the loading of one library: should that library's initialisers crash, throw, end the
/// process, or not return within 60 s, or 1 s after a signal that asks for the end, one line on standard
/// error names it first. One at a time, on the thread that loads. Handlers of before get such a signal, too;
/// after, signals are handled as they were.
class LoadWatch {
public:
    explicit LoadWatch(const std::filesystem::path& library);
    ~LoadWatch();
    LoadWatch(const LoadWatch&) = delete;
    LoadWatch& operator=(const LoadWatch&) = delete;
};

} // namespace orvo::host
