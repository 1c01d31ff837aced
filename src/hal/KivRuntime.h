// SPDX-License-Identifier: MIT
// The applet runtime as the plug-in calls it: forwarding functions of the library's own names (declared in
// orvo/hal/kivrt.h), one pointer variable per entry, and the binder that fills them.
#pragma once

#include <orvo/hal/kivrt.h>

#include <atomic>

/// One variable per entry, m_PKivGetRegisterByName and so on: the entry's address in the opened library, or
/// null. Null in m_PKivLoadKivFileWithType means that nothing is bound.
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    extern ORVO_EXPORT std::atomic<decltype(&::name)> m_P##name;
#include "hal/KivRuntimeEntries.def"

/// Opens the library and fills the variables. 0 when it was opened, whether or not every entry was found; -1
/// when it was not. The forwarding functions call it when nothing is bound. Any thread.
extern "C" ORVO_EXPORT int KIVRT_OpenLib();
