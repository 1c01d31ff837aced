// SPDX-License-Identifier: MIT
#include "device/recording/BoardEntries.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

#include <algorithm>
#include <bit>
#include <type_traits>

namespace orvo::host {
namespace {

template <class Type> constexpr ValueKind kindOf() {
    using enum ValueKind;
    if (std::is_void_v<Type>) return None;
    if (std::is_same_v<Type, double>) return Fraction;
    if (std::is_same_v<Type, const char*>) return Text;
    if (std::is_same_v<Type, std::uint64_t*>) return NumberOut;
    return std::is_pointer_v<Type> ? Handle : Number;
}

constexpr std::uint64_t unboundBits(std::nullptr_t) {
    return 0;
}
constexpr std::uint64_t unboundBits(double value) {
    return std::bit_cast<std::uint64_t>(value);
}
constexpr std::uint64_t unboundBits(int value) {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
}
constexpr std::uint64_t unboundBits() { // without a result
    return 0;
}

template <class Result, class... Arguments>
constexpr BoardEntry rowOf(BoardEntry row, Result (*)(Arguments...)) {
    constexpr std::array<ValueKind, sizeof...(Arguments)> kinds = {kindOf<Arguments>()...};
    static_assert(kinds.size() <= mostArguments);
    row.result = kindOf<Result>();
    row.argumentCount = static_cast<std::uint8_t>(kinds.size());
    std::copy(kinds.begin(), kinds.end(), row.kinds.begin());
    // The prototypes cannot tell a buffer, whose length comes next, from a handle.
    const std::string_view name = row.name;
    if (name.starts_with("OHalDataQueueReadBuffer")) row.kinds[2] = ValueKind::WordsOut;
    if (name.starts_with("OHalDataQueueWriteBuffer")) row.kinds[2] = ValueKind::WordsIn;
    return row;
}

#define ROW(name, variable, isHal, unbound, parameters, arguments)                                           \
    rowOf({#name, variable, #parameters, #arguments, isHal, {}, 0, {}, unboundBits(unbound)},                \
          static_cast<decltype(&::name)>(nullptr)),

} // namespace

constexpr std::array<BoardEntry, entryCount> makeBoardEntries() {
    return {{
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    ROW(name, "m_P" #name, true, unbound, parameters, arguments)
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments)                                          \
    ROW(name, "m_p" #name, true, unbound, parameters, arguments)
#include <hal/OrvoHalEntries.def>
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    ROW(name, "m_P" #name, false, unbound, parameters, arguments)
#include <hal/KivRuntimeEntries.def>
    }};
}

const std::array<BoardEntry, entryCount> boardEntries = makeBoardEntries();

std::string BoardEntry::argumentName(std::size_t index) const {
    std::string_view rest = arguments;
    for (rest.remove_prefix(1); index > 0; --index) rest.remove_prefix(rest.find(',') + 2);
    return std::string(rest.substr(0, rest.find_first_of(",)")));
}

std::optional<Entry> entryNamed(std::string_view name) {
    const auto found = std::ranges::find(boardEntries, name, &BoardEntry::name);
    if (found == boardEntries.end()) return std::nullopt;
    return static_cast<Entry>(found - boardEntries.begin());
}

} // namespace orvo::host
