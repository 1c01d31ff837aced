// SPDX-License-Identifier: MIT
// The installation's folder, and the files in it before they are loaded.
#include "base/Failure.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/Repair.h"

#include <fmt/format.h>

#include <unistd.h>

#include <cerrno>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* installationTitle = "installation";

Check badInstallation(const std::string& found, const std::string& mend) {
    return {installationTitle, Verdict::Bad, found, mend};
}

bool isRoot(const fs::path& folder) {
    std::error_code unreadable;
    return fs::is_directory(folder / "lib64", unreadable);
}

/// The installation that a folder is in; empty: none.
fs::path rootAbove(fs::path folder) {
    while (folder.has_relative_path() && !isRoot(folder)) folder = folder.parent_path();
    return folder.has_relative_path() ? folder : fs::path();
}

std::string commandToCheck(const fs::path& root) {
    return ownProgram() + " doctor" + (root.empty() ? "" : " --root " + shellWord(root.string()));
}

Check emptyRoot(const Installation& installation, bool isGiven) {
    const auto& root = installation.root();
    const auto above = rootAbove(root);
    return badInstallation(quoted(root.string()) + " is not an installation: it has no lib64",
                           isGiven || !above.empty() ? commandToCheck(above)
                                                     : commandToRestore(installation, installation.plugin()));
}

std::string absenceOf(const fs::path& file) {
    std::error_code noLink;
    const auto target = fs::read_symlink(file, noLink);
    if (noLink) return "there is no " + quoted(file.string());
    return quoted(file.string()) + " is a link to " + quoted(target.string()) + ", which is not there";
}

} // namespace

Check installationCheck(const std::string& root) {
    const auto library = fs::path(root) / "lib64" / "any";
    if (const auto closed = closedFolder(library); !root.empty() && !closed.empty())
        return badInstallation(quoted(closed.string()) + " cannot be entered: " + systemError(EACCES),
                               commandToOpen(library));
    try {
        const Installation installation(root);
        if (!isRoot(installation.root())) return emptyRoot(installation, !root.empty());
        return {installationTitle, Verdict::Good,
                fmt::format("{} ({})", installation.root().string(),
                            root.empty() ? "this program's own" : "option --root")};
    } catch (const Failure& failure) {
        return badInstallation(withoutAdvice(failure.what()),
                               commandToCheck(rootAbove(fs::path(root).lexically_normal())));
    }
}

std::optional<Check> unreadableFile(const std::string& name, const Installation& installation,
                                    const fs::path& file) {
    const auto bad = [&](const std::string& found, const std::string& mend) {
        return Check{name, Verdict::Bad, found, mend};
    };
    std::error_code reason;
    const auto kind = fs::status(file, reason).type();
    if (kind == fs::file_type::not_found) return bad(absenceOf(file), commandToRestore(installation, file));
    if (access(file.c_str(), R_OK) != 0) {
        const int why = errno;
        return bad(quoted(file.string()) + " cannot be read: " + systemError(why), commandToOpen(file));
    }
    if (kind == fs::file_type::regular) return std::nullopt;
    return bad(quoted(file.string()) + " is not a regular file",
               asWriter(file.parent_path(), "rm -r " + shellWord(file.string())) + " && " +
                   commandToRestore(installation, file));
}

} // namespace orvo::host
