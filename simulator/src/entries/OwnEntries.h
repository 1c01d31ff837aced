// SPDX-License-Identifier: MIT
// The entries as they work on the boards of this process.
#pragma once

#include <orvo/hal/orvo_hal.h>
#include <orvo/sim/orvo_sim.h>

namespace orvo::sim::own {

#define ENTRY(Result, name, gone, parameters, arguments) Result name parameters;
#define HAND_ENTRY ENTRY
#include "entries/Entries.def"
#undef HAND_ENTRY
#undef ENTRY

int OHalDataQueueReadBufferLong(void* device, uint32_t queue, void* buffer, uint64_t bytes,
                                uint32_t timeoutMs);

// Those whose results point into this process.
int OHalConfigureFpga(void* device, void* applet);
const char* OHalGetBoardInfoString(void* device, const char* key);
const char* orvoSimConfigurationError();
const OrvoSimRegisterMap* orvoSimRegisterMap(unsigned number);
int orvoSimReadFault(unsigned number, OrvoSimFault* out);

} // namespace orvo::sim::own
