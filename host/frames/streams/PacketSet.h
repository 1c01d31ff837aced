// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvo::host {

/// Packet ids of one image: a bit each. Its memory is taken once, and used as far as the ids go.
class PacketSet {
public:
    static constexpr std::uint32_t capacity = 1u << 17; ///< 190 MB in packets of 1500 bytes

    /// Takes the memory; before anything is added.
    void reserve() { words_.reserve(capacity / wordBits); }

    /// `packet` is below the capacity. Returns whether it is new.
    bool add(std::uint32_t packet) noexcept;
    /// All from `first` to `last`, except those in `known`. Returns how many are new.
    std::uint32_t addRange(std::uint32_t first, std::uint32_t last, const PacketSet& known) noexcept;
    /// Returns whether it was there.
    bool remove(std::uint32_t packet) noexcept;
    bool has(std::uint32_t packet) const noexcept { return firstIn(packet, packet + 1) == packet; }
    void clear() noexcept { words_.clear(); }

    /// The first packet from `from` on that is in the set, or is not; `end` when none below it is.
    std::uint32_t firstIn(std::uint32_t from, std::uint32_t end) const noexcept { return find(from, end, 0); }
    std::uint32_t firstOutside(std::uint32_t from, std::uint32_t end) const noexcept {
        return find(from, end, ~std::uint64_t{0});
    }

private:
    static constexpr std::uint32_t wordBits = 64;

    std::uint64_t wordAt(std::size_t index) const noexcept {
        return index < words_.size() ? words_[index] : 0;
    }
    std::uint64_t& grownTo(std::size_t index) noexcept;
    std::uint32_t find(std::uint32_t from, std::uint32_t end, std::uint64_t inversion) const noexcept;

    std::vector<std::uint64_t> words_; // up to the last one in use
};

} // namespace orvo::host
