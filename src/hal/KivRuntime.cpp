// SPDX-License-Identifier: MIT
// Entry table, forwarding functions and binder of the applet runtime.
#include "hal/KivRuntime.h"

#include "hal/EntryBinding.h"

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    ORVO_FORWARD(Result, name, m_P##name, m_PKivLoadKivFileWithType, KIVRT_OpenLib, unbound, parameters,     \
                 arguments)
#include "hal/KivRuntimeEntries.def"

int KIVRT_OpenLib() {
    using namespace orvo::hal;
    static constexpr EntryRow rows[] = {
#define ENTRY(Result, name, unbound, parameters, arguments) {#name, storeEntry<m_P##name>},
#include "hal/KivRuntimeEntries.def"
    };
    return bindLibrary("kivrt", rows, "KivLoadKivFileWithType") ? 0 : -1;
}
