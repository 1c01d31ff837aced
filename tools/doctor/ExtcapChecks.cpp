// SPDX-License-Identifier: MIT
// Whether Wireshark and tshark find this program.
#include "app/ExtcapFolders.h"
#include "app/Failure.h"
#include "doctor/Checks.h"
#include "doctor/Mending.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* extcapTitle = "capture interfaces";

std::string commandToInstall(const fs::path& folder) {
    return asWriter(folder, fmt::format("{} extcap install --folder {}", shellWord(ownProgram().string()),
                                        shellWord(folder.string())));
}

} // namespace

Check extcapLinkCheck(const fs::path& folder) {
    const auto link = extcapLinkIn(folder);
    const auto place = quoted(link.string());
    const auto mend = commandToInstall(folder);
    std::error_code unknown;
    if (!fs::exists(fs::symlink_status(link, unknown)))
        return {extcapTitle, Verdict::Skipped, "not made: there is no " + place, mend};
    if (!isLinkToProgram(link))
        return {extcapTitle, Verdict::Warning, place + " is there and no link of ours",
                asWriter(folder, "rm -r " + shellWord(link.string())) + " && " + mend};
    const auto target = quoted(fs::read_symlink(link, unknown).string());
    if (!fs::exists(link, unknown))
        return {extcapTitle, Verdict::Bad, place + " is a stale link: there is no " + target, mend};
    if (!fs::equivalent(link, ownProgram(), unknown))
        return {extcapTitle, Verdict::Warning,
                place + " is a link to another installation's program, " + target, mend};
    return {extcapTitle, Verdict::Good, place + " is a link to this program"};
}

Checks extcapChecks() {
    const auto folders = extcapFolders();
    if (folders.empty())
        return {{extcapTitle, Verdict::Skipped, "tshark is not there, or does not tell its folders",
                 "sudo apt-get install tshark"}};
    Checks checks;
    for (const auto& folder : folders) {
        auto check = extcapLinkCheck(folder.path);
        if (check.verdict != Verdict::Skipped) checks.push_back(std::move(check));
    }
    return checks.empty() ? Checks{extcapLinkCheck(folders.front().path)} : checks;
}

} // namespace orvo::host
