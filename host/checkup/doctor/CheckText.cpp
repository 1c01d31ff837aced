// SPDX-License-Identifier: MIT
// Checks as text.
#include "base/Output.h"
#include "checkup/doctor/Check.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace orvo::host {
namespace {

struct Mark {
    const char *word, *sign, *colour;
};

Mark markOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::Good:
        return {"good   ", "✔", "32"};
    case Verdict::Warning:
        return {"warning", "!", "33"};
    case Verdict::Bad:
        return {"bad    ", "✘", "31"};
    case Verdict::Skipped:
        break;
    }
    return {"skipped", "–", "2"};
}

std::string textOf(const Mark& mark, Style style) {
    if (style == Style::Plain) return mark.word;
    return style == Style::Signs ? mark.sign : fmt::format("\x1b[{}m{}\x1b[0m", mark.colour, mark.sign);
}

std::size_t countOf(const Checks& checks, Verdict verdict) {
    return static_cast<std::size_t>(
        std::ranges::count_if(checks, [&](const Check& check) { return check.verdict == verdict; }));
}

} // namespace

std::string withoutAdvice(const std::string& failure) {
    return failure.substr(0, failure.rfind("; "));
}

std::string adviceIn(const std::string& failure) {
    const auto end = failure.rfind("; ");
    return end == std::string::npos ? "" : failure.substr(end + 2);
}

Style styleOfOutput() {
    if (!isatty(STDOUT_FILENO) || !hasUnicode()) return Style::Plain;
    const char* const without = std::getenv("NO_COLOR");
    return without && *without ? Style::Signs : Style::ColouredSigns;
}

std::string textOf(const Checks& checks, Style style) {
    std::size_t width = 0;
    for (const auto& check : checks) width = std::max(width, check.name.size());
    std::string text;
    for (const auto& check : checks) {
        text += fmt::format("{} {:{}}  {}\n", textOf(markOf(check.verdict), style), check.name, width,
                            check.found);
        if (!check.mend.empty()) text += fmt::format("    mend: {}\n", check.mend);
    }
    return text + verdictOn(checks) + "\n";
}

std::string verdictOn(const Checks& checks) {
    const auto bad = countOf(checks, Verdict::Bad), warnings = countOf(checks, Verdict::Warning);
    const auto rest = warnings == 0 ? "" : ", with " + counted(warnings, "warning");
    if (bad == 0) return "This installation works" + rest + ".";
    return fmt::format("This installation does not work: {} of {} {} bad{}.", bad,
                       counted(checks.size(), "check"), bad == 1 ? "is" : "are", rest);
}

} // namespace orvo::host
