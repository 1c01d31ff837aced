// SPDX-License-Identifier: MIT
// Dealings with /dev/net/tun.
#include "frames/TapDevice.h"

#include "base/Failure.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

namespace orvo::host {
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

// Without offloads, the kernel hands out whole frames of the wire's size, checksums and all.
bool attach(int descriptor, const std::string& name) noexcept {
    ifreq request = {};
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    std::memcpy(request.ifr_name, name.data(), std::min(name.size(), maxNameLength));
    return ioctl(descriptor, TUNSETIFF, &request) == 0;
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
    throw Failure("cannot have " + tap + ": " + systemError(reason) + "; name another with --tap");
}

int openTap(const std::string& name) {
    checkName(name);
    const int descriptor = openDeviceFile();
    const bool existed = exists(name);
    if (attach(descriptor, name)) return descriptor;
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

TapDevice::TapDevice(const std::string& name) : name_(name), descriptor_(openTap(name)) {}

TapDevice::~TapDevice() {
    close(descriptor_);
}

std::ptrdiff_t TapDevice::read(void* frame, std::size_t room) const noexcept {
    const auto bytes = ::read(descriptor_, frame, room);
    if (bytes >= 0) return bytes;
    return errno == EAGAIN || errno == EINTR ? 0 : -1;
}

TapDevice::Written TapDevice::write(const void* frame, std::size_t bytes) const noexcept {
    ssize_t written = 0;
    do written = ::write(descriptor_, frame, bytes);
    while (written < 0 && errno == EINTR);
    if (written >= 0) return Written::Done;
    switch (errno) {
    case EAGAIN:
    case ENOBUFS:
    case ENOMEM:
        return Written::Full;
    case EIO:
        return Written::Down;
    case EBADFD:
        return Written::Gone;
    default:
        return Written::Refused;
    }
}

// The descriptor keeps its number, so that the writing thread needs to know nothing.
bool TapDevice::takeAgain() noexcept {
    if (!exists(name_)) return false;
    const int fresh = open(deviceFile, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fresh < 0) return false;
    const bool taken = attach(fresh, name_) && dup3(fresh, descriptor_, O_CLOEXEC) >= 0;
    close(fresh);
    return taken;
}

} // namespace orvo::host
