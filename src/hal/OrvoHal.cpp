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
    using namespace orvo::hal;
    static constexpr EntryRow rows[] = {
#define ENTRY(Result, name, unbound, parameters, arguments) {#name, storeEntry<m_P##name>},
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments) {#name, storeEntry<m_p##name>},
#include "hal/OrvoHalEntries.def"
    };
    return bindLibrary("orvo_hal", rows, "OHalInitDevice") ? 0 : HalNotLoaded;
}
