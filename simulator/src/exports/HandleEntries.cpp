// SPDX-License-Identifier: MIT
// C entries that open and close devices. Handles of a server's boards are noted here too, without a board.
#include "board/DeviceHandles.h"
#include "entries/OwnEntries.h"
#include "exports/Choice.h"

#include <new>

using namespace orvo::sim;

namespace {

void* noted(void* device) {
    const auto handle = reinterpret_cast<HandleBits>(device);
    if (!device) return nullptr;
    placeOf(handle).noted.store(~handle, std::memory_order_release);
    remote()->noteOpened(device);
    return device;
}

int closed(void* device, int result) {
    const auto handle = reinterpret_cast<HandleBits>(device);
    if (result == 0) placeOf(handle).noted.store(handle, std::memory_order_release);
    return result;
}

} // namespace

// The first call makes the boards; without memory for them, there is none, and the next call tries again.
void* OHalInitDevice(int board) try {
    if (!remote()) return own::OHalInitDevice(board);
    return noted(remote()->call(EntryId::OHalInitDevice, nullptr, &own::OHalInitDevice)(board));
} catch (const std::bad_alloc&) {
    return nullptr;
}

void* OHalGetDevice(int index) try {
    if (!remote()) return own::OHalGetDevice(index);
    return noted(remote()->call(EntryId::OHalGetDevice, nullptr, &own::OHalGetDevice)(index));
} catch (const std::bad_alloc&) {
    return nullptr;
}

int OHalFreeDevice(void* device) {
    if (!remote()) return own::OHalFreeDevice(device);
    return closed(device,
                  remote()->call(EntryId::OHalFreeDevice, OrvoSimHalBoardGone, &own::OHalFreeDevice)(device));
}

int OHalPutDevice(void* device) {
    if (!remote()) return own::OHalPutDevice(device);
    return closed(device,
                  remote()->call(EntryId::OHalPutDevice, OrvoSimHalBoardGone, &own::OHalPutDevice)(device));
}
