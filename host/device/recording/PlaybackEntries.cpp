// SPDX-License-Identifier: MIT
#include "device/recording/Playback.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

#include <bit>
#include <type_traits>

namespace orvo::host {
namespace {

template <class Type> std::uint64_t bitsOf(Type value) noexcept {
    if constexpr (std::is_pointer_v<Type>)
        return reinterpret_cast<std::uint64_t>(value);
    else if constexpr (std::is_signed_v<Type>)
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    else
        return value;
}

template <class Result> Result fromBits(std::uint64_t bits) noexcept {
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<Result>(bits);
    else if constexpr (std::is_floating_point_v<Result>)
        return std::bit_cast<Result>(bits);
    else
        return static_cast<Result>(bits);
}

template <Entry entry, class Function> struct Played;
template <Entry entry, class Result, class... Types> struct Played<entry, Result (*)(Types...)> {
    static Result call(Types... arguments) {
        return fromBits<Result>(answerFromRecording({entry, {bitsOf(arguments)...}}));
    }
};

} // namespace

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Played<Entry::name, decltype(&::name)>::call),
const EntryTable playbackEntries = {{
#include <hal/OrvoHalEntries.def>
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Played<Entry::name, decltype(&::name)>::call),
#include <hal/KivRuntimeEntries.def>
}};

} // namespace orvo::host
