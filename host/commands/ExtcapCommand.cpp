// SPDX-License-Identifier: MIT
// Puts a link to the program where the analyser looks for capture interfaces, or removes it.
#include "base/Failure.h"
#include "base/Output.h"
#include "commands/HostProgram.h"
#include "device/ExtcapFolders.h"

#include <unistd.h>

#include <filesystem>
#include <optional>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

/// For root the folder of all users, for others their own; nothing where the analyser names none.
std::optional<fs::path> usualFolder() {
    std::optional<fs::path> found;
    for (const auto& folder : extcapFolders())
        if (!found || folder.isPersonal == (geteuid() != 0)) found = folder.path;
    return found;
}

fs::path folderFor(const std::string& given) {
    if (!given.empty()) return given;
    if (const auto folder = usualFolder()) return *folder;
    throw Failure(
        "tshark does not say where its capture interfaces are; install it (package tshark), or name the "
        "folder with --folder");
}

class ExtcapCommand : public Command {
public:
    explicit ExtcapCommand(Program& program)
        : Command(program, "extcap", "Let Wireshark and tshark capture from the ports") {
        line()
            .choice(
                "ACTION", {"install", "remove"}, [this](const std::string& action) { action_ = action; },
                "Install or remove the link to this program")
            .required();
        line()
            .text("--folder", "DIR", folder_, "Extcap folder (default: as 'tshark -G folders' says)")
            .notEmpty();
    }

    int run() override {
        const auto link = extcapLinkIn(folderFor(folder_));
        std::error_code reason;
        if (fs::exists(fs::symlink_status(link)) && !isLinkToProgram(link))
            throw Failure(host::quoted(link.string()) +
                          " exists and is not a link to this program; remove it first");
        const bool wasThere = fs::remove(link, reason);
        if (!reason && action_ == "install") {
            fs::create_directories(link.parent_path(), reason);
            if (!reason) fs::create_symlink(fs::read_symlink("/proc/self/exe"), link, reason);
        }
        if (reason)
            throw Failure("cannot " + action_ + " " + host::quoted(link.string()) + ": " + reason.message() +
                          "; run it as root, or name a folder of your own with --folder");
        print(link.string() + (action_ == "install" ? " is installed; 'tshark -D' lists the ports\n"
                               : wasThere           ? " is removed\n"
                                                    : " is not there; nothing to remove\n"));
        return Done;
    }

private:
    std::string action_;
    std::string folder_; // empty: the usual one
};

} // namespace

std::unique_ptr<Command> makeExtcapCommand(Program& program) {
    return std::make_unique<ExtcapCommand>(program);
}

} // namespace orvo::host
