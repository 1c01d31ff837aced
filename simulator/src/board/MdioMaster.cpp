// SPDX-License-Identifier: MIT
// MDIO transactions.
#include "MdioMaster.h"

#include "Link.h"

namespace orvo::sim {

void MdioMaster::read() noexcept {
    result_ = noPhyAnswers;
    if (phyAddress_ < ports_.size()) result_ = ports_[phyAddress_].phy().read(phyRegister_, simClock.now());
}

void MdioMaster::write() noexcept {
    if (phyAddress_ >= ports_.size()) return;
    Port& port = ports_[phyAddress_];
    if (port.phy().write(phyRegister_, data_, simClock.now()))
        renegotiate(port);
    else
        port.updateGate(); // the isolate bit may have changed
}

} // namespace orvo::sim
