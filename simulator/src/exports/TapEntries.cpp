// SPDX-License-Identifier: MIT
// C entries that listen at a port's cable. The reading end is the same for boards of this process and of a
// server; only who holds the writing end differs.
#include "exports/Choice.h"
#include "process/Process.h"
#include "wire/TapReader.h"

using namespace orvo::sim;

struct OrvoSimTap {
    explicit OrvoSimTap(std::unique_ptr<WireTap> ownTap) : own(std::move(ownTap)), reader(own->ring()) {}
    OrvoSimTap(Descriptor descriptor, PortPlace remotePlace)
        : place(remotePlace),
          shared(MappedMemory::of(std::move(descriptor), MappedMemory::Access::ReadWrite)),
          reader(*reinterpret_cast<TapRing*>(shared->data())) {}
    ~OrvoSimTap() {
        if (!own) remote()->closeTap(place);
    }
    OrvoSimTap(const OrvoSimTap&) = delete;
    OrvoSimTap& operator=(const OrvoSimTap&) = delete;

    const std::unique_ptr<WireTap> own; // null: a server's
    const PortPlace place;              // there
    std::optional<MappedMemory> shared;
    TapReader reader;
};

namespace {

int openOwn(PortPlace place, OrvoSimTap*& tap) {
    Port* const port = simulation().port(place);
    if (!port) return OrvoSimNoSuchPlace;
    if (port->tapPlace().isTapped()) return OrvoSimTapTaken; // by this program
    auto made = WireTap::at(port->tapPlace());
    if (!made) return OrvoSimTapTaken;
    tap = new OrvoSimTap(std::move(made));
    return 0;
}

int openShared(Remote& server, PortPlace place, OrvoSimTap*& tap) {
    std::vector<Descriptor> memory;
    if (const int refused = server.openTap(place, memory); refused != 0) return refused;
    try {
        tap = new OrvoSimTap(std::move(memory.front()), place);
    } catch (...) {
        server.closeTap(place);
        throw;
    }
    return 0;
}

} // namespace

int orvoSimOpenTap(unsigned board, unsigned port, OrvoSimTap** tap) {
    if (!tap) return OrvoSimBadValue;
    const PortPlace place{board, port};
    try {
        Remote* const server = remote();
        return server ? openShared(*server, place, *tap) : openOwn(place, *tap);
    } catch (const std::exception&) { // only memory can lack
        return OrvoSimNoMemory;
    }
}

int orvoSimReadTap(OrvoSimTap* tap, OrvoSimTapFrame* frame, void* bytes, size_t room, uint32_t timeoutMs) {
    if (!tap || !frame || (!bytes && room != 0)) return OrvoSimBadValue;
    const std::span<std::uint8_t> space(static_cast<std::uint8_t*>(bytes), room);
    if (tap->reader.take(*frame, space)) return 1;
    const auto isOver = [tap] { return !tap->own && remote()->findGone(); };
    if (tap->reader.await(std::chrono::milliseconds(timeoutMs), isOver))
        return tap->reader.take(*frame, space) ? 1 : 0;
    return isOver() ? static_cast<int>(OrvoSimServerGone) : 0;
}

int orvoSimReadTapMissed(OrvoSimTap* tap, uint64_t* received, uint64_t* sent) {
    if (!tap || !received || !sent) return OrvoSimBadValue;
    *received = tap->reader.missed(TapDirection::Received);
    *sent = tap->reader.missed(TapDirection::Sent);
    return 0;
}

int orvoSimCloseTap(OrvoSimTap* tap) {
    delete tap;
    return 0;
}
