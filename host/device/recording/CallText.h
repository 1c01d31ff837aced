// SPDX-License-Identifier: MIT
// Board calls as lines for people.
#pragma once

#include "device/recording/RecordedCall.h"

namespace orvo::host {

/// The register that a call reads, writes or looks up; empty for other calls.
std::string registerOf(const RecordedCall& call, const RegisterNames& registers);

/// "OHalRegisterRead(device 1, GigeTxTransferActive0) = 0, read 0x1, 12 times"
std::string callText(const RecordedCall& call, const RegisterNames& registers);

} // namespace orvo::host
