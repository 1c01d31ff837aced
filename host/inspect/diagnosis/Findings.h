// SPDX-License-Identifier: MIT
// What is wrong with a link, in words.
#pragma once

#include "inspect/diagnosis/DumpReport.h"
#include "inspect/diagnosis/LinkState.h"

#include <string>
#include <vector>

namespace orvo::host {

enum class Severity { Note, Warning, Fault };

const char* textOf(Severity severity);

struct Finding {
    Severity severity;
    std::string text;     ///< what is the matter
    std::string evidence; ///< which readings say so
    std::string advice;   ///< what to do next
};

/// Everything that the report shows to be out of order, the worst first. Empty: the port is healthy.
/// `wasDown` tells that the link status read before the report was down, which a link that is up now
/// remembers. `others` are findings from elsewhere, to stand among these.
std::vector<Finding> findingsOf(const DumpReport& report, const LinkState& link, bool wasDown,
                                std::vector<Finding> others = {});

} // namespace orvo::host
