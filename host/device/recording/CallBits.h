// SPDX-License-Identifier: MIT
// Arguments and results of calls as 64 bits, the form in which recordings keep them.
#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

namespace orvo::host {

/// Signed numbers are extended by their sign.
template <class Type> std::uint64_t bitsOf(Type value) noexcept {
    if constexpr (std::is_pointer_v<Type>)
        return reinterpret_cast<std::uint64_t>(value);
    else if constexpr (std::is_floating_point_v<Type>)
        return std::bit_cast<std::uint64_t>(value);
    else if constexpr (std::is_signed_v<Type>)
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    else
        return value;
}

template <class Type> Type fromBits(std::uint64_t bits) noexcept {
    if constexpr (std::is_pointer_v<Type>)
        return reinterpret_cast<Type>(bits); // NOLINT(performance-no-int-to-ptr): it was one
    else if constexpr (std::is_floating_point_v<Type>)
        return std::bit_cast<Type>(bits);
    else
        return static_cast<Type>(bits);
}

} // namespace orvo::host
