// SPDX-License-Identifier: MIT
// Binding and forwarding, the same for the entry tables of both board libraries.
#pragma once

#include "hal/SharedLibrary.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orvo::hal {

/// One entry for the binder: its name in the library, and how its address gets into its pointer variable.
struct EntryRow {
    const char* name;
    void (*store)(void* address);
};

/// Stores with release, so that a thread that sees the probe also sees what was stored before it.
template <auto& variable> void storeEntry(void* address) {
    using Function = typename std::remove_reference_t<decltype(variable)>::value_type;
    variable.store(reinterpret_cast<Function>(address), std::memory_order_release);
}

/// Keeps a flag up while it lives.
class Raised {
public:
    explicit Raised(bool& flag) noexcept : flag_(flag), wasUp_(std::exchange(flag, true)) {}
    Raised(const Raised&) = delete;
    Raised& operator=(const Raised&) = delete;
    ~Raised() { flag_ = wasUp_; }
    bool wasUp() const noexcept { return wasUp_; }

private:
    bool& flag_;
    const bool wasUp_;
};

/// Opens `libraryName` and stores the address of each of its entries, null for one that it lacks; the entry
/// named `probeName` comes last. False when the library cannot be opened.
///
/// Threads: any. One at a time stores; the loader, which has a lock of its own and runs the library's
/// initialiser, is asked before. An initialiser may therefore call a forwarding function. It then gets every
/// entry but the probe, so that other threads wait in the loader until the library is initialised.
template <std::size_t count>
bool bindLibrary(const char* libraryName, const EntryRow (&rows)[count], std::string_view probeName) {
    // Reserved when the thread is made, because allocation on first use ends the process if it fails.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local bool isLoading = false;
    const Raised loading(isLoading);
    const auto library = loadLibrary(libraryName, nullptr);
    if (!library) return false;
    void* addresses[count];
    for (std::size_t i = 0; i < count; ++i) addresses[i] = findSymbol(*library, rows[i].name);
    static std::mutex storing;
    const std::lock_guard guard(storing);
    std::size_t probe = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (rows[i].name == probeName)
            probe = i;
        else
            rows[i].store(addresses[i]);
    if (!loading.wasUp()) rows[probe].store(addresses[probe]);
    return true;
}

} // namespace orvo::hal

/// The forwarding function `name`, calling through `variable`. The probe is read with acquire and the binder
/// stores it last, so a relaxed read of the entry is enough; the call is a tail call.
#define ORVO_FORWARD(Result, name, variable, probe, open, unbound, parameters, arguments)                    \
    ORVO_EXPORT std::atomic<decltype(&::name)> variable{nullptr};                                            \
    ORVO_EXPORT Result name parameters {                                                                     \
        if (!probe.load(std::memory_order_acquire)) open();                                                  \
        const auto entry = variable.load(std::memory_order_relaxed);                                         \
        if (!entry) return unbound;                                                                          \
        return entry arguments;                                                                              \
    }
