// SPDX-License-Identifier: MIT
// The steps of an exercise, and those of them that a simulated board takes.
#pragma once

#include "base/DynamicLibrary.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

struct ExerciseStep;

struct ExerciseStepRow {
    const char* name;
    std::size_t least, most;  ///< numbers
    const char* form;         ///< of its arguments, for messages; empty: none
    std::int64_t mostOfFirst; ///< the largest first number
    bool namesRegister;       ///< before the numbers
    /// 0 when the simulated board took it; null for operations of the plug-in.
    int (*onBoard)(const DynamicLibrary& hal, unsigned board, const ExerciseStep& step);
};

struct ExerciseStep {
    const ExerciseStepRow* row;
    std::string text, registerName;
    std::vector<std::int64_t> numbers;
};

/// Errors: UsageFailure.
ExerciseStep exerciseStep(const std::string& text);

} // namespace orvo::host
