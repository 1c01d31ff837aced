// SPDX-License-Identifier: MIT
#include "frames/TapDevice.h"

#include "base/Failure.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

namespace orvo::host {

using offload::OffloadHeader;

namespace {

constexpr auto deviceFile = tapDriverFile;
constexpr std::size_t maxNameLength = IFNAMSIZ - 1;

void checkName(const std::string& name) {
    const auto isBad = [](unsigned char c) { return c == '/' || c == ':' || c == '%' || std::isspace(c); };
    if (name.size() > maxNameLength)
        throw UsageFailure("TAP name " + quoted(name) + " has " + std::to_string(name.size()) +
                           " characters; an interface's name has at most " + std::to_string(maxNameLength));
    if (name.empty() || name == "." || name == ".." || std::any_of(name.begin(), name.end(), isBad))
        throw UsageFailure("an interface cannot be called " + quoted(name) +
                           "; name the TAP with letters and digits, such as orvo0");
}

bool exists(const std::string& name) {
    return if_nametoindex(name.c_str()) != 0;
}

int openDeviceFile() {
    const int descriptor = open(deviceFile, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor >= 0) return descriptor;
    const int reason = errno;
    throw Failure("cannot open " + quoted(deviceFile) + ": " + systemError(reason) +
                  "; make it usable with '" + tapDriverMend(deviceFile, reason) + "'");
}

// Without offloads, the kernel delivers frames as on a wire: segmented, and with checksums. A TAP keeps what
// an earlier user has set, so both cases are set.
void setOffload(int descriptor, bool on) noexcept {
    constexpr unsigned segmentsOfUdp = 0x60; // TUN_F_USO4 and TUN_F_USO6, since Linux 6.2
    constexpr unsigned segmentsOfTcp = TUN_F_CSUM | TUN_F_TSO4 | TUN_F_TSO6 | TUN_F_TSO_ECN;
    if (on && ioctl(descriptor, TUNSETOFFLOAD, segmentsOfTcp | segmentsOfUdp) == 0) return;
    ioctl(descriptor, TUNSETOFFLOAD, on ? segmentsOfTcp : 0U);
}

bool attach(int descriptor, const std::string& name, bool offload) noexcept {
    ifreq request = {};
    request.ifr_flags = IFF_TAP | IFF_NO_PI | IFF_VNET_HDR;
    std::memcpy(request.ifr_name, name.data(), std::min(name.size(), maxNameLength));
    if (ioctl(descriptor, TUNSETIFF, &request) != 0) return false;
    int headerBytes = sizeof(OffloadHeader);
    ioctl(descriptor, TUNSETVNETHDRSZ, &headerBytes);
    setOffload(descriptor, offload);
    return true;
}

[[noreturn]] void failToAttach(const std::string& name, bool existed, int reason) {
    const auto tap = "TAP " + quoted(name);
    if (reason == EBUSY)
        throw Failure(tap + " is in use by another program; end that one or name another TAP with --tap");
    if (reason == EINVAL && existed)
        throw Failure(quoted(name) + " is an interface of another kind, no TAP with one queue; name another "
                                     "with --tap, or none that exists");
    if (reason == EPERM && existed)
        throw Failure(tap + " belongs to another user; have it made yours with 'sudo ip tuntap del " + name +
                      " mode tap && sudo ip tuntap add " + name + " mode tap user $USER'");
    if (reason == EPERM)
        throw Failure("no permission to make " + tap + "; have it made once with 'sudo ip tuntap add " +
                      name + " mode tap user $USER'");
    throw Failure("cannot make " + tap + ": " + systemError(reason) + "; name another with --tap");
}

int openTap(const std::string& name, bool offload) {
    checkName(name);
    const int descriptor = openDeviceFile();
    const bool existed = exists(name);
    if (attach(descriptor, name, offload)) return descriptor;
    const int reason = errno;
    close(descriptor);
    failToAttach(name, existed, reason);
}

} // namespace

std::string tapDriverMend(const std::string& file, int error) {
    auto allow = "sudo chmod a+rw " + file;
    if (error != ENOENT && error != ENODEV && error != ENXIO) return allow;
    const bool isLoaded = access("/sys/class/misc/tun", F_OK) == 0;
    if (!isLoaded || error != ENOENT) return "sudo modprobe tun";
    return "sudo mkdir -p " + file.substr(0, file.rfind('/')) + " && sudo mknod " + file + " c 10 200 && " +
           allow;
}

TapDevice::TapDevice(const std::string& name, bool offload)
    : name_(name), offload_(offload), descriptor_(openTap(name, offload)) {}

TapDevice::~TapDevice() {
    close(descriptor_);
}

std::ptrdiff_t TapDevice::read(OffloadHeader& header, std::span<std::uint8_t> room) const noexcept {
    const iovec parts[] = {{&header, sizeof header}, {room.data(), room.size()}};
    const auto bytes = readv(descriptor_, parts, 2);
    if (bytes >= 0) return std::max<std::ptrdiff_t>(bytes - std::ptrdiff_t{sizeof header}, 0);
    return errno == EAGAIN || errno == EINTR ? 0 : -1;
}

std::optional<TapDrop> TapDevice::write(const OffloadHeader& header,
                                        std::span<const std::uint8_t> frame) const noexcept {
    const iovec parts[] = {{const_cast<OffloadHeader*>(&header), sizeof header},
                           {const_cast<std::uint8_t*>(frame.data()), frame.size()}};
    ssize_t written = 0;
    do written = writev(descriptor_, parts, 2);
    while (written < 0 && errno == EINTR);
    if (written >= 0) return std::nullopt;
    switch (errno) {
    case EAGAIN:
    case ENOBUFS:
    case ENOMEM:
        return TapDrop::Full;
    case EIO:
        return TapDrop::Down;
    case EBADFD:
        return TapDrop::Gone;
    default:
        return TapDrop::Refused;
    }
}

// The descriptor keeps its number, so that the writing thread can go on using it.
bool TapDevice::takeAgain() noexcept {
    if (!exists(name_)) return false;
    const int fresh = open(deviceFile, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fresh < 0) return false;
    const bool taken = attach(fresh, name_, offload_) && dup3(fresh, descriptor_, O_CLOEXEC) >= 0;
    close(fresh);
    return taken;
}

} // namespace orvo::host
