// SPDX-License-Identifier: MIT
// The plug-in, from its file to its first object.
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/FileCheck.h"
#include "checkup/doctor/Mending.h"
#include "checkup/doctor/Trial.h"
#include "device/Plugin.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace orvo::host {
namespace {

constexpr std::string_view ownName = "zume-phy-gige"; // what this program is the host of
constexpr std::uint64_t ownFramework = 70010;

constexpr const char* library = "plug-in";
constexpr const char* versions = "versions";
constexpr const char* start = "start of the plug-in";

Check versionsOf(const core::PluginDescriptor& row, const std::string& mend) {
    const auto about = fmt::format("'{}' ({}) of {}, {}, for framework {}", row.name, row.description,
                                   row.vendor, row.date, row.frameworkVersion);
    if (row.name != ownName)
        return {versions, Verdict::Bad,
                fmt::format("a foreign plug-in lies in this one's place: {}; orvo-gige " ORVO_VERSION
                            " is for '{}'",
                            about, ownName),
                mend};
    if (row.frameworkVersion != ownFramework)
        return {versions, Verdict::Warning,
                fmt::format("plug-in {}, where orvo-gige " ORVO_VERSION " is for {}", about, ownFramework),
                mend};
    return {versions, Verdict::Good, "orvo-gige " ORVO_VERSION "; plug-in " + about};
}

Checks lookInto(const Installation& installation, const std::string& mend) {
    const auto plugin = openPlugin(installation);
    return {{library, Verdict::Good, plugin.path() + ": loads, with its four symbols and descriptor"},
            versionsOf(plugin.descriptor(), mend)};
}

Checks startUp(const Installation& installation) {
    Plugin plugin(installation);
    plugin.createInterface();
    return {{start, Verdict::Good, "initialised, and has made a network interface"}};
}

Checks skipRest(Checks checks) {
    for (const char* name : {versions, start})
        if (std::ranges::none_of(checks, [&](const Check& check) { return check.name == name; }))
            checks.push_back({name, Verdict::Skipped, "needs the right plug-in"});
    return checks;
}

} // namespace

Checks pluginChecks(const Installation& installation) {
    const auto path = installation.plugin();
    if (auto unreadable = unreadableFile(library, installation, path)) return skipRest({*unreadable});
    const auto mend = commandToRestore(installation, path);
    auto checks = tried({library, Verdict::Bad, "", mend}, [&] { return lookInto(installation, mend); });
    if (std::ranges::any_of(checks, isBad)) return skipRest(checks);
    checks.push_back(tried({start, Verdict::Bad, "", mend}, [&] { return startUp(installation); }).front());
    return checks;
}

} // namespace orvo::host
