// SPDX-License-Identifier: MIT
#include "frames/streams/PacketSet.h"

#include <algorithm>
#include <bit>

namespace orvo::host {

// The capacity is reserved, so this never allocates.
std::uint64_t& PacketSet::grownTo(std::size_t index) noexcept {
    if (index >= words_.size()) words_.resize(index + 1);
    return words_[index];
}

bool PacketSet::add(std::uint32_t packet) noexcept {
    auto& word = grownTo(packet / wordBits);
    const auto bit = std::uint64_t{1} << packet % wordBits;
    const bool isNew = (word & bit) == 0;
    word |= bit;
    return isNew;
}

std::uint32_t PacketSet::addRange(std::uint32_t first, std::uint32_t last, const PacketSet& known) noexcept {
    std::uint32_t added = 0;
    for (auto index = first / wordBits; index <= last / wordBits; ++index) {
        auto bits = ~std::uint64_t{0};
        if (index == first / wordBits) bits &= ~std::uint64_t{0} << first % wordBits;
        if (index == last / wordBits) bits &= ~std::uint64_t{0} >> (wordBits - 1 - last % wordBits);
        bits &= ~known.wordAt(index) & ~wordAt(index);
        if (bits == 0) continue;
        grownTo(index) |= bits;
        added += static_cast<std::uint32_t>(std::popcount(bits));
    }
    return added;
}

bool PacketSet::remove(std::uint32_t packet) noexcept {
    const auto bit = std::uint64_t{1} << packet % wordBits;
    if ((wordAt(packet / wordBits) & bit) == 0) return false;
    words_[packet / wordBits] &= ~bit;
    return true;
}

std::uint32_t PacketSet::find(std::uint32_t from, std::uint32_t end, std::uint64_t inversion) const noexcept {
    while (from < end) {
        const auto bits = (wordAt(from / wordBits) ^ inversion) >> from % wordBits;
        if (bits != 0) return std::min(end, from + static_cast<std::uint32_t>(std::countr_zero(bits)));
        from = (from / wordBits + 1) * wordBits;
    }
    return end;
}

} // namespace orvo::host
