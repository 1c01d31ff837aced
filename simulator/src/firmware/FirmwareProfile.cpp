// SPDX-License-Identifier: MIT
// Register sets of firmware versions.
#include "firmware/FirmwareProfile.h"

namespace orvo::sim {

FirmwareProfile::FirmwareProfile(FirmwareVersion version) : map_{version.major, version.minor, 0, nullptr} {
    for (const auto& row : registerRows) {
        const unsigned instances = row.isPerPort() ? maxPorts : 1;
        for (unsigned port = 0; port < instances; ++port)
            entries_.push_back({row.name + (row.isPerPort() ? std::to_string(port) : std::string()),
                                row.address | port << portShift});
    }
    makeMap();
}

bool FirmwareProfile::remove(std::string_view name) {
    bool isKnown = false;
    for (Entry& entry : entries_) {
        const std::string_view full = entry.name;
        const bool isBaseName = (entry.address & portScope) != 0 && full.substr(0, full.size() - 1) == name;
        if (full != name && !isBaseName) continue;
        isKnown = true;
        entry.isThere = false;
    }
    makeMap();
    return isKnown;
}

std::uint32_t FirmwareProfile::addressOf(std::string_view name) const noexcept {
    for (const auto& entry : registers_)
        if (entry.name == name) return entry.address;
    return 0;
}

void FirmwareProfile::makeMap() {
    registers_.clear();
    portRegisters_.fill(0);
    boardRegisters_ = 0;
    for (const auto& [name, address, isThere] : entries_) {
        if (!isThere) continue;
        registers_.push_back({name.c_str(), address});
        auto& set = (address & portScope) != 0 ? portRegisters_[portOf(address)] : boardRegisters_;
        set |= registerBit(address);
    }
    map_.count = static_cast<std::uint32_t>(registers_.size());
    map_.registers = registers_.data();
}

} // namespace orvo::sim
