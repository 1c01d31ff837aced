// SPDX-License-Identifier: MIT
// Requests of other programs for what an entry answers with a pointer: the same as numbers and texts.
#include "base/Text.h"
#include "entries/OwnEntries.h"

#include <string>
#include <utility>

namespace orvo::sim::own {

int configureFpga(void* device, uint32_t map) {
    return own::OHalConfigureFpga(device, const_cast<OrvoSimRegisterMap*>(own::orvoSimRegisterMap(map)));
}

int boardText(void* device, const char* key, char* text, size_t textBytes) {
    const char* const found = OHalGetBoardInfoString(device, key);
    copyText(found ? found : "", text, textBytes);
    return found ? 0 : OrvoSimHalBadArgument;
}

/// "MAJOR MINOR", then "ADDRESS NAME" for each register.
int registerMap(uint32_t number, char* text, size_t textBytes) {
    const OrvoSimRegisterMap* const map = own::orvoSimRegisterMap(number);
    if (!map) return OrvoSimNoSuchPlace;
    std::string lines = std::to_string(map->major) + " " + std::to_string(map->minor);
    for (uint32_t i = 0; i < map->count; ++i)
        lines += "\n" + std::to_string(map->registers[i].address) + " " + map->registers[i].name;
    copyText(lines, text, textBytes);
    return 0;
}

/// The fault's two texts by themselves, a line each.
int readFault(uint32_t number, OrvoSimFault* out, char* texts, size_t textsBytes) {
    const int result = own::orvoSimReadFault(number, out);
    if (result != 0) return result;
    const std::string kind = std::exchange(out->kind, nullptr);
    copyText(kind + "\n" + std::exchange(out->mustMove, nullptr), texts, textsBytes);
    return 0;
}

} // namespace orvo::sim::own
