// SPDX-License-Identifier: MIT
// Memory that other processes can map.
#pragma once

#include "base/Descriptor.h"

#include <cstddef>

namespace orvo::sim {

/// Zeros at first; unmapped with the object. Throws std::system_error when there is no memory.
class MappedMemory {
public:
    enum class Access { ReadOnly, ReadWrite };

    /// New memory that nobody else can shrink. With ReadOnly, others can map it for reading only.
    static MappedMemory shareable(const char* name, std::size_t bytes, Access forOthers);
    /// Another process's, by its descriptor, as a whole.
    static MappedMemory of(Descriptor memory, Access access);

    ~MappedMemory();
    MappedMemory(MappedMemory&& other) noexcept;
    MappedMemory& operator=(MappedMemory&&) = delete;

    std::byte* data() const noexcept { return data_; }
    int descriptor() const noexcept { return memory_.get(); }

private:
    MappedMemory(Descriptor memory, std::size_t bytes, Access access);

    Descriptor memory_;
    std::size_t bytes_;
    std::byte* data_;
};

} // namespace orvo::sim
