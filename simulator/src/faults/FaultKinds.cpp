// SPDX-License-Identifier: MIT
// Texts for what kinds count and move; lookup by name.
#include "faults/FaultKinds.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace orvo::sim {

namespace {

constexpr std::array pointTexts = {
    // by FaultPoint
    "frames on the wire",    "frames from the wire", "transmissions read", "reads of the busy flag",
    "reads of the register", "MDIO reads",           "resets of the PHY",  "frames sent, or time",
};

constexpr std::array evidenceTexts = {
    // by OrvoSimEvidence
    "nothing: the read is repeated or skipped, and no frame is lost",
    "GigeRecvErrCnt of the port that the frame reaches",
    "frames that arrive, against those sent",
    "frames that come back late",
    "GvspFiFoOverflow_GigeTransceiver",
    "zerosize transmissions",
    "invalid transmission sizes",
    "invalid EOTs",
    "UIQ read errors",
    "\"Transmitter still busy\"",
    "\"Unexpected value in OHalRegisterRead\"",
    "\"GigE PHY ... still in reset\"",
    "microseconds that the link is down",
    "times that the link went down",
    "\"Action command timeout detected\"",
};

} // namespace

const FaultKindRow* findFaultKind(std::string_view name) noexcept {
    const auto* const found =
        std::find_if(std::begin(faultKindRows), std::end(faultKindRows),
                     [name](const FaultKindRow& row) { return std::string_view(row.name) == name; });
    return found != std::end(faultKindRows) ? found : nullptr;
}

const char* textOf(FaultPoint point) noexcept {
    return pointTexts.at(static_cast<std::size_t>(point));
}

const char* textOf(OrvoSimEvidence evidence) noexcept {
    return evidenceTexts.at(static_cast<std::size_t>(evidence));
}

} // namespace orvo::sim
