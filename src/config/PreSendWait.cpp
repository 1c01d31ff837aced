// SPDX-License-Identifier: MIT
#include "config/PreSendWait.h"

#include "config/TweakText.h"

#include <limits>

namespace orvo::templates::platform {

std::optional<std::uint32_t> preSendWaitMs(const char* text) {
    const auto waitMs = text ? converted<long long>(text) : std::nullopt;
    if (!waitMs || *waitMs < 0 || *waitMs > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    return static_cast<std::uint32_t>(*waitMs);
}

} // namespace orvo::templates::platform
