// SPDX-License-Identifier: MIT
// C entries whose arguments or results mean something else in another process, or have a limit there:
// pointers into the library, paths of files, and long blocks.
#include "entries/OwnEntries.h"
#include "exports/Choice.h"
#include "exports/RemoteMaps.h"
#include "process/Process.h"
#include "wire/WireSpec.h"

#include <set>

using namespace orvo::sim;

namespace {

/// A copy of the text that stays for good.
const char* kept(const std::string& text) {
    static std::mutex mutex;
    static auto& texts = *new std::set<std::string>;
    const std::lock_guard lock(mutex);
    return texts.insert(text).first->c_str();
}

/// With absolute paths: the server has another working directory. A text that is no wire stays as it is, and
/// the server says why.
std::string absoluteWire(const char* wire) {
    try {
        return parseWire(wire, std::filesystem::current_path()).text();
    } catch (const std::exception&) {
        return wire;
    }
}

template <class Entry> auto ask(EntryId id, Entry* entry) {
    return remote()->call(id, OrvoSimServerGone, entry);
}

} // namespace

int OHalConfigureFpga(void* device, void* applet) {
    if (!remote()) return own::OHalConfigureFpga(device, applet);
    return remote()->call(EntryId::configureFpga, OrvoSimHalBoardGone,
                          &own::configureFpga)(device, remoteMaps().numberOf(applet));
}

const char* OHalGetBoardInfoString(void* device, const char* key) {
    if (!remote()) return own::OHalGetBoardInfoString(device, key);
    char text[4096] = "";
    const int result = ask(EntryId::boardText, &own::boardText)(device, key, text, sizeof text);
    return result == 0 ? kept(text) : nullptr;
}

const char* orvoSimConfigurationError() {
    return remote() ? nullptr : own::orvoSimConfigurationError();
}

const OrvoSimRegisterMap* orvoSimRegisterMap(unsigned number) {
    return remote() ? remoteMaps().map(number) : own::orvoSimRegisterMap(number);
}

/// All or none: a request has no room for more than a block.
int orvoSimPushWords(unsigned board, unsigned queue, const uint32_t* words, size_t count) {
    if (!remote()) return own::orvoSimPushWords(board, queue, words, count);
    if (count > maxBlockBytes / sizeof *words) return OrvoSimFull;
    return ask(EntryId::orvoSimPushWords, &own::orvoSimPushWords)(board, queue, words, count);
}

int orvoSimReadFault(unsigned number, OrvoSimFault* out) {
    if (!remote() || !out) return own::orvoSimReadFault(number, out);
    char texts[1024] = "";
    const int result = ask(EntryId::readFault, &own::readFault)(number, out, texts, sizeof texts);
    const std::string both = texts;
    const auto end = both.find('\n');
    if (result != 0 || end == std::string::npos) return result != 0 ? result : OrvoSimServerGone;
    out->kind = kept(both.substr(0, end));
    out->mustMove = kept(both.substr(end + 1));
    return 0;
}

int orvoSimSetWire(unsigned board, unsigned port, const char* wire, char* error, size_t errorBytes) {
    if (!remote()) return own::orvoSimSetWire(board, port, wire, error, errorBytes);
    const std::string absolute = wire ? absoluteWire(wire) : "";
    return ask(EntryId::orvoSimSetWire, &own::orvoSimSetWire)(board, port, wire ? absolute.c_str() : nullptr,
                                                              error, errorBytes);
}

int orvoSimLoadFaults(const char* file, uint64_t seed, char* error, size_t errorBytes) {
    if (!remote()) return own::orvoSimLoadFaults(file, seed, error, errorBytes);
    std::error_code failed; // of a working directory that is gone: then the name stays as it is
    const auto path = std::filesystem::absolute(file ? file : "", failed);
    return ask(EntryId::orvoSimLoadFaults, &own::orvoSimLoadFaults)(failed || !file ? file : path.c_str(),
                                                                    seed, error, errorBytes);
}
