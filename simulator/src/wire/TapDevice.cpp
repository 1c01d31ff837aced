// SPDX-License-Identifier: MIT
// TAP interfaces, by the tun driver.
#include "wire/TapDevice.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

namespace orvo::sim {

namespace {

// Frames to deliver before the wire looks at other events: some milliseconds' worth.
constexpr int framesInARow = 4096;

[[noreturn]] void refuse(const std::string& name, const std::string& reason) {
    throw WireError("wire 'tap:" + name + "' cannot be used: " + reason);
}

Descriptor openDriver(const std::string& name) {
    Descriptor device(open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const int error = errno;
    if (device.get() >= 0) return device;
    const std::string reason = std::string("/dev/net/tun: ") + std::strerror(error);
    if (error == EACCES || error == EPERM)
        refuse(name, reason + "; grant it by: sudo chmod a+rw /dev/net/tun");
    if (error == ENOENT || error == ENODEV || error == ENXIO)
        refuse(name, reason + "; load the driver by: sudo modprobe tun");
    refuse(name, reason);
}

std::string reasonOf(int error, const std::string& name) {
    const std::string add = "sudo ip tuntap add " + name + " mode tap user $USER";
    switch (error) {
    case EBUSY:
        return "another program uses this TAP; end that program, or name another TAP";
    case EINVAL:
        return "the name is taken by an interface that is not a TAP, or a TAP with several queues; name "
               "another";
    case EPERM:
        if (if_nametoindex(name.c_str()) == 0) return "no permission to make it; have it made by: " + add;
        return "the TAP belongs to another user; have it made again by: sudo ip tuntap del " + name +
               " mode tap && " + add;
    default:
        return std::strerror(error);
    }
}

} // namespace

TapDevice::TapDevice(const std::string& interface) : FrameDevice(interface), device_(openDriver(interface)) {
    if (const int error = join(); error != 0) refuse(interface, reasonOf(error, interface));
}

int TapDevice::join() noexcept {
    ifreq request{};
    interface().copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (ioctl(device_.get(), TUNSETIFF, &request) != 0) return errno;
    // Without offloads the kernel finishes checksums and cuts segments; an earlier user may have set them.
    ioctl(device_.get(), TUNSETOFFLOAD, 0);
    return 0;
}

int TapDevice::attach(int) noexcept {
    const int error = join();
    return error == EEXIST ? 0 : error; // attached already
}

void TapDevice::receive(FrameSink& port) noexcept {
    const Turn turn;
    for (int i = 0; i < framesInARow && !turn.isOver(); ++i) {
        const ssize_t bytes = read(device_.get(), buffer_.data(), buffer_.size());
        if (bytes <= 0) return; // nothing more, or the TAP is gone
        const auto frameBytes = static_cast<std::size_t>(bytes);
        if (frameBytes > maxFrameBytes)
            refuseGiant(port, WireBytes(buffer_).first(frameBytes));
        else
            port.deliverUnsealed(WireBytes(buffer_).first(frameBytes));
    }
}

int TapDevice::send(const offload::OffloadHeader&, WireBytes frame) noexcept {
    return write(device_.get(), frame.data(), frame.size()) >= 0 ? 0 : errno;
}

} // namespace orvo::sim
