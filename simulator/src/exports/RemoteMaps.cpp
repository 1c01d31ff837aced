// SPDX-License-Identifier: MIT
#include "exports/RemoteMaps.h"

#include "entries/OwnEntries.h"
#include "exports/Choice.h"

#include <algorithm>
#include <sstream>

namespace orvo::sim {

RemoteMaps::RemoteMaps(const std::vector<std::string>& texts) {
    for (const auto& text : texts) copies_.push_back(copyOf(text)); // moving keeps the registers in place
}

RemoteMaps::Copy RemoteMaps::copyOf(const std::string& text) {
    Copy copy;
    std::istringstream in(text);
    in >> copy.map.major >> copy.map.minor;
    std::vector<std::uint32_t> addresses;
    std::uint32_t address = 0;
    for (std::string name; in >> address >> name;) {
        addresses.push_back(address);
        copy.names.push_back(name);
    }
    for (std::size_t i = 0; i < addresses.size(); ++i)
        copy.registers.push_back({copy.names[i].c_str(), addresses[i]}); // vectors move without moving names
    copy.map.count = static_cast<std::uint32_t>(copy.registers.size());
    copy.map.registers = copy.registers.data();
    return copy;
}

const OrvoSimRegisterMap* RemoteMaps::map(unsigned number) const noexcept {
    return number < copies_.size() ? &copies_[number].map : nullptr;
}

std::uint32_t RemoteMaps::numberOf(const void* map) const noexcept {
    const auto found = std::ranges::find_if(copies_, [map](const Copy& copy) { return &copy.map == map; });
    return static_cast<std::uint32_t>(found - copies_.begin());
}

const RemoteMaps& remoteMaps() {
    static const RemoteMaps* const maps = [] {
        std::vector<std::string> texts;
        const auto ask = remote()->call(EntryId::registerMap, OrvoSimServerGone, &own::registerMap);
        std::vector<char> text(maxBlockBytes);
        while (ask(static_cast<std::uint32_t>(texts.size()), text.data(), text.size()) == 0)
            texts.emplace_back(text.data());
        return new RemoteMaps(texts);
    }();
    return *maps;
}

} // namespace orvo::sim
