// SPDX-License-Identifier: MIT
#include "device/CableTap.h"

#include "base/Failure.h"
#include "frames/OutputFrame.h"

#include <fmt/format.h>

#include <array>

namespace orvo::host {
namespace {

std::string reasonOf(int result) {
    switch (result) {
    case OrvoSimTapTaken:
        return "four programs listen there already; end one of them";
    case OrvoSimNoSuchPlace:
        return "there is no such port; 'orvo-gige boards' lists boards and ports";
    case OrvoSimNoMemory:
        return "there is no memory for it";
    case OrvoSimServerGone:
        return "the server of the simulated boards has ended; start it again: orvo-gige simulate";
    default:
        return fmt::format("the board library answers {}", result);
    }
}

} // namespace

CableTap::CableTap(const DynamicLibrary& hal, PortAddress port) : hal_(hal) {
    const auto open = hal_.require<decltype(::orvoSimOpenTap)>("orvoSimOpenTap");
    OrvoSimTap* tap = nullptr;
    const int result = open(port.board, port.port, &tap);
    if (result != 0)
        throw Failure("cannot listen at the cable of port " + port.text() + ": " + reasonOf(result));
    tap_.reset(tap);
}

bool CableTap::read(OrvoSimTapFrame& frame, void* bytes, std::size_t room,
                    std::chrono::milliseconds limit) const {
    return read_(tap_.get(), &frame, bytes, room, static_cast<std::uint32_t>(limit.count())) == 1;
}

CableTap::Missed CableTap::missed() const {
    Missed counts;
    missed_(tap_.get(), &counts.received, &counts.sent);
    return counts;
}

const char* deathReason(OrvoSimFate fate, bool isSent) {
    constexpr std::array<const char*, OrvoSimNotTaken + 1> reasons = {
        nullptr,
        "dropped: wrong frame check sequence",
        "dropped: shorter than 64 bytes",
        "dropped: longer than 1518 bytes",
        queueFullComment.data(),
        linkDownComment.data(),
        receiverOffComment.data(),
        "not sent: transmitter off",
        "not sent: transmitter busy",
        "not sent: longer than the transmit buffer",
        "not sent: the wire's network interface did not take it"};
    if (isSent && fate == OrvoSimLinkDown) return "not sent: link down";
    return reasons.at(static_cast<std::size_t>(fate));
}

} // namespace orvo::host
