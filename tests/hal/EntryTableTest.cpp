// SPDX-License-Identifier: MIT
// Every entry of both board libraries, held against the list of what was agreed: parameter widths, the answer
// while unbound, and forwarding.
#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"

#include <gmock/gmock.h>

#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace orvo::test {
namespace {

/// A call that reached one of the stubs below: through which variable, with what.
struct Call {
    const void* variable = nullptr;
    std::vector<std::uint64_t> arguments;
};
Call lastCall;

/// A value of the pattern's low bytes, and back.
template <class T> T valueFrom(std::uint64_t pattern) {
    T value{};
    std::memcpy(&value, &pattern, sizeof value);
    return value;
}
template <class T> std::uint64_t bitsOf(T value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
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

    /// How the entry stands in the list, from a call while it is not bound.
    static std::string listed(std::string name) {
        if constexpr (std::is_void_v<Result>) {
            forward(Parameters{}...);
            name += " none";
        } else if constexpr (std::is_pointer_v<Result>)
            name += forward(Parameters{}...) ? " something" : " 0";
        else
            name += " " + std::to_string(static_cast<long>(forward(Parameters{}...)));
        return (name + ... + (" " + std::to_string(8 * sizeof(Parameters))));
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
    const char* name;
    void (*bind)(bool toStub);
    std::string (*listed)(std::string name);
    void (*checkForwarding)();

    template <class Entry> static Row of(const char* name) {
        return {name, Entry::bind, Entry::listed, Entry::checkForwarding};
    }
};

const std::vector<Row> entries = {
#define ENTRY(Result, name, unbound, parameters, arguments) Row::of<Entry<m_P##name, &::name>>(#name),
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments) Row::of<Entry<m_p##name, &::name>>(#name),
#include "hal/OrvoHalEntries.def"
#define ENTRY(Result, name, unbound, parameters, arguments) Row::of<Entry<m_P##name, &::name>>(#name),
#include "hal/KivRuntimeEntries.def"
};

TEST(EntryTables, UnboundEntriesAnswerAsAgreed) {
    std::set<std::string> agreed;
    std::ifstream file(ORVO_SOURCE_ROOT "/tests/hal/entries.txt");
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with('#')) agreed.insert(line);
    EXPECT_EQ(OHA_OpenLib(), -2130) << "there is no board library beside the tests";
    EXPECT_EQ(KIVRT_OpenLib(), -1);
    for (const auto& row : entries) {
        const std::string line = row.listed(row.name);
        EXPECT_TRUE(agreed.erase(line)) << line;
    }
    EXPECT_THAT(agreed, testing::IsEmpty());
    std::uint64_t value = 0x1234;
    EXPECT_EQ(OHalRegisterRead(&value, 8, &value), -2130);
    EXPECT_EQ(value, 0x1234U);
}

TEST(EntryTables, EachForwardingFunctionCallsItsOwnEntryUnchanged) {
    for (const auto& row : entries) row.bind(true);
    for (const auto& row : entries) {
        SCOPED_TRACE(row.name);
        row.checkForwarding();
    }
    for (const auto& row : entries) row.bind(false);
}

} // namespace
} // namespace orvo::test
