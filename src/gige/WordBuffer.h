// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace orvo::core::zume {

/// Buffer for the words of one transmission. Keeps its memory for the next one and only grows. Threads: one.
class WordBuffer {
public:
    /// Room for `bytes` bytes, all of them zero: a read that claims more than it delivered shows nothing of
    /// earlier frames. Valid until the next call. Running out of memory throws and changes nothing.
    std::uint32_t* zeroed(std::uint32_t bytes) {
        const std::size_t count = (std::size_t{bytes} + 3) / 4;
        if (count > capacity_) {
            words_ = std::make_unique_for_overwrite<std::uint32_t[]>(count);
            capacity_ = count;
        }
        std::memset(words_.get(), 0, count * sizeof(std::uint32_t));
        return words_.get();
    }

private:
    std::unique_ptr<std::uint32_t[]> words_;
    std::size_t capacity_ = 0;
};

} // namespace orvo::core::zume
