// SPDX-License-Identifier: MIT
// Result of one check of an installation, as text and as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace orvo::host {

enum class Verdict {
    Good,
    Absent, ///< not installed, and optional
    Warning,
    Bad,
    Skipped, ///< something else is needed first
};

struct Check {
    std::string name;
    Verdict verdict = Verdict::Good;
    std::string found;
    std::string mend = {}; ///< command or edit that mends it; empty where there is nothing to mend
    std::vector<std::string> uncalled = {}; ///< functions that a library lacks and that no code here calls
};

using Checks = std::vector<Check>;

inline bool isBad(const Check& check) {
    return check.verdict == Verdict::Bad;
}

/// Bad check with the name and mend of `blamed`.
Check failedCheck(const Check& blamed, const std::string& found);

/// A failure's text is "WHAT; ADVICE": the two parts.
std::string withoutAdvice(const std::string& failure);
std::string adviceIn(const std::string& failure);

/// How verdicts are shown: as words, or on a terminal as signs, with colours unless NO_COLOR is set.
enum class Style { Plain, Signs, ColouredSigns };
Style styleOfOutput();

/// All checks in order, then whether the installation works.
std::string checksText(const Checks& checks, Style style);
nlohmann::ordered_json checksJson(const Checks& checks);

/// Inverse of `checksJson`, for its documents only.
Checks checksFrom(const nlohmann::ordered_json& document);

} // namespace orvo::host
