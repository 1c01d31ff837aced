// SPDX-License-Identifier: MIT
// Both board libraries in one, all entries of which answer the same; as a board library that lacks one entry
// when that entry's name is defined as another.
#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

namespace {

[[gnu::tls_model("initial-exec")]] thread_local char handle = 0;

template <class Result> Result answer() {
    if constexpr (requires { static_cast<Result>(4711); })
        return static_cast<Result>(4711);
    else
        return &handle;
}

} // namespace

#define STUB(Result, name, unbound, parameters, arguments)                                                   \
    Result name parameters {                                                                                 \
        return answer<Result>();                                                                             \
    }
#pragma GCC diagnostic ignored "-Wunused-parameter" // the names come with the tables
#define ENTRY STUB
#include "hal/OrvoHalEntries.def"
#define ENTRY STUB
#include "hal/KivRuntimeEntries.def"

/// The test's, if it has one: runs while this library is being loaded.
extern "C" __attribute__((weak, visibility("default"))) void whileBoardLibraryLoads();
[[gnu::constructor]] static void initialise() {
    if (whileBoardLibraryLoads) whileBoardLibraryLoads();
}
