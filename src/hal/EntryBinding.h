// SPDX-License-Identifier: MIT
// What the entry tables of both board libraries have in common.
#pragma once

#include "hal/SharedLibrary.h"

#include <atomic>
#include <mutex>

namespace orvo::hal {

/// Stores the address of the entry `name` of `library`, null when it has none.
template <class Function>
void bindEntry(std::atomic<Function>& variable, const SharedLibrary& library, const char* name,
               std::memory_order order) {
    variable.store(reinterpret_cast<Function>(findSymbol(library, name)), order);
}

/// Opens `libraryName` and lets `bindEntries` fill the table from it, one thread at a time. `bindEntries`
/// stores the probe last, with release: a forwarding function that sees the probe then sees the whole table.
/// False when the library cannot be opened.
template <class BindEntries>
bool bindLibrary(const char* libraryName, std::mutex& bindingLock, BindEntries bindEntries) {
    const std::lock_guard guard(bindingLock);
    const auto library = loadLibrary(libraryName, nullptr);
    if (!library) return false;
    bindEntries(*library);
    return true;
}

} // namespace orvo::hal

/// The forwarding function `name`, calling through `variable`. The probe is read with acquire and the binder
/// stores it last, so it covers the table and relaxed will do for the entry itself; the call is a tail call.
#define ORVO_FORWARD(Result, name, variable, probe, open, unbound, parameters, arguments)                    \
    ORVO_EXPORT std::atomic<decltype(&::name)> variable{nullptr};                                            \
    ORVO_EXPORT Result name parameters {                                                                     \
        if (!probe.load(std::memory_order_acquire)) open();                                                  \
        const auto entry = variable.load(std::memory_order_relaxed);                                         \
        if (!entry) return unbound;                                                                          \
        return entry arguments;                                                                              \
    }
