// SPDX-License-Identifier: MIT
// The order of the checks.
#include "checkup/doctor/Examination.h"

#include "checkup/doctor/Checks.h"
#include "frames/TapDevice.h"

#include <algorithm>
#include <iterator>

namespace orvo::host {
namespace {

void append(Checks& checks, Checks more) {
    std::ranges::move(more, std::back_inserter(checks));
}

bool hasBoardLibraries(const Checks& checks) {
    return std::ranges::none_of(checks, [](const Check& check) {
        return (check.name == "liborvo_hal.so" || check.name == "libkivrt.so") &&
               check.verdict != Verdict::Good;
    });
}

Checks checksWithin(const Installation& installation, const Settings& settings, PortAddress port) {
    auto checks = libraryChecks(installation);
    const bool hasBoards = hasBoardLibraries(checks);
    append(checks, pluginChecks(installation));
    append(checks, hasBoards ? boardChecks(installation, settings, port)
                             : Checks{{"boards", Verdict::Skipped, "needs liborvo_hal.so and libkivrt.so"}});
    return checks;
}

} // namespace

Checks examine(const std::string& root, PortAddress port) {
    Checks checks = {installationCheck(root)};
    const bool isRoot = !isBad(checks.front());
    std::optional<Settings> settings;
    if (isRoot) settings = readSettings(root);
    append(checks, isRoot ? checksWithin(Installation(root), *settings, port)
                          : Checks{{"libraries, boards", Verdict::Skipped, "needs an installation"}});
    append(checks, permissionChecks());
    checks.push_back(tapDriverCheck(tapDriverFile));
    append(checks, extcapChecks());
    if (isRoot) append(checks, settingsChecks(*settings));
    return checks;
}

} // namespace orvo::host
