// SPDX-License-Identifier: MIT
// What is wrong with a port, in words.
#pragma once

#include "inspect/diagnosis/DumpReport.h"
#include "inspect/diagnosis/LinkState.h"

#include <string>
#include <vector>

namespace orvo::host {

enum class Severity { Note, Warning, Fault };

const char* severityText(Severity severity);

struct Finding {
    Severity severity;
    std::string text;     ///< what is wrong
    std::string evidence; ///< the readings that show it
    std::string advice;   ///< what to do next
};

/// Everything that is out of order according to the report, the worst first; none in a healthy port.
/// `wasDown`: the link status read before the report was "down", which a PHY keeps until it is read. `others`
/// are findings from elsewhere to be sorted in.
std::vector<Finding> findingsOf(const DumpReport& report, const LinkState& link, bool wasDown,
                                std::vector<Finding> others = {});

} // namespace orvo::host
