// SPDX-License-Identifier: MIT
#include "frames/GigeVision.h"

#include <fmt/format.h>

#include <algorithm>

namespace orvo::host {
namespace {

constexpr std::size_t controlHeaderBytes = 8;
constexpr std::uint8_t answerWanted = 0x01;
constexpr std::uint8_t extendedIds = 0x10;

constexpr std::size_t streamHeaderBytes = 8;
constexpr std::size_t extendedHeaderBytes = 20;
constexpr std::size_t leaderBytes = 12; // without what an image adds
constexpr std::size_t imageLeaderBytes = 36;
constexpr std::size_t trailerBytes = 4;
constexpr std::uint16_t imagePayload = 0x0001;
constexpr std::uint16_t payloadTypeMask = 0x3FFF; // bit 14: chunks follow

bool isForm(std::uint8_t value) noexcept {
    return (value >= 1 && value <= 4) || value == 7 || value == 8;
}

bool isKnownStatus(std::uint16_t status) noexcept {
    return status == 0 || status == 0x0100 || (status & 0xF000u) == 0x8000u;
}

bool hasRoomForForm(const GigeStreamPacket& packet) noexcept {
    if (packet.isUnavailable()) return true;
    if (packet.form == GigeForm::Leader) return packet.packet == 0 && packet.payload.size() >= leaderBytes;
    if (packet.form == GigeForm::Trailer) return packet.payload.size() >= trailerBytes;
    return !packet.payload.empty();
}

/// A text that ends with the first NUL or with its field.
std::string textAt(Bytes bytes, std::size_t offset, std::size_t most) {
    const auto field = bytes.subspan(offset, most);
    return {field.begin(), std::ranges::find(field, 0)};
}

/// Leaders and trailers name the kind of their data alike.
std::uint16_t payloadType(const GigeStreamPacket& packet) noexcept {
    return big16(packet.payload, 2) & payloadTypeMask;
}

} // namespace

std::optional<GigeControl> readGigeControl(Bytes datagram) noexcept {
    if (datagram.size() < controlHeaderBytes) return std::nullopt;
    const std::size_t announced = big16(datagram, 4);
    if (datagram.size() < controlHeaderBytes + announced) return std::nullopt;
    const bool isCommand = datagram[0] == gigeCommandKey;
    const auto code = big16(datagram, 2);
    if (!isCommand && code % 2 == 0) return std::nullopt; // answers have odd codes
    const bool isPending = code == static_cast<std::uint16_t>(GigeCommand::Pending);
    GigeControl control{};
    control.isAnswer = !isCommand;
    control.command = static_cast<GigeCommand>(isCommand || isPending ? code : code - 1);
    control.wantsAnswer = isCommand && (datagram[1] & answerWanted) != 0;
    control.hasExtendedIds = isCommand && (datagram[1] & extendedIds) != 0;
    control.status = isCommand ? 0 : big16(datagram, 0);
    control.requestId = big16(datagram, 6);
    control.payload = datagram.subspan(controlHeaderBytes, announced);
    return control;
}

std::optional<GigeResend> readGigeResend(const GigeControl& control) noexcept {
    constexpr std::uint32_t low24 = 0xFF'FFFF;
    const auto bytes = control.payload;
    if (control.isAnswer || control.command != GigeCommand::PacketResend ||
        bytes.size() < (control.hasExtendedIds ? 20 : 12))
        return std::nullopt;
    if (control.hasExtendedIds)
        return GigeResend{big16(bytes, 0), big64(bytes, 12), big32(bytes, 4), big32(bytes, 8)};
    return GigeResend{big16(bytes, 0), big16(bytes, 2), big32(bytes, 4) & low24, big32(bytes, 8) & low24};
}

std::optional<std::uint16_t> readGigePending(const GigeControl& control) noexcept {
    if (!control.isAnswer || control.command != GigeCommand::Pending || control.payload.size() < 4)
        return std::nullopt;
    return big16(control.payload, 2);
}

std::optional<GigeEvent> readGigeEvent(const GigeControl& control) noexcept {
    const bool isEvent = control.command == GigeCommand::Event || control.command == GigeCommand::EventData;
    if (control.isAnswer || !isEvent || control.payload.size() < 16) return std::nullopt;
    const auto bytes = control.payload;
    return GigeEvent{big16(bytes, 2), big16(bytes, 4), big16(bytes, 6), big64(bytes, 8)};
}

std::optional<GigeDiscovery> readGigeDiscovery(const GigeControl& control) {
    constexpr std::size_t answerBytes = 248;
    const auto bytes = control.payload;
    if (!control.isAnswer || control.command != GigeCommand::Discovery || bytes.size() < answerBytes)
        return std::nullopt;
    return GigeDiscovery{bytes.subspan(10, 6),   bytes.subspan(36, 4),   bytes.subspan(52, 4),
                         bytes.subspan(68, 4),   textAt(bytes, 72, 32),  textAt(bytes, 104, 32),
                         textAt(bytes, 136, 32), textAt(bytes, 168, 48), textAt(bytes, 216, 16),
                         textAt(bytes, 232, 16)};
}

GigeWords gigeWordsOf(const GigeControl& control) noexcept {
    return {control.payload.first(control.payload.size() / 4 * 4)};
}

std::optional<GigeStreamPacket> readGigeStream(Bytes datagram) noexcept {
    if (datagram.size() < streamHeaderBytes) return std::nullopt;
    GigeStreamPacket packet{};
    packet.status = big16(datagram, 0);
    packet.hasExtendedIds = (datagram[4] & 0x80u) != 0;
    const std::uint8_t form = datagram[4] & 0x7Fu;
    const auto headerBytes = packet.hasExtendedIds ? extendedHeaderBytes : streamHeaderBytes;
    if (!isKnownStatus(packet.status) || !isForm(form) || datagram.size() < headerBytes) return std::nullopt;
    packet.form = static_cast<GigeForm>(form);
    packet.block = packet.hasExtendedIds ? big64(datagram, 8) : big16(datagram, 2);
    packet.packet = packet.hasExtendedIds ? big32(datagram, 16) : big32(datagram, 4) & 0xFF'FFFFu;
    packet.payload = datagram.subspan(headerBytes);
    if (packet.block == 0 || !hasRoomForForm(packet)) return std::nullopt;
    return packet;
}

std::optional<GigeImage> readGigeImage(const GigeStreamPacket& leader) noexcept {
    const auto bytes = leader.payload;
    if (leader.form != GigeForm::Leader || bytes.size() < imageLeaderBytes ||
        payloadType(leader) != imagePayload)
        return std::nullopt;
    return GigeImage{big64(bytes, 4),  big32(bytes, 12), big32(bytes, 16),
                     big32(bytes, 20), big16(bytes, 32), big16(bytes, 34)};
}

// Bits 16 to 23 of a pixel format are the bits of a pixel. The widest product is below 2^62, so that a lie
// of a leader cannot overflow: sizes are cut to 27 bits.
std::uint64_t GigeImage::bytes() const noexcept {
    constexpr std::uint64_t most = (1u << 27) - 1;
    const std::uint64_t bits = pixelFormat >> 16 & 0xFFu;
    const auto columns = std::min<std::uint64_t>(width, most), lines = std::min<std::uint64_t>(height, most);
    return (columns * lines * bits + 7) / 8 + lines * paddingX + paddingY;
}

std::string gigeCommandName(GigeCommand command) {
    switch (command) {
    case GigeCommand::Discovery:
        return "discovery";
    case GigeCommand::ForceIp:
        return "force IP";
    case GigeCommand::PacketResend:
        return "packet resend";
    case GigeCommand::ReadRegister:
        return "read register";
    case GigeCommand::WriteRegister:
        return "write register";
    case GigeCommand::ReadMemory:
        return "read memory";
    case GigeCommand::WriteMemory:
        return "write memory";
    case GigeCommand::Pending:
        return "pending";
    case GigeCommand::Event:
        return "event";
    case GigeCommand::EventData:
        return "event with data";
    case GigeCommand::Action:
        return "action";
    }
    return fmt::format("command {:#06x}", static_cast<unsigned>(command));
}

std::string gigeStatusName(std::uint16_t status) {
    switch (status) {
    case 0:
        return "success";
    case 0x8001:
        return "not implemented";
    case 0x8002:
        return "invalid parameter";
    case 0x8003:
        return "invalid address";
    case 0x8004:
        return "write protected";
    case 0x8005:
        return "bad alignment";
    case 0x8006:
        return "access denied";
    case 0x8007:
        return "busy";
    case 0x800C:
        return "packet unavailable";
    default:
        return fmt::format("status {:#06x}", status);
    }
}

const char* gigeFormName(GigeForm form) noexcept {
    switch (form) {
    case GigeForm::Leader:
        return "leader";
    case GigeForm::Trailer:
        return "trailer";
    case GigeForm::Payload:
        return "payload";
    case GigeForm::AllIn:
        return "all-in";
    case GigeForm::MultiPart:
        return "multi-part";
    case GigeForm::Generic:
        return "generic";
    }
    return "unknown";
}

} // namespace orvo::host
