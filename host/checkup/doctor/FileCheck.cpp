// SPDX-License-Identifier: MIT
// Looking at a file.
#include "checkup/doctor/FileCheck.h"

#include "base/Failure.h"
#include "checkup/doctor/Access.h"
#include "checkup/doctor/Mending.h"

#include <unistd.h>

#include <cerrno>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

std::string absence(const fs::path& file) {
    std::error_code none;
    const auto target = fs::read_symlink(file, none);
    if (none) return "there is no " + quoted(file.string());
    return quoted(file.string()) + " is a link to " + quoted(target.string()) + ", which is not there";
}

} // namespace

std::optional<Check> unreadableFile(const std::string& name, const Installation& installation,
                                    const fs::path& file) {
    const auto bad = [&](const std::string& found, const std::string& mend) {
        return Check{name, Verdict::Bad, found, mend};
    };
    std::error_code reason;
    const auto kind = fs::status(file, reason).type();
    if (kind == fs::file_type::not_found) return bad(absence(file), commandToRestore(installation, file));
    if (access(file.c_str(), R_OK) != 0) {
        const auto why = systemError(errno);
        return bad(quoted(file.string()) + " cannot be read: " + why, commandToOpen(file));
    }
    if (kind != fs::file_type::regular)
        return bad(quoted(file.string()) + " is no file",
                   asWriter(file.parent_path(), "rm -r " + shellWord(file.string())) + " && " +
                       commandToRestore(installation, file));
    return std::nullopt;
}

} // namespace orvo::host
