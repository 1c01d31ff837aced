// SPDX-License-Identifier: MIT
#include "checkup/doctor/Check.h"

#include "base/Output.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace orvo::host {
namespace {

using nlohmann::ordered_json;

struct Mark {
    Verdict verdict;
    const char *word, *sign, *colour;
};

constexpr Mark marks[] = {{Verdict::Good, "good", "✔", "32"},
                          {Verdict::Absent, "absent", "–", "2"},
                          {Verdict::Warning, "warning", "!", "33"},
                          {Verdict::Bad, "bad", "✘", "31"},
                          {Verdict::Skipped, "skipped", "–", "2"}};

const Mark& markOf(Verdict verdict) {
    return *std::ranges::find(marks, verdict, &Mark::verdict);
}

std::string markText(const Mark& mark, Style style) {
    if (style == Style::Plain) return fmt::format("{:7}", mark.word);
    return style == Style::Signs ? mark.sign : fmt::format("\x1b[{}m{}\x1b[0m", mark.colour, mark.sign);
}

/// "This installation works." or how many checks are bad.
std::string summaryOf(const Checks& checks) {
    const auto count = [&](Verdict verdict) {
        return static_cast<std::uint64_t>(std::ranges::count(checks, verdict, &Check::verdict));
    };
    const auto bad = count(Verdict::Bad), warnings = count(Verdict::Warning);
    const auto rest = warnings == 0 ? "" : ", with " + counted(warnings, "warning");
    if (bad == 0) return "This installation works" + rest + ".";
    return fmt::format("This installation does not work: {} of {} {} bad{}.", bad,
                       counted(checks.size(), "check"), bad == 1 ? "is" : "are", rest);
}

ordered_json checkJson(const Check& check) {
    ordered_json entry = {
        {"check", check.name}, {"result", markOf(check.verdict).word}, {"found", check.found}};
    if (!check.mend.empty()) entry["mend"] = check.mend;
    if (!check.uncalled.empty()) entry["uncalled"] = check.uncalled;
    return entry;
}

Check checkFrom(const ordered_json& entry) {
    const auto* const mark = std::ranges::find(marks, entry.at("result").get<std::string>(), &Mark::word);
    return {entry.at("check"), mark->verdict, entry.at("found"), entry.value("mend", ""),
            entry.value("uncalled", std::vector<std::string>())};
}

} // namespace

Check failedCheck(const Check& blamed, const std::string& found) {
    return {blamed.name, Verdict::Bad, found, blamed.mend};
}

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

std::string checksText(const Checks& checks, Style style) {
    std::size_t width = 0;
    for (const auto& check : checks) width = std::max(width, check.name.size());
    std::string text;
    for (const auto& check : checks) {
        text += fmt::format("{} {:{}}  {}\n", markText(markOf(check.verdict), style), check.name, width,
                            check.found);
        if (!check.mend.empty()) text += fmt::format("    mend: {}\n", check.mend);
    }
    return text + summaryOf(checks) + "\n";
}

ordered_json checksJson(const Checks& checks) {
    auto list = ordered_json::array();
    for (const auto& check : checks) list.push_back(checkJson(check));
    return {{"works", std::ranges::none_of(checks, isBad)},
            {"verdict", summaryOf(checks)},
            {"checks", std::move(list)}};
}

Checks checksFrom(const ordered_json& document) {
    Checks checks;
    for (const auto& entry : document.at("checks")) checks.push_back(checkFrom(entry));
    return checks;
}

} // namespace orvo::host
