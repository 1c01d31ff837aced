// Numbers as users write them: digits and nothing else, no sign, no blank, no other base.
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string_view>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace orvo::host {

/// More than anything that the program counts comes to.
inline constexpr std::uint64_t largestNumber = 1'000'000'000'000'000;

/// What the whole of `text` says; nothing when it is no number, or a larger one.
std::optional<std::uint64_t> wholeNumber(std::string_view text);

/// The same of "2", "0.5" or "1e-3"; never negative, infinite or no number.
std::optional<double> decimalNumber(std::string_view text);

struct NumberRange {
    std::uint64_t least = 0;
    std::uint64_t most = largestNumber;
};

/// An option that takes a whole number N of a range and refuses everything else.
CLI::Option& addNumber(CLI::App& command, const char* name, const std::function<void(std::uint64_t)>& take,
                       NumberRange range, const char* description);

template <std::unsigned_integral Value>
CLI::Option& addNumber(CLI::App& command, const char* name, Value& value, NumberRange range,
                       const char* description) {
    const auto take = [&value](std::uint64_t number) { value = static_cast<Value>(number); };
    return addNumber(command, name, std::function<void(std::uint64_t)>(take), range, description);
}

} // namespace orvo::host
