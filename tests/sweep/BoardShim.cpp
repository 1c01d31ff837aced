// SPDX-License-Identifier: MIT
// The shim's functions, one for each row of the entry tables.
#include "sweep/BoardShim.h"

#include "sweep/Allocations.h"
#include "sweep/VirtualTime.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

#include <dlfcn.h>

#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <tuple>
#include <type_traits>
#include <utility>

namespace orvo::test {
namespace {

constexpr int failure = -5; // an error code that means nothing in particular

enum Entry : std::size_t {
#define ENTRY(Result, name, unbound, parameters, arguments) Entry_##name,
#include "hal/OrvoHalEntries.def"
#define ENTRY(Result, name, unbound, parameters, arguments) Entry_##name,
#include "hal/KivRuntimeEntries.def"
    entryCount
};

constexpr std::array<const char*, entryCount> entryNames = {
#define ENTRY(Result, name, unbound, parameters, arguments) #name,
#include "hal/OrvoHalEntries.def"
#define ENTRY(Result, name, unbound, parameters, arguments) #name,
#include "hal/KivRuntimeEntries.def"
};

std::mutex stateLock; // of all that follows; held for the moment of counting, never inside the libraries
CallFault armed;
std::size_t failingEntry = entryCount; // the one that the nth call was for, from then on
std::vector<std::size_t> hostCalls;
std::uint64_t otherCalls = 0, otherQueueReads = 0;
std::multiset<void*> devices, visitors, applets;
std::vector<std::string> misuses;

/// Counts a call; whether it goes wrong.
bool goesWrong(Entry entry) {
    const bool isHost = isHostThread();
    const std::lock_guard guard(stateLock);
    if (isHost)
        hostCalls.push_back(entry);
    else
        ++otherCalls;
    if (!isHost && entry == Entry_OHalDataQueueReadBufferLong) ++otherQueueReads;
    const auto number = isHost ? hostCalls.size() : otherCalls;
    if (armed.nth == 0 || isHost != armed.ofHost || number < armed.nth) return false;
    if (number == armed.nth) failingEntry = entry;
    switch (armed.extent) {
    case CallFault::Extent::Once:
        return number == armed.nth;
    case CallFault::Extent::ThatEntryFromThenOn:
        return entry == failingEntry;
    case CallFault::Extent::EverythingFromThenOn:
        return true;
    }
    return false;
}

void noteMisuse(Entry entry, const char* what) {
    const std::lock_guard guard(stateLock);
    misuses.push_back(std::string(nameOfEntry(entry)) + " " + what);
}

void take(std::multiset<void*>& held, void* handle) {
    if (!handle) return;
    const std::lock_guard guard(stateLock);
    held.insert(handle);
}

void giveBack(Entry entry, std::multiset<void*>& held, void* handle) {
    {
        const std::lock_guard guard(stateLock);
        const auto found = held.find(handle);
        if (found != held.end()) {
            held.erase(found);
            return;
        }
    }
    noteMisuse(entry, "releases a handle that is not held");
}

/// What the entry does on the books, whether or not it goes wrong.
template <Entry entry, class Result> void keepBooks(Result result, void* handle) {
    if constexpr (entry == Entry_OHalInitDevice) take(devices, result);
    if constexpr (entry == Entry_OHalGetDevice) take(visitors, result);
    if constexpr (entry == Entry_KivFirmwareTrampoline) take(applets, result);
    if constexpr (entry == Entry_OHalFreeDevice) giveBack(entry, devices, handle);
    if constexpr (entry == Entry_OHalPutDevice) giveBack(entry, visitors, handle);
    if constexpr (entry == Entry_KivUnloadKivFile) giveBack(entry, applets, handle);
}

/// A release that fails has released all the same: there is nothing that its caller could do.
constexpr bool isRelease(Entry entry) {
    return entry == Entry_OHalFreeDevice || entry == Entry_OHalPutDevice || entry == Entry_KivUnloadKivFile;
}

std::vector<std::string> badResults(Entry entry) {
    switch (entry) {
    case Entry_OHalRegisterRead:
        return {"fails", "reads all ones", "reads 1", "reads 0"};
    case Entry_OHalDataQueueReadBufferLong:
        return {"times out",           "fails",
                "delivers nothing",    "delivers half a word",
                "claims 4 bytes more", "claims 4 bytes less"};
    case Entry_OHalGetBoardInfoInt:
    case Entry_OHalGetDeviceCount:
        return {"fails", "gives 0", "gives 2147483647"};
    case Entry_OHalGetBoardInfoString:
        return {"gives null", "gives an empty text"};
    case Entry_KivGetRegisterByName:
        return {"gives 0"};
    default:
        return {"fails"};
    }
}

int badRead(std::size_t which, std::uint64_t* value) {
    constexpr std::uint64_t values[] = {~std::uint64_t{0}, 1, 0};
    if (which == 0) return failure;
    *value = values[(which - 1) % std::size(values)];
    return 0;
}

template <class Act> int badDelivery(std::size_t which, Act act) {
    constexpr int results[] = {HalTimeout, failure, 0, 2};
    if (which < std::size(results)) return results[which];
    const int delivered = act();
    if (delivered <= 0) return delivered;
    return which == std::size(results) ? delivered + 4 : delivered - 4;
}

template <Entry entry, class Result, class Act, class... Arguments>
Result badAnswer(std::size_t which, Act act, [[maybe_unused]] const std::tuple<Arguments...>& arguments) {
    if constexpr (std::is_void_v<Result>)
        return;
    else if constexpr (entry == Entry_OHalRegisterRead)
        return badRead(which, std::get<2>(arguments));
    else if constexpr (entry == Entry_OHalDataQueueReadBufferLong)
        return badDelivery(which, act);
    else if constexpr (entry == Entry_OHalGetBoardInfoInt || entry == Entry_OHalGetDeviceCount)
        return which == 0 ? failure : which == 1 ? 0 : 2147483647;
    else if constexpr (entry == Entry_OHalGetBoardInfoString)
        return which == 0 ? nullptr : "";
    else if constexpr (entry == Entry_KivGetRegisterByName)
        return 0;
    else if constexpr (isRelease(entry))
        return act(), failure;
    else if constexpr (std::is_same_v<Result, int>)
        return failure;
    else
        return Result{};
}

template <class...> constexpr bool takesHandle = false;
template <class... Others> constexpr bool takesHandle<void*, Others...> = true;

template <Entry entry, class Result, class Act, class... Arguments>
Result shimmed(Act act, const std::tuple<Arguments...>& arguments) {
    const BoardScope scope;
    void* handle = nullptr;
    if constexpr (takesHandle<Arguments...>) {
        handle = std::get<0>(arguments);
        // The statistics ask for lost words of a device that was never opened, too.
        if (!handle && entry != Entry_OHalDataQueueGetNrOfLostWords)
            noteMisuse(entry, "is called without a handle");
    }
    const bool wrong = goesWrong(entry);
    if constexpr (std::is_void_v<Result>) {
        if (!wrong) act();
    } else {
        const Result result =
            wrong ? badAnswer<entry, Result>(armed.badResult % badResults(entry).size(), act, arguments)
                  : act();
        keepBooks<entry>(result, handle);
        return result;
    }
}

#define SHIM(Result, name, unbound, parameters, arguments)                                                   \
    decltype(&::name) original_##name = nullptr;                                                             \
    Result shim_##name parameters {                                                                          \
        return shimmed<Entry_##name, Result>([&] { return original_##name arguments; },                      \
                                             std::make_tuple arguments);                                     \
    }
#define ENTRY SHIM
#include "hal/OrvoHalEntries.def"
#define ENTRY SHIM
#include "hal/KivRuntimeEntries.def"

decltype(&::OHalDataQueueReadBufferLong) readQueue = nullptr;

/// A leecher's wait for its queue takes real time, and none of the board's.
int readQueueInItsTime(void* device, std::uint32_t queue, void* buffer, std::uint64_t bytes,
                       std::uint32_t timeoutMs) {
    if (!isHostThread()) nap();
    return readQueue(device, queue, buffer, bytes, isHostThread() ? timeoutMs : 0);
}

template <class T> T* symbol(void* library, const char* name) {
    void* const address = dlsym(library, name);
    if (!address) throw std::runtime_error(dlerror());
    return reinterpret_cast<T*>(address);
}

} // namespace

void installBoardShim(const std::string& pluginPath) {
    void* const plugin = dlopen(pluginPath.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (!plugin) throw std::runtime_error(dlerror());
    for (const char* binder : {"OHA_OpenLib", "KIVRT_OpenLib"})
        if (symbol<int()>(plugin, binder)() != 0) throw std::runtime_error(std::string(binder) + " failed");
    // An entry that the library lacks stays unbound.
    const auto exchange = [&](auto& original, auto shim, const char* variable) {
        auto& bound = *symbol<std::atomic<decltype(shim)>>(plugin, variable);
        original = bound;
        if (original) bound = shim;
    };
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    exchange(original_##name, &shim_##name, "m_P" #name);
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments)                                          \
    exchange(original_##name, &shim_##name, "m_p" #name);
#include "hal/OrvoHalEntries.def"
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    exchange(original_##name, &shim_##name, "m_P" #name);
#include "hal/KivRuntimeEntries.def"
    readQueue = std::exchange(original_OHalDataQueueReadBufferLong, &readQueueInItsTime);
    dlclose(plugin);
}

std::vector<std::string> badResultsOf(std::size_t entry) {
    return badResults(static_cast<Entry>(entry));
}

const char* nameOfEntry(std::size_t entry) {
    return entryNames[entry];
}

void armCallFault(const CallFault& fault) {
    const std::lock_guard guard(stateLock);
    armed = fault;
    failingEntry = entryCount;
    hostCalls.clear();
    otherCalls = otherQueueReads = 0;
}

std::vector<std::size_t> callsOfHost() {
    const std::lock_guard guard(stateLock);
    return hostCalls;
}

std::uint64_t callsOfOthers() {
    const std::lock_guard guard(stateLock);
    return otherCalls;
}

std::uint64_t queueReadsOfOthers() {
    const std::lock_guard guard(stateLock);
    return otherQueueReads;
}

OpenHandles openHandles() {
    const std::lock_guard guard(stateLock);
    return {devices.size(), visitors.size(), applets.size()};
}

std::vector<std::string> takeMisuses() {
    const std::lock_guard guard(stateLock);
    return std::exchange(misuses, {});
}

} // namespace orvo::test
