// SPDX-License-Identifier: MIT
// The C entries that do the same on own boards and on a server's.
#include "entries/OwnEntries.h"
#include "exports/Choice.h"

using namespace orvo::sim;

#define ENTRY(Result, name, gone, parameters, arguments)                                                     \
    Result name parameters {                                                                                 \
        if (Remote* const server = remote()) return server->call(EntryId::name, gone, &own::name) arguments; \
        return own::name arguments;                                                                          \
    }
#define HOT_ENTRY(Result, name, gone, parameters, arguments)   // HotEntries.cpp
#define INNER_ENTRY(Result, name, gone, parameters, arguments) // PointerEntries.cpp
#include "entries/Entries.def"
#undef INNER_ENTRY
#undef HOT_ENTRY
#undef ENTRY
