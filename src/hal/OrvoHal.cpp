// SPDX-License-Identifier: MIT
// Entry table, forwarding functions and binder of the hardware access layer.
#include "hal/OrvoHal.h"

#include "hal/EntryBinding.h"

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    ORVO_FORWARD(Result, name, m_P##name, m_POHalInitDevice, OHA_OpenLib, unbound, parameters, arguments)
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments)                                          \
    ORVO_FORWARD(Result, name, m_p##name, m_POHalInitDevice, OHA_OpenLib, unbound, parameters, arguments)
#include "hal/OrvoHalEntries.def"

int OHA_OpenLib() {
    static std::mutex bindingLock;
    const bool opened =
        orvo::hal::bindLibrary("orvo_hal", bindingLock, [](const orvo::hal::SharedLibrary& library) {
            const auto bind = [&](auto& variable, const char* name) {
                if (static_cast<void*>(&variable) != &m_POHalInitDevice)
                    orvo::hal::bindEntry(variable, library, name, std::memory_order_relaxed);
            };
#define ENTRY(Result, name, unbound, parameters, arguments) bind(m_P##name, #name);
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments) bind(m_p##name, #name);
#include "hal/OrvoHalEntries.def"
            orvo::hal::bindEntry(m_POHalInitDevice, library, "OHalInitDevice", std::memory_order_release);
        });
    return opened ? 0 : HalNotLoaded;
}
