// SPDX-License-Identifier: MIT
// The hardware access layer as the plug-in calls it: forwarding functions of the library's own names
// (declared in orvo/hal/orvo_hal.h), one pointer variable per entry, and the binder that fills them.
#pragma once

#include <orvo/hal/orvo_hal.h>

#include <atomic>

/// One variable per entry, m_POHalInitDevice and so on (m_pOHalInitLibraries and m_pOHalFreeLibraries with a
/// small p): the entry's address in the opened library, or null. Null in m_POHalInitDevice means that nothing
/// is bound.
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    extern ORVO_EXPORT std::atomic<decltype(&::name)> m_P##name;
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments)                                          \
    extern ORVO_EXPORT std::atomic<decltype(&::name)> m_p##name;
#include "hal/OrvoHalEntries.def"

/// Opens the library and fills the variables. 0 when it was opened, whether or not every entry was found;
/// HalNotLoaded when it was not. The forwarding functions call it when nothing is bound. Any thread.
extern "C" ORVO_EXPORT int OHA_OpenLib();

namespace orvo::hal {

/// OHalRegisterWrite for loops: the library's own entry, which spares the forwarding on each call, or the
/// forwarding function while nothing is bound.
inline auto boundRegisterWrite() noexcept {
    // The probe is stored last, so it covers the table.
    if (m_POHalInitDevice.load(std::memory_order_acquire))
        if (const auto entry = m_POHalRegisterWrite.load(std::memory_order_relaxed)) return entry;
    return &OHalRegisterWrite;
}

} // namespace orvo::hal
