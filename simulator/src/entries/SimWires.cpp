// SPDX-License-Identifier: MIT
// Control entries: cables, frames from the far end, and the far end's PHY.
#include "base/Text.h"
#include "board/Cabling.h"
#include "entries/OwnEntries.h"
#include "process/Process.h"

#include <array>
#include <cstring>

namespace orvo::sim::own {

int orvoSimSetWire(unsigned board, unsigned port, const char* wire, char* error, size_t errorBytes) {
    const PortPlace place{board, port};
    const bool isThere = simulation().port(place) != nullptr;
    try {
        if (!wire) throw WireError("no wire given; use loopback, for one");
        simulation().plug(place, parseWire(wire), simClock.now());
        return 0;
    } catch (const WireError& reason) {
        copyText(reason.what(), error, errorBytes);
        return isThere ? OrvoSimBadValue : OrvoSimNoSuchPlace;
    }
}

int orvoSimGetWire(unsigned board, unsigned port, char* text, size_t textBytes) {
    return atPort(board, port, [=](Port& found) -> int {
        if (!text || textBytes == 0) return OrvoSimBadValue;
        const std::lock_guard lock(benchMutex);
        copyText(found.cabling().spec.text(), text, textBytes);
        return 0;
    });
}

int orvoSimFlushWires() {
    const std::lock_guard lock(benchMutex);
    bool complete = true;
    for (const auto& board : simulation().boards())
        for (Port& port : board->ports()) complete = port.flushWire() && complete;
    return complete ? 0 : OrvoSimNotWritten;
}

int orvoSimInjectFrame(unsigned board, unsigned port, const void* frame, size_t bytes,
                       uint32_t fcsErrorMask) {
    return atPort(board, port, [=](Port& found) -> int {
        if (!frame || bytes == 0 || bytes > maxFrameBytes) return OrvoSimBadValue;
        std::array<std::uint8_t, maxWireBytes> buffer;
        std::memcpy(buffer.data(), frame, bytes);
        const std::size_t wireBytes = sealFrame(buffer.data(), bytes, fcsErrorMask);
        const OrvoSimFate fate = found.sink().deliver(WireBytes(buffer).first(wireBytes));
        return fate == OrvoSimQueueFull ? OrvoSimFull : 0; // the port counts all others
    });
}

int orvoSimSetPlugged(unsigned board, unsigned port, int plugged) {
    return atPort(board, port, [=](Port& found) {
        const std::lock_guard lock(benchMutex);
        return setPlugged(found, plugged != 0, simClock.now()), 0;
    });
}

int orvoSimIsPlugged(unsigned board, unsigned port) {
    return atPort(board, port, [](Port& found) -> int {
        const std::lock_guard lock(benchMutex);
        return found.cabling().isPlugged ? 1 : 0;
    });
}

int orvoSimSetPartner(unsigned board, unsigned port, enum OrvoSimPartner partner) {
    return atPort(board, port, [=](Port& found) -> int {
        if (partner < OrvoSimPartner1000 || partner > OrvoSimPartnerDown) return OrvoSimBadValue;
        const std::lock_guard lock(benchMutex);
        setPartner(found, partner, simClock.now());
        return 0;
    });
}

} // namespace orvo::sim::own
