// SPDX-License-Identifier: MIT
// A TAP: a network interface of Linux whose other end is this program.
#pragma once

#include <offload/OffloadHeader.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvo::host {

/// The file of the kernel's TAP driver.
inline constexpr const char* tapDriverFile = "/dev/net/tun";

/// The command that makes the driver's file usable, after opening it failed with this errno value.
std::string tapDriverMend(const std::string& file, int error);

/// Why the host did not take a frame: no room in its queue, the link down, the interface gone, or another
/// reason of the kernel's.
enum class TapDrop { Full, Down, Gone, Refused };
inline constexpr std::size_t tapDropCount = 4;

/// Attaches to an existing TAP, or makes one that is removed with this object. One thread reads and attaches
/// again when the interface was deleted; another one may write at the same time.
class TapDevice {
public:
    /// With `offload`, the host leaves checksums and the cutting of its segments to the reader.
    /// Errors: UsageFailure for a name that no interface can have; Failure when the TAP cannot be made or
    /// used.
    TapDevice(const std::string& name, bool offload);
    ~TapDevice();
    TapDevice(const TapDevice&) = delete;
    TapDevice& operator=(const TapDevice&) = delete;

    const std::string& name() const noexcept { return name_; }

    /// To poll: readable when there is a frame to `read`, in error when the interface is gone.
    int descriptor() const noexcept { return descriptor_; }

    /// Reads the next frame that the host sends, and what is left to do on it. Returns its length, 0 when
    /// there is none now, -1 when the interface is gone. Does not wait.
    std::ptrdiff_t read(offload::OffloadHeader& header, std::span<std::uint8_t> room) const noexcept;

    /// Gives the host a frame, and what is left to do on it; returns why it did not take it. Does not wait.
    std::optional<TapDrop> write(const offload::OffloadHeader& header,
                                 std::span<const std::uint8_t> frame) const noexcept;

    /// After the interface went: attaches to a new one of the same name. False while there is none.
    bool takeAgain() noexcept;

private:
    const std::string name_;
    const bool offload_;
    int descriptor_;
};

} // namespace orvo::host
