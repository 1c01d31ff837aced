// SPDX-License-Identifier: MIT
// The plug-in's operations one by one, in the order of a list.
#pragma once

#include "device/BoardAccess.h"

#include <string>
#include <vector>

namespace orvo::host {

struct ExerciseRequest {
    PortOptions port; ///< the first one
    BoardOptions boards;
    std::vector<std::string> steps; ///< each "NAME" or "NAME=ARGUMENT,..."
};

/// Prints each step, and below it, indented, what the plug-in logs and returns. While a recording answers,
/// also the sleeps of the calling thread, and after how many of its calls they come.
/// Errors: UsageFailure for a step that is none, before a board is touched; Failure where a step needs a
/// simulated board; Interruption.
void runExercise(const ExerciseRequest& request);

} // namespace orvo::host
