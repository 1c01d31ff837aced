// SPDX-License-Identifier: MIT
// Entry table, forwarding functions and binder of the applet runtime.
#include "hal/KivRuntime.h"

#include "hal/EntryBinding.h"

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    ORVO_FORWARD(Result, name, m_P##name, m_PKivLoadKivFileWithType, KIVRT_OpenLib, unbound, parameters,     \
                 arguments)
#include "hal/KivRuntimeEntries.def"

int KIVRT_OpenLib() {
    static std::mutex bindingLock;
    const bool opened =
        orvo::hal::bindLibrary("kivrt", bindingLock, [](const orvo::hal::SharedLibrary& library) {
            const auto bind = [&](auto& variable, const char* name) {
                if (static_cast<void*>(&variable) != &m_PKivLoadKivFileWithType)
                    orvo::hal::bindEntry(variable, library, name, std::memory_order_relaxed);
            };
#define ENTRY(Result, name, unbound, parameters, arguments) bind(m_P##name, #name);
#include "hal/KivRuntimeEntries.def"
            orvo::hal::bindEntry(m_PKivLoadKivFileWithType, library, "KivLoadKivFileWithType",
                                 std::memory_order_release);
        });
    return opened ? 0 : -1;
}
