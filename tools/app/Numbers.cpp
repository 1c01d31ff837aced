// Reading of numbers.
#include "app/Numbers.h"

#include "app/Failure.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>

namespace orvo::host {
namespace {

template <class Value> std::optional<Value> whole(std::string_view text) {
    Value value = {};
    const auto* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<std::uint64_t> wholeNumber(std::string_view text) {
    const auto value = whole<std::uint64_t>(text);
    return value && *value <= largestNumber ? value : std::nullopt;
}

std::optional<double> decimalNumber(std::string_view text) {
    const auto value = whole<double>(text);
    return value && std::isfinite(*value) && !std::signbit(*value) ? value : std::nullopt;
}

CLI::Option& addNumber(CLI::App& command, const char* name, const std::function<void(std::uint64_t)>& take,
                       NumberRange range, const char* description) {
    const auto read = [=](const std::string& text) {
        const auto number = wholeNumber(text);
        if (!number || *number < range.least || *number > range.most)
            throw CLI::ValidationError(name, quoted(text) + " is no whole number from " +
                                                 std::to_string(range.least) + " to " +
                                                 std::to_string(range.most));
        take(*number);
    };
    return *command.add_option_function<std::string>(name, read, description)->type_name("N");
}

} // namespace orvo::host
