// SPDX-License-Identifier: MIT
#include "device/InstallationOptions.h"

#include "base/Failure.h"

namespace orvo::host {

PortAddress WireOption::address(unsigned defaultBoard) const {
    const auto full = PortAddress::parse(port);
    return full ? *full : PortAddress::parse(std::to_string(defaultBoard) + "/" + port).value();
}

void InstallationOptions::requireRealTime() const {
    if (virtualTime)
        throw UsageFailure("live traffic keeps real time; leave --time virtual out (--no-reset saves the "
                           "board's reset)");
}

} // namespace orvo::host
