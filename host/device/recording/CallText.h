// SPDX-License-Identifier: MIT
// Board calls as lines for people.
#pragma once

#include "device/recording/RecordedCall.h"

namespace orvo::host {

/// The name of the register at an address, otherwise the address in hexadecimal.
std::string registerText(const RegisterNames& registers, std::uint64_t address);

/// The register that a call reads, writes or looks up; empty for other calls.
std::string registerOf(const RecordedCall& call, const RegisterNames& registers);

/// "OHalRegisterRead(device 1, GigeTxTransferActive0) = 0, read 0x1, 12 times"
std::string callText(const RecordedCall& call, const RegisterNames& registers);

} // namespace orvo::host
