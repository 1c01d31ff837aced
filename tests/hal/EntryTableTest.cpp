// Every entry of both board libraries, held against the list of what was agreed: parameter widths, the answer
// while unbound, and forwarding.
#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace orvo::test {
namespace {

/// One line of entries.txt.
struct Agreement {
    std::string unbound;
    std::vector<std::size_t> widths;
};

std::map<std::string, Agreement> agreements() {
    std::map<std::string, Agreement> all;
    std::ifstream file(ORVO_SOURCE_ROOT "/tests/hal/entries.txt");
    for (std::string line, name; std::getline(file, line);) {
        if (line.starts_with('#')) continue;
        std::istringstream words(line);
        Agreement agreement;
        words >> name >> agreement.unbound;
        for (std::size_t width = 0; words >> width;) agreement.widths.push_back(width);
        all[name] = agreement;
    }
    return all;
}

/// A call that reached one of the stubs below: through which variable, with what.
struct Call {
    const void* variable = nullptr;
    std::vector<std::uint64_t> arguments;
};
Call lastCall;

template <class T> std::uint64_t bitsOf(T value) {
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<std::uint64_t>(value);
    else
        return static_cast<std::make_unsigned_t<T>>(value);
}

/// A value that uses all bits of T.
template <class T> T valueFrom(std::uint64_t pattern) {
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<T>(pattern);
    else if constexpr (std::is_floating_point_v<T>)
        return -1.0 / static_cast<T>(pattern);
    else
        return static_cast<T>(pattern);
}

constexpr std::uint64_t resultPattern = 0xFEDC'BA98'8765'4321;

template <auto& variable, auto forward, class Function = decltype(forward)> struct Entry;

/// The forwarding function `forward`, which calls through `variable`.
template <auto& variable, auto forward, class Result, class... Parameters>
struct Entry<variable, forward, Result (*)(Parameters...)> {
    static Result stub(Parameters... parameters) {
        lastCall = {&variable, {bitsOf(parameters)...}};
        if constexpr (!std::is_void_v<Result>) return valueFrom<Result>(resultPattern);
    }

    static void bind(bool toStub) { variable = toStub ? stub : nullptr; }

    static std::vector<std::size_t> widths() { return {8 * sizeof(Parameters)...}; }

    static std::string unbound(const std::string& agreed, const std::string& errorCode) {
        if constexpr (std::is_void_v<Result>) {
            forward(Parameters{}...);
            return "none";
        } else {
            const Result result = forward(Parameters{}...);
            const bool isZero = std::is_pointer_v<Result>;
            if (result == Result{}) return agreed == "any" && isZero ? "any" : "0";
            if constexpr (std::is_integral_v<Result>)
                return agreed == "any" && std::to_string(result) == errorCode ? "any"
                                                                              : std::to_string(result);
            else
                return "something";
        }
    }

    static void checkForwarding() {
        std::uint64_t pattern = 0x9A8B'7C6D'8E4F'3021;
        [[maybe_unused]] const auto next = [&pattern] { return pattern += 0x0101'0101'0101'0101; };
        const std::tuple<Parameters...> arguments{valueFrom<Parameters>(next())...};
        if constexpr (std::is_void_v<Result>)
            std::apply(forward, arguments);
        else
            EXPECT_EQ(std::apply(forward, arguments), valueFrom<Result>(resultPattern));
        EXPECT_EQ(lastCall.variable, &variable) << "another entry was called";
        const auto expected =
            std::apply([](auto... each) { return std::vector<std::uint64_t>{bitsOf(each)...}; }, arguments);
        EXPECT_EQ(lastCall.arguments, expected);
    }
};

struct Row {
    std::string name;
    void (*bind)(bool toStub);
    std::vector<std::size_t> (*widths)();
    std::string (*unbound)(const std::string& agreed, const std::string& errorCode);
    void (*checkForwarding)();

    template <class Entry> static Row of(const char* name) {
        return {name, Entry::bind, Entry::widths, Entry::unbound, Entry::checkForwarding};
    }
};

const std::vector<Row> rows = {
#define ENTRY(Result, name, unbound, parameters, arguments) Row::of<Entry<m_P##name, &::name>>(#name),
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments) Row::of<Entry<m_p##name, &::name>>(#name),
#include "hal/OrvoHalEntries.def"
#define ENTRY(Result, name, unbound, parameters, arguments) Row::of<Entry<m_P##name, &::name>>(#name),
#include "hal/KivRuntimeEntries.def"
};

TEST(EntryTables, UnboundEntriesAnswerAsAgreed) {
    const auto agreed = agreements();
    ASSERT_EQ(agreed.size(), 201U);
    EXPECT_EQ(rows.size(), agreed.size());
    EXPECT_EQ(OHA_OpenLib(), -2130) << "there is no board library beside the tests";
    EXPECT_EQ(KIVRT_OpenLib(), -1);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(agreed.contains(row.name));
        const auto& agreement = agreed.at(row.name);
        EXPECT_EQ(row.widths(), agreement.widths);
        const char* errorCode = row.name.starts_with("OHal") ? "-2130" : "-114";
        EXPECT_EQ(row.unbound(agreement.unbound, errorCode), agreement.unbound);
    }
    std::uint64_t value = 0x1234;
    EXPECT_EQ(OHalRegisterRead(&value, 8, &value), -2130);
    EXPECT_EQ(value, 0x1234U);
}

TEST(EntryTables, EachForwardingFunctionCallsItsOwnEntryUnchanged) {
    for (const auto& row : rows) row.bind(true);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.checkForwarding();
    }
    for (const auto& row : rows) row.bind(false);
}

} // namespace
} // namespace orvo::test
