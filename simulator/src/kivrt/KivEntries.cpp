// SPDX-License-Identifier: MIT
// Entries of the simulated applet runtime. An applet handle is a pointer to the register map of a firmware
// version that a board runs.
#include <orvo/hal/kivrt.h>
#include <orvo/sim/orvo_sim.h>

#include <cstring>

namespace {

/// The first map that fits; null when none does.
template <class Fits> const OrvoSimRegisterMap* findMap(Fits fits) {
    for (unsigned number = 0;; ++number) {
        const OrvoSimRegisterMap* const map = orvoSimRegisterMap(number);
        if (!map || fits(*map)) return map;
    }
}

/// The map that an applet handle stands for; null for any other pointer.
const OrvoSimRegisterMap* mapOf(const void* applet) {
    return findMap([applet](const OrvoSimRegisterMap& map) { return &map == applet; });
}

} // namespace

void* KivFirmwareTrampoline(uint32_t major, uint32_t minor) {
    return const_cast<OrvoSimRegisterMap*>(
        findMap([=](const OrvoSimRegisterMap& map) { return map.major == major && map.minor == minor; }));
}

/// The simulation has no applet files; applets come by firmware version.
void* KivLoadKivFileWithType(const char*, uint32_t, uint32_t) {
    return nullptr;
}

/// Nothing to do: the map belongs to the library.
int KivUnloadKivFile(void* applet) {
    return mapOf(applet) ? 0 : OrvoSimHalBadHandle;
}

int KivGetRegisterByName(void* applet, const char* name) {
    const OrvoSimRegisterMap* const map = mapOf(applet);
    if (!map || !name) return 0;
    for (uint32_t i = 0; i < map->count; ++i)
        if (std::strcmp(map->registers[i].name, name) == 0)
            return static_cast<int>(map->registers[i].address);
    return 0;
}

int KivGetNrOfRegister(void* applet) {
    const OrvoSimRegisterMap* const map = mapOf(applet);
    return map ? static_cast<int>(map->count) : OrvoSimHalBadHandle;
}

const char* KivGetRegisterName(void* applet, uint32_t number) {
    const OrvoSimRegisterMap* const map = mapOf(applet);
    return map && number < map->count ? map->registers[number].name : nullptr;
}

int KivGetRegisterAddress(void* applet, uint32_t number) {
    const OrvoSimRegisterMap* const map = mapOf(applet);
    return map && number < map->count ? static_cast<int>(map->registers[number].address) : 0;
}
