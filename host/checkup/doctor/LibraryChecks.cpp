// SPDX-License-Identifier: MIT
// The libraries of an installation: there, loadable, complete.
#include "base/DynamicLibrary.h"
#include "base/Output.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/EntryNames.h"
#include "checkup/doctor/FileCheck.h"
#include "checkup/doctor/Mending.h"
#include "checkup/doctor/Trial.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace orvo::host {
namespace {

struct Library {
    const char* name;
    EntryNames entries;
    const char* base; ///< library that it needs; null for none
};

/// Each behind the one that it needs.
std::vector<Library> libraries() {
    return {{"orvo_hal", hardwareEntries(), nullptr},
            {"kivrt", appletEntries(), "orvo_hal"},
            {"common-logging-dispatcher", {{"logging_dispatcher_descriptor"}}, nullptr},
            {"orvo-core", {{"OrvoCoreInit"}, {"OrvoCoreDeinit"}}, nullptr},
            {"orvo-lib-zume", {{"OrvoZumeInit"}, {"OrvoZumeDeinit"}}, "orvo-core"}};
}

std::string fileName(const char* library) {
    return fmt::format("lib{}.so", library);
}

/// A loaded library against the list of what it has to offer.
Check completeness(const DynamicLibrary& loaded, const Library& library, const Check& blamed) {
    std::vector<std::string> missing, uncalled;
    for (const auto& entry : library.entries)
        if (!loaded.find<void>(entry.name)) (entry.isUsed ? missing : uncalled).emplace_back(entry.name);
    if (!missing.empty())
        return {blamed.name, Verdict::Bad,
                fmt::format("lacks entries that are called: {}", fmt::join(missing, ", ")), blamed.mend};
    const auto called = std::ranges::count_if(library.entries, &EntryName::isUsed);
    return {blamed.name, Verdict::Good,
            fmt::format("loads, with all that is called ({})",
                        counted(static_cast<std::uint64_t>(called), "function")),
            "", uncalled};
}

Check checkOf(const Installation& installation, const Library& library) {
    const auto path = installation.library(library.name);
    const auto name = fileName(library.name);
    if (auto unreadable = unreadableFile(name, installation, path)) return *unreadable;
    const Check blamed{name, Verdict::Bad, "", commandToRestore(installation, path)};
    return tried(blamed, [&] { return Checks{completeness(DynamicLibrary(path), library, blamed)}; }).front();
}

/// A library that is there, and cannot be better than the one below it, is not to blame.
void excuse(Check& check, const Library& library, const Installation& installation, const Checks& before) {
    if (unreadableFile(check.name, installation, installation.library(library.name))) return;
    const auto base = library.base ? fileName(library.base) : "";
    const auto isBase = [&](const Check& other) { return other.name == base && isBad(other); };
    if (!isBad(check) || std::ranges::none_of(before, isBase)) return;
    check = {check.name, Verdict::Skipped, fmt::format("needs {}, which is bad ({})", base, check.found)};
}

/// The plug-in and all programs do without a log.
void excuseMissingLog(Check& check, const Installation& installation) {
    std::error_code unknown;
    const auto path = installation.library("common-logging-dispatcher");
    if (check.name != path.filename() || !isBad(check)) return;
    if (std::filesystem::exists(path, unknown) || unknown) return;
    check.verdict = Verdict::Warning;
    check.found += ", so nobody sees what the plug-in logs";
}

} // namespace

Checks libraryChecks(const Installation& installation) {
    Checks checks;
    for (const auto& library : libraries()) {
        auto check = checkOf(installation, library);
        excuse(check, library, installation, checks);
        excuseMissingLog(check, installation);
        checks.push_back(std::move(check));
    }
    return checks;
}

} // namespace orvo::host
