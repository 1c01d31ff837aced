// SPDX-License-Identifier: MIT
#include "frames/streams/ControlChannel.h"

#include <algorithm>

namespace orvo::host {

const char* privilegeText(Privilege privilege) noexcept {
    constexpr std::array<const char*, 4> texts = {"unknown", "none", "control", "exclusive control"};
    return texts[static_cast<std::size_t>(privilege)];
}

Privilege privilegeOf(std::uint32_t value) noexcept {
    if ((value & 1u) != 0) return Privilege::Exclusive;
    return (value & 2u) != 0 ? Privilege::Control : Privilege::None;
}

ControlChannel::ControlChannel(std::uint32_t camera, std::uint32_t client) {
    figures_.camera = camera;
    figures_.client = client;
}

std::optional<ControlChannel::Opening> ControlChannel::command(const GigeControl& control,
                                                               StreamTime time) noexcept {
    ++figures_.commands;
    if (figures_.privilege == Privilege::Control || figures_.privilege == Privilege::Exclusive)
        figures_.longestSilence = std::max(figures_.longestSilence, time - lastCommand_);
    lastCommand_ = time;
    noteWaiting(control);
    std::optional<Opening> opening;
    if (control.command != GigeCommand::WriteRegister) return opening;
    const auto words = gigeWordsOf(control);
    for (std::size_t i = 0; i + 1 < words.count(); i += 2)
        if (const auto written = write(words[i], words[i + 1])) opening = written;
    return opening;
}

void ControlChannel::noteWaiting(const GigeControl& control) noexcept {
    if (!control.wantsAnswer) return;
    if (waiting_ && waiting_->requestId == control.requestId && waiting_->command == control.command) {
        ++figures_.repeated;
        return;
    }
    if (waiting_) ++figures_.unanswered;
    const auto words = gigeWordsOf(control);
    waiting_ = Waiting{control.command, control.requestId, words.count() > 0 ? words[0] : 0,
                       words.count() > 1 ? words[1] : 0};
}

/// The answer is not awaited, as a recording may lack it.
std::optional<ControlChannel::Opening> ControlChannel::write(std::uint32_t address,
                                                             std::uint32_t value) noexcept {
    if (address == GigeHeartbeat) figures_.heartbeatMs = value;
    if (address < gigeStreamRegisters) return std::nullopt;
    const auto channel = (address - gigeStreamRegisters) / gigeStreamStride;
    const auto offset = (address - gigeStreamRegisters) % gigeStreamStride;
    if (channel >= channels || (offset != gigeStreamPort && offset != gigeStreamDestination))
        return std::nullopt;
    auto& destination = destinations_[channel];
    if (offset == gigeStreamPort)
        destination.port = static_cast<std::uint16_t>(value);
    else
        destination.address = value;
    if (!destination.port) return std::nullopt;
    const auto host = destination.address != 0 ? destination.address : figures_.client;
    return Opening{static_cast<std::uint16_t>(channel), {figures_.camera, host, *destination.port}};
}

void ControlChannel::answer(const GigeControl& control) noexcept {
    ++figures_.answers;
    if (control.command == GigeCommand::Pending) {
        ++figures_.pending;
        return;
    }
    const bool isAwaited = waiting_ && waiting_->requestId == control.requestId;
    if (control.status != 0) {
        ++figures_.errors;
        figures_.lastError = ControlError{control.command, control.status, isAwaited ? waiting_->address : 0};
    } else if (isAwaited) {
        grant(*waiting_);
    }
    if (isAwaited) waiting_.reset();
}

void ControlChannel::grant(const Waiting& waiting) noexcept {
    if (waiting.command == GigeCommand::WriteRegister && waiting.address == GigeControlPrivilege)
        figures_.privilege = privilegeOf(waiting.value);
}

} // namespace orvo::host
