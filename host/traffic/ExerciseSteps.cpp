// SPDX-License-Identifier: MIT
#include "traffic/ExerciseSteps.h"

#include "base/Failure.h"

#include <orvo/sim/orvo_sim.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <sstream>

namespace orvo::host {
namespace {

constexpr std::int64_t mostOfNumber = 0xFFFF'FFFF;

template <class Function, class... Arguments>
int call(const DynamicLibrary& hal, const char* name, Arguments... arguments) {
    Function* const function = hal.require(name);
    return function(static_cast<decltype(arguments)>(arguments)...);
}

#define CALL(name, ...) call<decltype(::name)>(hal, #name, __VA_ARGS__)

int failOpen(const DynamicLibrary& hal, unsigned board, const ExerciseStep& step) {
    return CALL(orvoSimFailOpen, board, static_cast<unsigned>(step.numbers[0]));
}

int failConfigure(const DynamicLibrary& hal, unsigned board, const ExerciseStep& step) {
    return CALL(orvoSimFailConfigure, board, static_cast<int>(step.numbers[0]),
                static_cast<unsigned>(step.numbers[1]));
}

int push(const DynamicLibrary& hal, unsigned board, const ExerciseStep& step) {
    std::vector<std::uint32_t> words;
    for (std::size_t i = 1; i < step.numbers.size(); ++i)
        words.push_back(static_cast<std::uint32_t>(step.numbers[i]));
    return CALL(orvoSimPushWords, board, static_cast<unsigned>(step.numbers[0]), words.data(), words.size());
}

int failReads(const DynamicLibrary& hal, unsigned board, const ExerciseStep& step) {
    return CALL(orvoSimFailReads, board, static_cast<unsigned>(step.numbers[0]),
                static_cast<int>(step.numbers[1]), static_cast<unsigned>(step.numbers[2]));
}

int misreport(const DynamicLibrary& hal, unsigned board, const ExerciseStep& step) {
    return CALL(orvoSimMisreportReads, board, static_cast<unsigned>(step.numbers[0]),
                static_cast<int>(step.numbers[1]), static_cast<unsigned>(step.numbers[2]));
}

int overrideRegister(const DynamicLibrary& hal, unsigned board, const ExerciseStep& step) {
    return CALL(orvoSimOverrideRegister, board, step.registerName.c_str(), static_cast<int>(step.numbers[0]),
                static_cast<std::uint64_t>(step.numbers[1]), static_cast<unsigned>(step.numbers[2]));
}

#undef CALL

constexpr ExerciseStepRow rows[] = {
    {"use", 2, 2, "BOARD,PORT", 99'999, false, nullptr},
    {"setup", 0, 0, "", 0, false, nullptr},
    {"start", 0, 0, "", 0, false, nullptr},
    {"stop", 0, 0, "", 0, false, nullptr},
    {"wait", 0, 0, "", 0, false, nullptr},
    {"end", 0, 0, "", 0, false, nullptr},
    {"send", 1, 2, "BYTES[,FCS_ERROR_MASK]", 65'535, false, nullptr},
    {"receive", 0, 1, "[TIMES]", 1'000'000, false, nullptr},
    {"checksum", 1, 1, "0|1", 1, false, nullptr},
    {"crc-watch", 0, 0, "", 0, false, nullptr},
    {"events", 0, 1, "[0|1]", 1, false, nullptr},
    {"reinitialize", 1, 1, "PHASE", 99'999, false, nullptr},
    {"reset", 0, 0, "", 0, false, nullptr},
    {"report", 0, 0, "", 0, false, nullptr},
    {"pause", 1, 1, "MILLISECONDS", 3'600'000, false, nullptr},
    {"sim-fail-open", 1, 1, "TIMES", mostOfNumber, false, failOpen},
    {"sim-fail-configure", 2, 2, "RESULT,TIMES", mostOfNumber, false, failConfigure},
    {"sim-push", 2, 4096, "QUEUE,WORD...", mostOfNumber, false, push},
    {"sim-fail-reads", 3, 3, "QUEUE,RESULT,TIMES", mostOfNumber, false, failReads},
    {"sim-misreport", 3, 3, "QUEUE,BYTES,TIMES", mostOfNumber, false, misreport},
    {"sim-register", 3, 3, "NAME,RESULT,VALUE,TIMES", mostOfNumber, true, overrideRegister},
};

std::vector<std::string> partsOf(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, ',');) parts.push_back(part);
    return parts;
}

bool readNumber(const std::string& text, std::int64_t& number) {
    const auto* const end = text.data() + text.size();
    const bool isHex = text.starts_with("0x");
    const auto read = std::from_chars(text.data() + (isHex ? 2 : 0), end, number, isHex ? 16 : 10);
    return read.ec == std::errc() && read.ptr == end && number <= mostOfNumber && number >= -mostOfNumber;
}

bool readArguments(ExerciseStep& step, std::vector<std::string> parts) {
    if (step.row->namesRegister && !parts.empty()) {
        step.registerName = parts.front();
        parts.erase(parts.begin());
    }
    step.numbers.resize(parts.size());
    if (parts.size() < step.row->least || parts.size() > step.row->most) return false;
    return std::ranges::equal(parts, step.numbers, [](const std::string& part, std::int64_t& number) {
        return readNumber(part, number);
    });
}

/// The plug-in takes no negative numbers, a simulated board's faults do.
bool hasPossibleNumbers(const ExerciseStep& step) {
    if (step.row->onBoard || step.numbers.empty()) return true;
    return step.numbers.front() <= step.row->mostOfFirst &&
           std::ranges::all_of(step.numbers, [](std::int64_t number) { return number >= 0; });
}

std::string stepNames() {
    std::string names;
    for (const auto& row : rows) names += std::string(names.empty() ? "" : " ") + row.name;
    return names;
}

} // namespace

ExerciseStep exerciseStep(const std::string& text) {
    const auto equals = text.find('=');
    const auto name = text.substr(0, equals);
    const auto* const row =
        std::ranges::find_if(rows, [&](const ExerciseStepRow& known) { return known.name == name; });
    if (row == std::end(rows))
        throw UsageFailure("there is no step " + quoted(name) + "; the steps are " + stepNames());
    ExerciseStep step{row, text, "", {}};
    const auto parts =
        equals == std::string::npos ? std::vector<std::string>() : partsOf(text.substr(equals + 1));
    const std::string form = row->form;
    if (!readArguments(step, parts))
        throw UsageFailure("the step " + quoted(text) + " is not of the form " + name +
                           (form.empty() ? "" : "=" + form));
    if (!hasPossibleNumbers(step))
        throw UsageFailure("the step " + quoted(text) + " has an impossible number; the first is 0 to " +
                           std::to_string(row->mostOfFirst) + ", and none is negative");
    return step;
}

} // namespace orvo::host
