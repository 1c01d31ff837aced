// SPDX-License-Identifier: MIT
// One board call as a thread notes it: plain memory, of which the writing thread makes what the file holds.
#pragma once

#include "device/recording/BoardEntries.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace orvo::host {

enum class RawKind : std::uint8_t {
    Call,
    Run,    ///< register writes in a row to one register: `times` of them, their values as 16-bit units
    Gap,    ///< `times` calls that found no room
    Padding ///< up to the end of the ring
};

/// The head of a record, which is followed by its arguments, 64 bits each, and then by its pieces in the
/// order of the arguments, the result last: each a length of 32 bits and so many bytes. Words of a queue are
/// packed.
struct RawCall {
    std::uint32_t bytes; ///< of the whole record, a multiple of 8
    Entry entry;
    std::uint8_t argumentCount;
    RawKind kind;
    std::uint64_t begin, end; ///< ticks
    std::uint64_t times;      ///< identical calls in a row; `end` is that of the last
    std::uint64_t result;
};

inline constexpr std::uint32_t nullPiece =
    0xFFFF'FFFF; ///< length of a null pointer, or of what was not written

struct RawPiece {
    const void* bytes = nullptr;
    std::uint32_t length = nullPiece;
};

inline RawPiece textPiece(const char* text) noexcept {
    return text ? RawPiece{text, static_cast<std::uint32_t>(std::strlen(text))} : RawPiece{};
}

/// Takes a record apart again.
class RawReader {
public:
    explicit RawReader(const std::byte* record) noexcept : next_(record + sizeof(RawCall)) {
        std::memcpy(&call, record, sizeof call);
    }
    std::uint64_t argument() noexcept {
        std::uint64_t value = 0;
        std::memcpy(&value, next_, sizeof value);
        next_ += sizeof value;
        return value;
    }
    /// After the arguments.
    RawPiece piece() noexcept {
        RawPiece piece;
        std::memcpy(&piece.length, next_, sizeof piece.length);
        next_ += sizeof piece.length;
        if (piece.length == nullPiece) return piece;
        piece.bytes = next_;
        next_ += piece.length;
        return piece;
    }

    RawCall call;

private:
    const std::byte* next_;
};

} // namespace orvo::host
