// SPDX-License-Identifier: MIT
// Looking up kinds, and the words for what they count and move.
#include "FaultKinds.h"

#include <algorithm>
#include <iterator>

namespace orvo::sim {

const FaultKindRow* findFaultKind(std::string_view name) noexcept {
    const auto* const found =
        std::find_if(std::begin(faultKindRows), std::end(faultKindRows),
                     [name](const FaultKindRow& row) { return std::string_view(row.name) == name; });
    return found != std::end(faultKindRows) ? found : nullptr;
}

const char* textOf(FaultPoint point) noexcept {
    switch (point) {
    case FaultPoint::Frame:
        return "frames on the wire";
    case FaultPoint::Arrival:
        return "frames from the wire";
    case FaultPoint::Reception:
        return "transmissions read";
    case FaultPoint::Busy:
        return "reads of the busy flag";
    case FaultPoint::Register:
        return "reads of the register";
    case FaultPoint::MdioRead:
        return "MDIO reads";
    case FaultPoint::PhyReset:
        return "resets of the PHY";
    case FaultPoint::SentOrTime:
        return "frames sent, or time";
    }
    return "";
}

const char* textOf(OrvoSimEvidence evidence) noexcept {
    switch (evidence) {
    case OrvoSimNoEvidence:
        return "nothing: whoever reads asks again or goes on, and no frame is lost";
    case OrvoSimReceiveErrors:
        return "GigeRecvErrCnt of the port that the frame reaches";
    case OrvoSimArrivals:
        return "frames that arrive, against those sent";
    case OrvoSimLateFrames:
        return "frames that come back late";
    case OrvoSimOverflows:
        return "GvspFiFoOverflow_GigeTransceiver";
    case OrvoSimZeroSizes:
        return "zerosize transmissions";
    case OrvoSimInvalidSizes:
        return "invalid transmission sizes";
    case OrvoSimInvalidEnds:
        return "invalid EOTs";
    case OrvoSimReadErrors:
        return "UIQ read errors";
    case OrvoSimStillBusy:
        return "\"Transmitter still busy\"";
    case OrvoSimUnexpectedValue:
        return "\"Unexpected value in OHalRegisterRead\"";
    case OrvoSimStillInReset:
        return "\"GigE PHY ... still in reset\"";
    case OrvoSimLinkDownTime:
        return "microseconds that the link is down";
    case OrvoSimLinkLosses:
        return "times that the link went down";
    case OrvoSimActionReports:
        return "\"Action command timeout detected\"";
    }
    return "";
}

} // namespace orvo::sim
