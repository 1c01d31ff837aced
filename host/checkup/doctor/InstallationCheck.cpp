// SPDX-License-Identifier: MIT
// Whether there is an installation, and where one is if not.
#include "base/Failure.h"
#include "checkup/doctor/Access.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/Mending.h"

#include <fmt/format.h>

#include <cerrno>
#include <optional>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* installationTitle = "installation";

/// Whether libraries or plug-ins lie in a folder as they do in an installation.
bool isRoot(const fs::path& folder) {
    std::error_code unreadable;
    return fs::is_directory(folder / "lib64", unreadable);
}

/// The installation that a folder lies in, or one that lies in it.
std::optional<fs::path> rootNear(const fs::path& folder) {
    for (auto above = folder; above.has_relative_path(); above = above.parent_path())
        if (isRoot(above)) return above;
    std::error_code unreadable;
    for (const auto& entry : fs::directory_iterator(folder, unreadable))
        if (isRoot(entry.path())) return entry.path();
    return std::nullopt;
}

std::string commandFor(const std::optional<fs::path>& root) {
    auto command = shellWord(ownProgram().string()) + " doctor";
    return root ? command + " --root " + shellWord(root->string()) : command;
}

Check emptyRoot(const Installation& installation, bool isGiven) {
    const auto& root = installation.root();
    const auto near = rootNear(root);
    return {installationTitle, Verdict::Bad,
            quoted(root.string()) + " is no installation: there is no lib64 in it",
            isGiven || near ? commandFor(near) : commandToRestore(installation, installation.plugin())};
}

/// A root that keeps its libraries from this user; nothing where it does not, or is this program's own.
std::optional<Check> closedRoot(const fs::path& root) {
    const auto library = root / "lib64" / "any";
    const auto closed = root.empty() ? fs::path() : closedFolder(library);
    if (closed.empty()) return std::nullopt;
    return Check{installationTitle, Verdict::Bad,
                 quoted(closed.string()) + " cannot be looked into: " + systemError(EACCES),
                 commandToOpen(library)};
}

} // namespace

Check installationCheck(const std::string& root) {
    if (auto closed = closedRoot(root)) return *closed;
    try {
        const Installation installation(root);
        if (!isRoot(installation.root())) return emptyRoot(installation, !root.empty());
        return {installationTitle, Verdict::Good,
                fmt::format("{} ({})", installation.root().string(),
                            root.empty() ? "where this program lies" : "option --root")};
    } catch (const Failure& failure) {
        const auto near = rootNear(fs::path(root).lexically_normal());
        return {installationTitle, Verdict::Bad, withoutAdvice(failure.what()), commandFor(near)};
    }
}

} // namespace orvo::host
