// SPDX-License-Identifier: MIT
// What one check of an installation came to.
#pragma once

#include <string>
#include <vector>

namespace orvo::host {

enum class Verdict { Good, Warning, Bad, Skipped };

struct Check {
    std::string name;
    Verdict verdict = Verdict::Good;
    std::string found;
    std::string mend = {}; ///< the command or edit that mends it; empty where there is nothing to mend
    std::vector<std::string> uncalled = {}; ///< functions that a library lacks, and that nobody here calls
};

using Checks = std::vector<Check>;

inline bool isBad(const Check& check) {
    return check.verdict == Verdict::Bad;
}

/// What a failure's text says before its advice, and the advice.
std::string withoutAdvice(const std::string& failure);
std::string adviceIn(const std::string& failure);

/// All checks in their order, and whether the installation works, as text; with signs and colours where a
/// terminal shows them.
enum class Style { Plain, Signs, ColouredSigns };
Style styleOfOutput();
std::string textOf(const Checks& checks, Style style);

/// "This installation works." or what keeps it from that.
std::string verdictOn(const Checks& checks);

} // namespace orvo::host
