// SPDX-License-Identifier: MIT
#include "device/BoardLibraries.h"

#include "device/recording/CallCollector.h"
#include "device/recording/Playback.h"

namespace orvo::host {

std::optional<DynamicLibrary> BoardLibraries::opened(const Installation& installation,
                                                     const char* name) const {
    if (reach_ == CallsReach::Recording) return std::nullopt;
    return DynamicLibrary(installation.library(name));
}

DynamicLibrary::Symbol BoardLibraries::require(const char* name,
                                               const std::optional<DynamicLibrary>& library) const {
    const Symbol found = library ? library->require(name) : Symbol(nullptr);
    const auto* const entries = pluginEntries();
    const auto entry = entries ? entryNamed(name) : std::nullopt;
    return entry ? Symbol((*entries)[static_cast<std::size_t>(*entry)]) : found;
}

EntryTable BoardLibraries::entries() const {
    EntryTable table{};
    for (std::size_t i = 0; i < entryCount; ++i)
        if (const auto& library = boardEntries[i].isHal ? hal_ : applets_)
            table[i] = reinterpret_cast<void*>(library->find<void()>(boardEntries[i].name));
    return table;
}

const EntryTable* BoardLibraries::pluginEntries() const noexcept {
    if (reach_ == CallsReach::Board) return nullptr;
    return reach_ == CallsReach::Recording ? &playbackEntries : &recordingEntries;
}

} // namespace orvo::host
