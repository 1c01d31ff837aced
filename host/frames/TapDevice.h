// SPDX-License-Identifier: MIT
// A TAP: a network interface of Linux whose cable ends in this program.
#pragma once

#include <cstddef>
#include <string>

namespace orvo::host {

/// The kernel's driver of TAPs.
inline constexpr const char* tapDriverFile = "/dev/net/tun";

/// The command that makes the driver's file usable, after opening it failed with this errno value.
std::string tapDriverMend(const std::string& file, int error);

/// Takes the TAP of a name, or makes one that goes again with this object. One thread reads (and takes the
/// interface again, should it go); another one may write at the same time.
class TapDevice {
public:
    /// Errors: UsageFailure for what no interface can be called; Failure, with the way out, when the TAP
    /// cannot be had.
    explicit TapDevice(const std::string& name);
    ~TapDevice();
    TapDevice(const TapDevice&) = delete;
    TapDevice& operator=(const TapDevice&) = delete;

    const std::string& name() const noexcept { return name_; }

    /// Readable, as poll sees it, when there is a frame to `read`; in error when the interface is gone.
    int descriptor() const noexcept { return descriptor_; }

    /// The next frame that the host sends: its length, 0 when there is none now, -1 when the interface is
    /// gone. Does not wait.
    std::ptrdiff_t read(void* frame, std::size_t room) const noexcept;

    enum class Written { Done, Full, Down, Gone, Refused };
    /// Gives the host a frame. Does not wait.
    Written write(const void* frame, std::size_t bytes) const noexcept;

    /// After the interface went: takes a ready-made one of its name. False while there is none to be had.
    bool takeAgain() noexcept;

private:
    const std::string name_;
    int descriptor_;
};

} // namespace orvo::host
