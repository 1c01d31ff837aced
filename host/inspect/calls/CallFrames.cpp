// SPDX-License-Identifier: MIT
#include "inspect/calls/CallFrames.h"

#include "device/recording/CallText.h"
#include "device/recording/PackedWords.h"

#include <cstring>

namespace orvo::host {
namespace {

constexpr std::size_t mostFrameBytes = 65'536;

std::vector<pcapng::Interface> interfacesOf(unsigned ports) {
    std::vector<pcapng::Interface> interfaces;
    for (unsigned port = 0; port < ports; ++port) {
        const auto text = std::to_string(port);
        interfaces.push_back({"to port " + text, "frames that the plug-in wrote to port " + text});
        interfaces.push_back({"from port " + text, "frames that the plug-in read from port " + text});
    }
    return interfaces;
}

void append(ByteString& frame, const RecordedCall& call) {
    const auto& value = call.arguments[2];
    if (call.isRun()) {
        const auto& units = value.get_binary();
        if (frame.size() + units.size() <= mostFrameBytes)
            frame.insert(frame.end(), units.begin(), units.end());
    } else if (frame.size() < mostFrameBytes) {
        const auto unit = value.get<std::uint64_t>();
        frame.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        frame.push_back(static_cast<std::uint8_t>(unit >> 8 & 0xFF));
    }
}

} // namespace

CallFrames::CallFrames(const std::string& path, std::int64_t begin)
    : begin_(begin), file_(path, BlockFile::Target::NamedFile, interfacesOf(ports)) {
    file_.begin();
}

void CallFrames::add(const RecordedCall& call, const RegisterNames& registers) {
    if (call.entry == Entry::OHalRegisterWrite) addWrite(call, registers);
    if (call.isQueueRead()) addRead(call);
}

void CallFrames::addWrite(const RecordedCall& call, const RegisterNames& registers) {
    const auto name = registerOf(call, registers);
    if (!name.starts_with("Gige")) return;
    const auto port = static_cast<unsigned>(name.back() - '0');
    if (port >= ports) return;
    const std::string_view role(name.data(), name.size() - 1);
    auto& frame = unsent_[{call.thread, port}];
    if (role == "GigeBufferReset") frame.clear();
    if (role == "GigeWriteData") append(frame, call);
    if (role != "GigeWriteComplete") return;
    write(frame, call.begin, port, Sent);
    frame.clear();
}

void CallFrames::addRead(const RecordedCall& call) {
    const auto queue = call.arguments[1].get<std::uint64_t>();
    const auto delivered = call.isEmptyRead() ? 0 : call.deliveredBytes();
    if (queue >= ports || delivered <= sizeof(std::uint32_t) || !call.arguments[2].is_binary()) return;
    const auto words = unpackedWords(call.arguments[2].get_binary(), delivered);
    ByteString frame(words.size() / 4 * 2);
    for (std::size_t i = 0; i < frame.size() / 2; ++i)
        std::memcpy(frame.data() + 2 * i, words.data() + 4 * i, 2);
    if (frame.size() <= mostFrameBytes) write(frame, call.end(), static_cast<unsigned>(queue), Received);
}

void CallFrames::write(const ByteString& frame, std::int64_t moment, unsigned port, Direction direction) {
    if (frame.empty()) return;
    file_.write(frame.data(), frame.size(), static_cast<pcapng::Timestamp>(begin_ + moment),
                2 * port + (direction == Received ? 1 : 0));
}

std::uint64_t CallFrames::close() {
    return file_.close(std::nullopt);
}

} // namespace orvo::host
