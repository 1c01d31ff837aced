// SPDX-License-Identifier: MIT
// Names of the board libraries' entries, from the lists that the plug-in's tables are made of.
#include "checkup/doctor/EntryNames.h"

namespace orvo::host {

#define USED(Result, name, unbound, parameters, arguments) {#name, true},
#define UNUSED(Result, name, unbound, parameters, arguments) {#name, false},

const EntryNames& hardwareEntries() {
#define USED_ENTRY USED
#define ENTRY UNUSED
    static const EntryNames names = {
#include <hal/OrvoHalEntries.def>
    };
    return names;
}

const EntryNames& appletEntries() {
#define USED_ENTRY USED
#define ENTRY UNUSED
    static const EntryNames names = {
#include <hal/KivRuntimeEntries.def>
    };
    return names;
}

} // namespace orvo::host
