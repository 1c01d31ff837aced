// SPDX-License-Identifier: MIT
// Frames as a camera and its client send them.
#pragma once

#include "TestFiles.h"
#include "frames/GigeVision.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace orvo::host::testing_support {

using ByteVector = std::vector<std::uint8_t>;

inline void put(ByteVector& bytes, std::uint64_t value, unsigned count) {
    while (count-- > 0) bytes.push_back(static_cast<std::uint8_t>(value >> 8 * count));
}

inline ByteVector udpFrame(std::uint32_t from, std::uint16_t fromPort, std::uint32_t to, std::uint16_t toPort,
                           const ByteVector& payload) {
    ByteVector frame(12, 2);
    put(frame, 0x0800'4500, 4);
    put(frame, payload.size() + 28, 2);
    put(frame, 0x0000'0000'4011'0000, 8);
    put(frame, from, 4);
    put(frame, to, 4);
    put(frame, fromPort, 2);
    put(frame, toPort, 2);
    put(frame, payload.size() + 8, 2);
    put(frame, 0, 2);
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

/// A camera of one stream whose images are all alike: a leader, `payloads` packets, a trailer.
struct Camera {
    std::uint32_t address = 0xC0A8'0701, host = 0xC0A8'0702;
    std::uint16_t port = 4000;
    bool hasExtendedIds = false;
    std::uint32_t payloads = 10;
    std::uint32_t packetBytes = 100;
    std::uint64_t startedAt = 0; ///< added to the time stamps of leaders

    std::uint32_t trailer() const { return payloads + 1; }
    GigeForm formOf(std::uint32_t packet) const {
        return packet == 0 ? GigeForm::Leader : packet == trailer() ? GigeForm::Trailer : GigeForm::Payload;
    }

    ByteVector packet(std::uint64_t block, std::uint32_t packet, std::uint16_t status = 0) const {
        ByteVector bytes;
        put(bytes, status, 2);
        put(bytes, hasExtendedIds ? 0 : block, 2);
        const auto form = static_cast<std::uint64_t>(formOf(packet)) | (hasExtendedIds ? 0x80 : 0);
        put(bytes, form << 24 | (hasExtendedIds ? 0 : packet), 4);
        if (hasExtendedIds) {
            put(bytes, block, 8);
            put(bytes, packet, 4);
        }
        if ((status & 0x8000) == 0) addContent(bytes, block, packet);
        return udpFrame(address, 5000, host, port, bytes);
    }

    ByteVector command(GigeCommand command, std::initializer_list<std::uint32_t> words,
                       std::uint8_t flags = 1, std::uint16_t id = 1) const {
        ByteVector bytes{0x42, flags};
        put(bytes, static_cast<std::uint64_t>(command), 2);
        put(bytes, 4 * words.size(), 2);
        put(bytes, id, 2);
        for (const auto word : words) put(bytes, word, 4);
        return udpFrame(host, 6000, address, gigeControlPort, bytes);
    }
    ByteVector answer(GigeCommand command, std::uint16_t status, std::uint16_t id = 1) const {
        ByteVector bytes;
        put(bytes, status, 2);
        put(bytes, static_cast<std::uint64_t>(command) + 1, 2);
        put(bytes, 0, 2);
        put(bytes, id, 2);
        return udpFrame(address, gigeControlPort, host, 6000, bytes);
    }
    ByteVector resend(std::uint64_t block, std::uint32_t first, std::uint32_t last) const {
        if (!hasExtendedIds)
            return command(GigeCommand::PacketResend, {static_cast<std::uint32_t>(block), first, last}, 0);
        return command(
            GigeCommand::PacketResend,
            {0, first, last, static_cast<std::uint32_t>(block >> 32), static_cast<std::uint32_t>(block)},
            0x10);
    }

private:
    void addContent(ByteVector& bytes, std::uint64_t block, std::uint32_t packet) const {
        if (packet == 0) {
            put(bytes, 1, 4);
            put(bytes, startedAt + block * 1000, 8);
            put(bytes, 0x0108'0001, 4); // 8 bits a pixel
            put(bytes, packetBytes, 4);
            put(bytes, payloads, 4);
            put(bytes, 0, 8);
            put(bytes, 0, 4);
        } else if (packet == trailer()) {
            put(bytes, 1, 4);
            put(bytes, payloads, 4);
        } else {
            bytes.insert(bytes.end(), packetBytes, static_cast<std::uint8_t>(packet));
        }
    }
};

/// A capture of the usual camera's images, from number 1, of 12 packets each. Returns its path.
inline std::string writeImages(const std::string& path, std::uint64_t images) {
    const Camera camera;
    std::vector<Frame> frames;
    for (std::uint64_t image = 1; image <= images; ++image)
        for (std::uint32_t packet = 0; packet <= camera.trailer(); ++packet) {
            const auto bytes = camera.packet(image, packet);
            frames.emplace_back(bytes.begin(), bytes.end());
        }
    writeCapture(path, frames);
    return path;
}

} // namespace orvo::host::testing_support
