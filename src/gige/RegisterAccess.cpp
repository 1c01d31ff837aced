// SPDX-License-Identifier: MIT
// Every lookup asks the applet runtime; callers keep the addresses that they use again.
#include "gige/RegisterAccess.h"

#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"

#include <cstdio>

namespace orvo::core::zume {

std::uint32_t resolveRegister(void* applet, const char* name) {
    return static_cast<std::uint32_t>(KivGetRegisterByName(applet, name));
}

int resolvePortRegister(void* const* applet, const char* baseName, int index) {
    // No allocation, so that a reopening cannot run out of memory. The longest base name has 32 characters.
    char name[64];
    std::snprintf(name, sizeof name, "%s%d", baseName, index);
    return KivGetRegisterByName(*applet, name);
}

std::uint64_t readOr(void* device, std::uint32_t address, std::uint64_t fallback) {
    if (address == 0) return fallback;
    std::uint64_t value = fallback;
    OHalRegisterRead(device, address, &value);
    return value;
}

void writeIfPresent(void* device, std::uint32_t address, std::uint64_t value) {
    if (address != 0) OHalRegisterWrite(device, address, value);
}

} // namespace orvo::core::zume
