// SPDX-License-Identifier: MIT
// What fuzz targets share: the entry that they all have, and their input taken apart.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>

/// Runs a target on one input. Throws nothing; what must hold and does not ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count);

namespace orvo::test {

/// What a fuzz target demands.
inline void demand(bool holds) {
    if (!holds) std::abort();
}

/// Bytes that are used up front to back; where there are no more, everything is 0 or empty.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* bytes, std::size_t count) : rest_(bytes, count) {}

    bool isEmpty() const { return rest_.empty(); }

    std::span<const std::uint8_t> takeBytes(std::size_t most) {
        const auto taken = rest_.first(std::min(most, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    template <class T> T take() {
        T value{};
        const auto bytes = takeBytes(sizeof value);
        if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }
    /// Up to 255 characters, behind their number.
    std::string takeText() { return textOf(takeBytes(take<std::uint8_t>())); }
    std::string takeRest() { return textOf(takeBytes(rest_.size())); }

private:
    static std::string textOf(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

    std::span<const std::uint8_t> rest_;
};

/// A file in memory that lasts as long as the object.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* bytes, std::size_t count)
        : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        if (descriptor_ < 0 || write(descriptor_, bytes, count) != static_cast<ssize_t>(count))
            throw std::runtime_error("no file in memory");
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

} // namespace orvo::test
