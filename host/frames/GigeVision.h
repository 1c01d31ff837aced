// SPDX-License-Identifier: MIT
// The control and stream protocols of GigE Vision (GVCP, GVSP), read from the payload of UDP datagrams. Each
// reader checks every length, copies and allocates nothing, and returns nothing where the bytes are something
// else.
#pragma once

#include "frames/Packet.h"

#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {

inline constexpr std::uint16_t gigeControlPort = 3956; ///< UDP, at the camera
inline constexpr std::uint8_t gigeCommandKey = 0x42;   ///< a command begins with it

/// Registers that every camera has.
enum GigeRegister : std::uint32_t {
    GigeHeartbeat = 0x0938,       ///< ms without a command, after which the camera is free again
    GigeControlPrivilege = 0x0A00 ///< bit 0 exclusive, bit 1 control; 0: nobody has it
};
inline constexpr std::uint32_t gigeStreamRegisters = 0x0D00; ///< of channel 0; the others follow
inline constexpr std::uint32_t gigeStreamStride = 0x40;      ///< bytes from channel to channel
inline constexpr std::uint32_t gigeStreamPort = 0x00;        ///< low 16 bits; 0 closes the channel
inline constexpr std::uint32_t gigeStreamDestination = 0x18; ///< the receiver's address

/// Codes of commands. The answer to a command that has one is its code plus 1.
enum class GigeCommand : std::uint16_t {
    Discovery = 0x0002,
    ForceIp = 0x0004,
    PacketResend = 0x0040,
    ReadRegister = 0x0080,
    WriteRegister = 0x0082,
    ReadMemory = 0x0084,
    WriteMemory = 0x0086,
    Pending = 0x0089, ///< an answer: the one that counts comes later
    Event = 0x00C0,
    EventData = 0x00C2,
    Action = 0x0100,
};

/// A command or an answer.
struct GigeControl {
    bool isAnswer;
    GigeCommand command;     ///< of an answer too: the one that it answers
    bool wantsAnswer;        ///< of a command
    bool hasExtendedIds;     ///< of a resend request
    std::uint16_t status;    ///< of an answer; 0 is success
    std::uint16_t requestId; ///< the same in command and answer
    Bytes payload;
};

/// A datagram to or from the control port. Commands begin with a key of their own; everything else that has
/// the right length is an answer.
std::optional<GigeControl> readGigeControl(Bytes datagram) noexcept;

/// What a client asks for again.
struct GigeResend {
    std::uint16_t channel;
    std::uint64_t block;
    std::uint32_t first, last; ///< packets
};
std::optional<GigeResend> readGigeResend(const GigeControl& control) noexcept;

/// The time in ms within which the real answer may be expected.
std::optional<std::uint16_t> readGigePending(const GigeControl& control) noexcept;

/// The first event of a message from the camera.
struct GigeEvent {
    std::uint16_t id;
    std::uint16_t channel; ///< of the stream that it belongs to
    std::uint16_t block;
    std::uint64_t timestamp; ///< camera's ticks
};
std::optional<GigeEvent> readGigeEvent(const GigeControl& control) noexcept;

/// How a camera introduces itself.
struct GigeDiscovery {
    Bytes mac;
    Bytes address, subnetMask, gateway; ///< IPv4
    std::string maker, model, version, remark, serial, userName;
};
std::optional<GigeDiscovery> readGigeDiscovery(const GigeControl& control);

/// Words of a read or write: addresses and values, in the order in which they stand. Of a command to read,
/// addresses; of its answer, values; of a command to write, pairs.
struct GigeWords {
    Bytes bytes;
    std::size_t count() const noexcept { return bytes.size() / 4; }
    std::uint32_t operator[](std::size_t index) const noexcept { return big32(bytes, 4 * index); }
};
GigeWords gigeWordsOf(const GigeControl& control) noexcept;

/// The form of a stream packet.
enum class GigeForm : std::uint8_t {
    Leader = 1,
    Trailer = 2,
    Payload = 3,
    AllIn = 4,
    MultiPart = 7,
    Generic = 8
};

/// A packet of a stream. A block is an image or another piece of data: leader, payload packets from 1,
/// trailer.
struct GigeStreamPacket {
    std::uint16_t status; ///< 0, 0x0100 resent, 0x8000 and above: without data
    bool hasExtendedIds;
    std::uint64_t block; ///< 16 bits without extended ids, counted from 1
    GigeForm form;
    std::uint32_t packet;
    Bytes payload;

    bool isResent() const noexcept { return status == 0x0100; }
    bool isUnavailable() const noexcept { return (status & 0x8000u) != 0; }
};

/// Accepts any datagram that has the form of a stream packet. Only a flow's leaders or its control traffic
/// show whether it really is a stream.
std::optional<GigeStreamPacket> readGigeStream(Bytes datagram) noexcept;

/// What a leader says of the image that follows.
struct GigeImage {
    std::uint64_t timestamp; ///< camera's ticks
    std::uint32_t pixelFormat;
    std::uint32_t width, height;      ///< pixels
    std::uint16_t paddingX, paddingY; ///< bytes behind each line and behind the image

    /// Of its payload packets together.
    std::uint64_t bytes() const noexcept;
};
/// Nothing when the leader announces anything but an image.
std::optional<GigeImage> readGigeImage(const GigeStreamPacket& leader) noexcept;

/// Names for people: "read register", "access denied", "leader"; others by number.
std::string gigeCommandName(GigeCommand command);
std::string gigeStatusName(std::uint16_t status);
const char* gigeFormName(GigeForm form) noexcept;

} // namespace orvo::host
