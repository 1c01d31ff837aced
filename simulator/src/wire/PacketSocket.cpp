// SPDX-License-Identifier: MIT
// Packet sockets: the kernel puts arriving frames into the slots of a ring; sending is a plain write. Frames
// that the system joined, or left unfinished, become what a wire would carry.
#include "wire/PacketSocket.h"

#include <offload/FrameCut.h>
#include <offload/Protocols.h>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>

namespace orvo::sim {

using offload::OffloadHeader;
using offload::tagBytes;

namespace {

// One frame a slot, so that each can be read at once. Of a longer one the slot has the beginning, and the
// socket's queue the whole.
constexpr std::size_t slotBytes = 2048;
constexpr std::size_t blockBytes = 32 * slotBytes;
constexpr std::size_t largestRingBytes = std::size_t{16} << 20;
constexpr std::size_t smallestRingBytes = std::size_t{1} << 20;

constexpr int addressAt = TPACKET_ALIGN(int{sizeof(tpacket2_hdr)}); // in a slot
constexpr std::size_t addressesBytes = 12; // of destination and source, before a VLAN tag

bool setOption(int socket, int name, int value) noexcept {
    return setsockopt(socket, SOL_PACKET, name, &value, sizeof value) == 0;
}

Descriptor openSocket(const std::string& interface) {
    // Without a protocol, nothing arrives until the socket is attached.
    Descriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int error = errno;
    if (socket.get() >= 0) return socket;
    const std::string wire = "wire 'packet:" + interface + "' ";
    if (error != EPERM && error != EACCES)
        throw WireError(wire + "cannot be used: the system gives no packet socket: " + std::strerror(error));
    // Not by a file capability: programs with one ignore the library path beside them.
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    throw WireError(wire +
                    "needs the permission for raw sockets; run as root, or with that permission alone: sudo "
                    "setpriv --reuid=$USER --regid=$(id -g) --init-groups --inh-caps=+net_raw "
                    "--ambient-caps=+net_raw " +
                    (unknown ? "PROGRAM" : program.string()));
}

// NOLINTNEXTLINE(readability-non-const-parameter): the status is written through it
std::atomic_ref<std::uint32_t> statusOf(std::uint8_t* slot) noexcept {
    return std::atomic_ref(reinterpret_cast<tpacket2_hdr*>(slot)->tp_status);
}

/// Puts back the tag that the kernel removed: moves the addresses forward into the room in front of the
/// frame.
std::span<std::uint8_t> withTag(std::span<std::uint8_t> frame, const tpacket2_hdr& header) noexcept {
    std::uint8_t* const tagged = frame.data() - tagBytes;
    std::memmove(tagged, frame.data(), addressesBytes);
    const bool hasType = (header.tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
    const std::uint16_t tag[] = {htons(hasType ? header.tp_vlan_tpid : std::uint16_t{ETH_P_8021Q}),
                                 htons(header.tp_vlan_tci)};
    std::memcpy(tagged + addressesBytes, tag, sizeof tag);
    return {tagged, frame.size() + tagBytes};
}

/// At a gigabit a second.
std::chrono::nanoseconds timeOnCable(std::size_t bytes) noexcept {
    return std::chrono::nanoseconds{8} * bytes;
}

/// Room for long frames that wait in the socket's queue, beside the ring. Without the right to exceed the
/// system's limit it is that.
void askForRoom(int socket) noexcept {
    constexpr int bytes = 16 << 20;
    if (setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) != 0)
        setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

} // namespace

void UnmapRing::operator()(std::uint8_t* ring) const noexcept {
    munmap(ring, bytes);
}

PacketSocket::PacketSocket(const std::string& interface)
    : FrameDevice(interface), socket_(openSocket(interface)) {
    setOption(socket_.get(), PACKET_IGNORE_OUTGOING, 1); // where the kernel cannot, handOn skips them
    askForRoom(socket_.get());
    bool fits = setOption(socket_.get(), PACKET_VERSION, TPACKET_V2) &&
                setOption(socket_.get(), PACKET_VNET_HDR, 1) &&          // shows what is unfinished
                setOption(socket_.get(), PACKET_COPY_THRESH, slotBytes); // long frames into the queue
    std::size_t bytes = largestRingBytes;
    while (fits && !shareRing(bytes)) fits = (bytes /= 2) >= smallestRingBytes;
    if (!fits)
        throw WireError("wire 'packet:" + interface +
                        "' cannot be used: the system gives no receive buffer: " + std::strerror(errno));
}

bool PacketSocket::shareRing(std::size_t bytes) noexcept {
    tpacket_req request{};
    request.tp_block_size = blockBytes;
    request.tp_block_nr = static_cast<unsigned>(bytes / blockBytes);
    request.tp_frame_size = slotBytes;
    request.tp_frame_nr = static_cast<unsigned>(bytes / slotBytes);
    if (setsockopt(socket_.get(), SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0) return false;
    void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, socket_.get(), 0);
    if (memory == MAP_FAILED) return false;
    ring_ = {static_cast<std::uint8_t*>(memory), UnmapRing{bytes}};
    slots_ = bytes / slotBytes;
    return true;
}

int PacketSocket::attach(int index) noexcept {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = index;
    packet_mreq everything{};
    everything.mr_ifindex = index;
    everything.mr_type = PACKET_MR_PROMISC;
    if (bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        setsockopt(socket_.get(), SOL_PACKET, PACKET_ADD_MEMBERSHIP, &everything, sizeof everything) != 0)
        return errno;
    return 0;
}

void PacketSocket::clearError() noexcept {
    int error = 0;
    socklen_t bytes = sizeof error;
    getsockopt(socket_.get(), SOL_SOCKET, SO_ERROR, &error, &bytes); // reading clears it
}

void PacketSocket::receive(FrameSink& port) noexcept {
    const Turn turn;
    std::size_t taken = 0;
    while (taken < slots_ && !turn.isOver() && takeSlot(port)) ++taken;
    // A frame after a loss says so. If none came since, the ring was full, so that this call took all slots
    // or stopped before.
    if (isLosing_ || taken == slots_ || turn.isOver()) countLost(port);
}

bool PacketSocket::takeSlot(FrameSink& port) noexcept {
    std::uint8_t* const slot = ring_.get() + next_ * slotBytes;
    const auto status = statusOf(slot).load(std::memory_order_acquire);
    if ((status & TP_STATUS_USER) == 0) return false;
    isLosing_ = isLosing_ || (status & TP_STATUS_LOSING) != 0;
    handOn(slot, port);
    statusOf(slot).store(TP_STATUS_KERNEL, std::memory_order_release);
    next_ = next_ + 1 < slots_ ? next_ + 1 : 0;
    return true;
}

void PacketSocket::handOn(std::uint8_t* slot, FrameSink& port) noexcept {
    const auto& header = *reinterpret_cast<const tpacket2_hdr*>(slot);
    const auto& address = *reinterpret_cast<const sockaddr_ll*>(slot + addressAt);
    std::span<std::uint8_t> frame(slot + header.tp_mac, header.tp_snaplen);
    OffloadHeader offload;
    std::memcpy(&offload, frame.data() - sizeof offload, sizeof offload);
    const bool isInQueue = (header.tp_status & TP_STATUS_COPY) != 0;
    if (isInQueue)
        frame = takeLong(offload); // also one that is left out below: the queue keeps the slots' order
    if (address.sll_pkttype == PACKET_OUTGOING) return;
    if (offload.isJoined() && !isInQueue && header.tp_snaplen < header.tp_len)
        return port.countLost(offload::framesInside(offload, frame, header.tp_len));
    if (!offload.isJoined() && header.tp_len > maxFrameBytes) return refuseGiant(port, frame);
    if ((header.tp_status & TP_STATUS_VLAN_VALID) != 0) {
        frame = withTag(frame, header);
        offload.checksumStart = static_cast<std::uint16_t>(offload.checksumStart + tagBytes);
    }
    deliver(offload, frame, port);
}

/// The whole of the frame whose beginning is in the slot, with room for a tag in front.
std::span<std::uint8_t> PacketSocket::takeLong(OffloadHeader& offload) noexcept {
    const auto room = std::span(long_).subspan(tagBytes);
    iovec parts[] = {{&offload, sizeof offload}, {room.data(), room.size()}};
    ssize_t bytes = readv(socket_.get(), parts, 2);
    if (bytes < 0) bytes = readv(socket_.get(), parts, 2); // the first reported that the interface went down
    return room.first(static_cast<std::size_t>(std::max<ssize_t>(bytes - ssize_t{sizeof offload}, 0)));
}

/// A cable would bring the frames of a joined one after each other, and here they are all at once: gives the
/// port the time that they would have taken, uses up `patience`.
void PacketSocket::awaitRoom(const FrameSink& port, std::chrono::nanoseconds& patience) noexcept {
    constexpr std::chrono::microseconds step{20};
    for (; patience.count() > 0 && !port.hasRoom(); patience -= step) std::this_thread::sleep_for(step);
}

void PacketSocket::deliver(const OffloadHeader& offload, std::span<std::uint8_t> frame,
                           FrameSink& port) noexcept {
    offload::FrameCut cut(offload, frame);
    if (const auto reason = cut.refusal()) return refuseJoined(port, frame, *reason);
    auto patience = offload.isJoined() ? timeOnCable(frame.size()) : std::chrono::nanoseconds::zero();
    for (auto content = cut.next(); !content.empty(); content = cut.next()) {
        awaitRoom(port, patience);
        if (content.size() > maxFrameBytes)
            refuseGiant(port, content);
        else
            port.deliverUnsealed(content);
    }
}

void PacketSocket::countLost(FrameSink& port) noexcept {
    isLosing_ = false;
    tpacket_stats counts{};
    socklen_t bytes = sizeof counts;
    if (getsockopt(socket_.get(), SOL_PACKET, PACKET_STATISTICS, &counts, &bytes) == 0 &&
        counts.tp_drops != 0)
        port.countLost(counts.tp_drops); // reading sets the kernel's count to 0
}

int PacketSocket::send(const OffloadHeader& offload, WireBytes frame) noexcept {
    iovec parts[] = {{const_cast<OffloadHeader*>(&offload), sizeof offload},
                     {const_cast<std::uint8_t*>(frame.data()), frame.size()}};
    return writev(socket_.get(), parts, 2) >= 0 ? 0 : errno;
}

} // namespace orvo::sim
