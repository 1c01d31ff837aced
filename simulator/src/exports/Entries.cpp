// SPDX-License-Identifier: MIT
// The C entries that do the same on own boards and on a server's.
#include "entries/OwnEntries.h"
#include "exports/Choice.h"

#include <new>

using namespace orvo::sim;

// Without memory to make the boards, there is none; the next call tries again.
#define ENTRY(Result, name, gone, parameters, arguments)                                                     \
    Result name parameters try {                                                                             \
        if (Remote* const server = remote()) return server->call(EntryId::name, gone, &own::name) arguments; \
        return own::name arguments;                                                                          \
    } catch (const std::bad_alloc&) {                                                                        \
        return gone;                                                                                         \
    }
#define HAND_ENTRY(Result, name, gone, parameters, arguments) // other files here
#include "entries/Entries.def"
#undef HAND_ENTRY
#undef ENTRY
