// SPDX-License-Identifier: MIT
// What libraries of an installation have to offer.
#pragma once

#include <vector>

namespace orvo::host {

struct EntryName {
    const char* name;
    bool isUsed = true; ///< by the plug-in or by this program
};
using EntryNames = std::vector<EntryName>;

const EntryNames& hardwareEntries();
const EntryNames& appletEntries();

} // namespace orvo::host
