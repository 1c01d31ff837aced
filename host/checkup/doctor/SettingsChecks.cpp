// SPDX-License-Identifier: MIT
// Whether what is set counts.
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/Mending.h"

#include <fmt/format.h>

#include <algorithm>

namespace orvo::host {
namespace {

constexpr const char* settingsTitle = "settings";

std::string mendFor(const Origin& where) {
    if (where.kind == Origin::Kind::Environment) return "unset " + where.place;
    return commandToCorrect(where.place, where.line);
}

} // namespace

Checks settingsChecks(const Settings& settings) {
    Checks checks;
    for (const auto& remark : remarksOn(settings))
        checks.push_back({settingsTitle, remark.isLost ? Verdict::Bad : Verdict::Warning,
                          textOf(remark.where) + ": " + remark.text, mendFor(remark.where)});
    if (!checks.empty()) return checks;
    std::string files;
    for (const auto& file : settings.files)
        if (file.isThere) files += fmt::format("{}{}", files.empty() ? "" : ", ", file.path.string());
    return {{settingsTitle, Verdict::Good, files.empty() ? "defaults: there is no rt.conf" : files}};
}

} // namespace orvo::host
