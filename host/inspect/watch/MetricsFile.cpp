// SPDX-License-Identifier: MIT
#include "inspect/watch/MetricsFile.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/OutputFile.h"

namespace orvo::host {

void MetricsFile::renew(const std::string& text) {
    if (!isWanted()) return;
    try {
        replaceFile(path_, text);
        if (fails_) notice("writing " + quoted(path_) + " works again");
        fails_ = false;
    } catch (const Failure& failure) {
        if (!worked_) throw;
        if (!fails_) notice(failure.what());
        fails_ = true;
    }
    worked_ = true;
}

} // namespace orvo::host
