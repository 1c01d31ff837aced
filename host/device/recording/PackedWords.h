// SPDX-License-Identifier: MIT
// The words of a queue as a recording keeps them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvo::host {

/// Where all words have 16 bits, and the last one alone has bit 16 set as a mark of the end, only their lower
/// halves are kept: half of the bytes that the call delivered. `kept` has room for all; returns how many
/// bytes it took. The thread that has read the words packs them.
std::size_t packWords(std::span<const std::byte> words, std::byte* kept) noexcept;

std::vector<std::uint8_t> unpackedWords(const std::vector<std::uint8_t>& kept, std::uint64_t deliveredBytes);

} // namespace orvo::host
