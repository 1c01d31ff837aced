// SPDX-License-Identifier: MIT
// Reading of text files.
#include "TextFile.h"

#include "Configuration.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace orvo::sim {

std::string readTextFile(const std::filesystem::path& path) {
    std::error_code absent; // is told below
    if (std::filesystem::exists(path, absent) && !std::filesystem::is_regular_file(path, absent))
        throw ConfigurationError(path, "cannot be read: it is not a regular file");
    std::string text;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    bool good = file != nullptr;
    for (char block[4096]; good;) {
        const std::size_t bytes = std::fread(block, 1, sizeof block, file);
        text.append(block, bytes);
        good = std::ferror(file) == 0;
        if (bytes < sizeof block) break;
    }
    const std::string reason = good ? "" : std::strerror(errno);
    if (file) std::fclose(file); // only read
    if (!good) throw ConfigurationError(path, "cannot be read: " + reason);
    return text;
}

} // namespace orvo::sim
