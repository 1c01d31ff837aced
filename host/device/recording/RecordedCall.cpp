// SPDX-License-Identifier: MIT
#include "device/recording/RecordedCall.h"

#include <orvo/hal/orvo_hal.h>

namespace orvo::host {

bool RecordedCall::isEmptyRead() const {
    return isQueueRead() && result == static_cast<int>(HalTimeout);
}

std::uint64_t RecordedCall::deliveredBytes() const {
    const auto told = result.get<std::int64_t>();
    if (told < 0) return 0;
    const auto asked = arguments[3].get<std::uint64_t>();
    return told == 0 || static_cast<std::uint64_t>(told) > asked ? asked : static_cast<std::uint64_t>(told);
}

} // namespace orvo::host
