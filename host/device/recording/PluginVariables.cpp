// SPDX-License-Identifier: MIT
#include "device/recording/PluginVariables.h"

namespace orvo::host {
namespace {

bool isProbe(std::size_t place) noexcept {
    const auto entry = static_cast<Entry>(place);
    return entry == Entry::OHalInitDevice || entry == Entry::KivLoadKivFileWithType;
}

} // namespace

PluginVariables::PluginVariables(const std::function<void*(const char*)>& find) {
    for (std::size_t i = 0; i < entryCount; ++i)
        variables_[i] = static_cast<std::atomic<void*>*>(find(boardEntries[i].variable));
}

const char* PluginVariables::missing() const noexcept {
    for (std::size_t i = 0; i < entryCount; ++i)
        if (!variables_[i]) return boardEntries[i].variable;
    return nullptr;
}

bool PluginVariables::areBound() const noexcept {
    for (std::size_t i = 0; i < entryCount; ++i)
        if (isProbe(i) && !variables_[i]->load(std::memory_order_acquire)) return false;
    return true;
}

EntryTable PluginVariables::read() const noexcept {
    EntryTable table{};
    for (std::size_t i = 0; i < entryCount; ++i) table[i] = variables_[i]->load(std::memory_order_acquire);
    return table;
}

void PluginVariables::write(const EntryTable& entries) const noexcept {
    for (const bool probes : {false, true})
        for (std::size_t i = 0; i < entryCount; ++i)
            if (isProbe(i) == probes) variables_[i]->store(entries[i], std::memory_order_release);
}

} // namespace orvo::host
