// SPDX-License-Identifier: MIT
// Reports on streams, as lines for people, as JSON and as metrics.
#pragma once

#include "frames/streams/StreamAccount.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace orvo::host {

/// "192.168.7.1 to 192.168.7.2:4000".
std::string streamEndsText(const StreamEnds& ends);
std::string ipv4Text(std::uint32_t address);

/// "image 17 incomplete: packets 3 to 9, 12 of 34".
std::string endedImageText(const EndedImage& image);

/// Empty where there are neither streams nor control channels.
std::string streamsText(const StreamsReport& report);
nlohmann::ordered_json streamsJson(const StreamsReport& report);

/// In Prometheus' text exposition format; `labels` come first in each line, as in `board="0",port="1"`.
std::string streamsMetrics(const StreamsReport& report, const std::string& labels);

} // namespace orvo::host
