// SPDX-License-Identifier: MIT
// Whether Wireshark and tshark find this program.
#include "base/Failure.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/Mending.h"
#include "device/ExtcapFolders.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* extcapTitle = "capture interfaces";

/// Also a link that leads nowhere.
bool isThere(const fs::path& link) {
    std::error_code unknown;
    return fs::exists(fs::symlink_status(link, unknown));
}

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
    if (!isThere(link))
        return {extcapTitle, Verdict::Good,
                "not made: there is no " + place + " ('orvo-gige extcap install' makes it)"};
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
        return {{extcapTitle, Verdict::Good, "not made: tshark is not there, or does not tell its folders"}};
    Checks checks;
    for (const auto& folder : folders)
        if (isThere(extcapLinkIn(folder.path))) checks.push_back(extcapLinkCheck(folder.path));
    return checks.empty() ? Checks{extcapLinkCheck(folders.front().path)} : checks;
}

} // namespace orvo::host
