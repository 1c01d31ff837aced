// SPDX-License-Identifier: MIT
// The entries of both board libraries as rows: names, and what their parameters mean to a recording. Made
// from the plug-in's own lists.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::host {

/// Indices of `boardEntries`.
enum class Entry : std::uint16_t {
#define ENTRY(Result, name, unbound, parameters, arguments) name,
#include <hal/OrvoHalEntries.def>
#define ENTRY(Result, name, unbound, parameters, arguments) name,
#include <hal/KivRuntimeEntries.def>
    Count
};
inline constexpr std::size_t entryCount = static_cast<std::size_t>(Entry::Count);

/// How a recording keeps an argument or a result.
enum class ValueKind : std::uint8_t {
    None,     ///< no result
    Number,   ///< as it is; also an address whose meaning the contract does not tell
    Fraction, ///< a double
    Handle,   ///< a pointer to something of the library's; numbered in the order of appearance
    Text,
    NumberOut, ///< a pointer to 64 bits, which the call writes
    WordsOut,  ///< a pointer to bytes, which the call writes; their number is the next argument
    WordsIn    ///< a pointer to bytes, which the call reads; likewise
};

inline constexpr std::size_t mostArguments = 7;

struct BoardEntry {
    const char* name;
    const char* variable;   ///< the plug-in's pointer variable
    const char* parameters; ///< as declared, such as "(void* device, int queue)"
    const char* arguments;  ///< their names, such as "(device, queue)"
    bool isHal;             ///< of the hardware access layer, otherwise of the applet runtime
    ValueKind result;
    std::uint8_t argumentCount;
    std::array<ValueKind, mostArguments> kinds;
    std::uint64_t unbound; ///< the result where the library lacks the entry

    /// The name of an argument.
    std::string argumentName(std::size_t index) const;
};

extern const std::array<BoardEntry, entryCount> boardEntries;

inline const BoardEntry& rowOf(Entry entry) {
    return boardEntries[static_cast<std::size_t>(entry)];
}

std::optional<Entry> entryNamed(std::string_view name);

/// A function pointer for each entry.
using EntryTable = std::array<void*, entryCount>;

} // namespace orvo::host
