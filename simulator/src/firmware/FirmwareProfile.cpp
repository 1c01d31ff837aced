// SPDX-License-Identifier: MIT
// Register sets of firmware versions.
#include "firmware/FirmwareProfile.h"

#include <algorithm>

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
    const auto meant = [name](const Entry& entry) {
        if (entry.name == name) return true;
        const std::string_view full = entry.name;
        return (entry.address & portScope) != 0 && full.substr(0, full.size() - 1) == name;
    };
    const auto known = [name](const RegisterRow& row) {
        const std::string_view base = row.name;
        if (base == name) return true;
        return row.isPerPort() && name.size() == base.size() + 1 && name.starts_with(base) &&
               name.back() >= '0' && name.back() < static_cast<char>('0' + maxPorts);
    };
    entries_.remove_if(meant);
    makeMap();
    return std::any_of(std::begin(registerRows), std::end(registerRows), known);
}

std::uint32_t FirmwareProfile::addressOf(std::string_view name) const noexcept {
    for (const auto& entry : entries_)
        if (entry.name == name) return entry.address;
    return 0;
}

void FirmwareProfile::makeMap() {
    registers_.clear();
    portRegisters_.fill(0);
    boardRegisters_ = 0;
    for (const auto& [name, address] : entries_) {
        registers_.push_back({name.c_str(), address});
        auto& set = (address & portScope) != 0 ? portRegisters_[portOf(address)] : boardRegisters_;
        set |= registerBit(address);
    }
    map_.count = static_cast<std::uint32_t>(registers_.size());
    map_.registers = registers_.data();
}

} // namespace orvo::sim
