// SPDX-License-Identifier: MIT
// The libraries of an installation: present, loadable, with all functions that are called.
#include "base/DynamicLibrary.h"
#include "base/Output.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/IsolatedCheck.h"
#include "checkup/doctor/Repair.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

struct Function {
    const char* name;
    bool isCalled = true; ///< by the plug-in or by this program
};
using Functions = std::vector<Function>;

// The board libraries' functions, from the lists that the plug-in's tables are made of.
#define CALLED(Result, name, unbound, parameters, arguments) {#name, true},
#define UNCALLED(Result, name, unbound, parameters, arguments) {#name, false},

const Functions& boardFunctions() {
#define USED_ENTRY CALLED
#define ENTRY UNCALLED
    static const Functions functions = {
#include <hal/OrvoHalEntries.def>
    };
    return functions;
}

const Functions& appletFunctions() {
#define USED_ENTRY CALLED
#define ENTRY UNCALLED
    static const Functions functions = {
#include <hal/KivRuntimeEntries.def>
    };
    return functions;
}

constexpr const char* logDispatcher = "common-logging-dispatcher";

struct Library {
    const char* name;
    Functions functions;
    const char* base; ///< library that it needs; null for none
};

/// Each after the one that it needs.
std::vector<Library> libraries() {
    return {{"orvo_hal", boardFunctions(), nullptr},
            {"kivrt", appletFunctions(), "orvo_hal"},
            {logDispatcher, {{"logging_dispatcher_descriptor"}}, nullptr},
            {"orvo-core", {{"OrvoCoreInit"}, {"OrvoCoreDeinit"}}, nullptr},
            {"orvo-lib-zume", {{"OrvoZumeInit"}, {"OrvoZumeDeinit"}}, "orvo-core"}};
}

std::string fileName(const char* library) {
    return fmt::format("lib{}.so", library);
}

Check completenessOf(const DynamicLibrary& loaded, const Library& library, const Check& blamed) {
    std::vector<std::string> missing, uncalled;
    for (const auto& function : library.functions)
        if (!loaded.find<void>(function.name))
            (function.isCalled ? missing : uncalled).emplace_back(function.name);
    if (!missing.empty())
        return failedCheck(blamed,
                           fmt::format("lacks functions that are called: {}", fmt::join(missing, ", ")));
    const auto called = std::ranges::count_if(library.functions, &Function::isCalled);
    return {blamed.name, Verdict::Good,
            called == 1 ? "loads, and has the function that is called"
                        : fmt::format("loads, and has all {} functions that are called", called),
            "", uncalled};
}

/// The plug-in and all programs work without a log.
bool isAbsentLog(const Library& library, const fs::path& path) {
    std::error_code unknown;
    return std::string_view(library.name) == logDispatcher &&
           fs::status(path, unknown).type() == fs::file_type::not_found;
}

Check checkOf(const Installation& installation, const Library& library, const Checks& before) {
    const auto path = installation.library(library.name);
    const auto name = fileName(library.name);
    if (isAbsentLog(library, path))
        return {name, Verdict::Absent, "not installed: the plug-in's log messages are not shown"};
    if (auto unreadable = unreadableFile(name, installation, path)) return *unreadable;
    const Check blamed{name, Verdict::Bad, "", commandToRestore(installation, path)};
    const auto work = [&] { return Checks{completenessOf(DynamicLibrary(path), library, blamed)}; };
    auto check = runIsolated(blamed, work).front();
    const auto base = library.base ? fileName(library.base) : "";
    const bool isBaseBad =
        std::ranges::any_of(before, [&](const Check& other) { return other.name == base && isBad(other); });
    if (!isBad(check) || !isBaseBad) return check;
    return {name, Verdict::Skipped, fmt::format("needs {}, which is bad ({})", base, check.found)};
}

} // namespace

Checks libraryChecks(const Installation& installation) {
    Checks checks;
    for (const auto& library : libraries()) checks.push_back(checkOf(installation, library, checks));
    return checks;
}

} // namespace orvo::host
