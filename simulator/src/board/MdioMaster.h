// SPDX-License-Identifier: MIT
// The board's MDIO master: a few registers, and behind them one PHY per port.
#pragma once

#include "board/Cabling.h"

#include <cstdint>
#include <span>

namespace orvo::sim {

/// Under the bench mutex. A transaction is complete when the write that starts it returns.
class MdioMaster {
public:
    /// The PHY of `ports[p]` has the address p.
    explicit MdioMaster(std::span<Port> ports) noexcept : ports_(ports) {}

    void selectPhy(std::uint64_t address) noexcept { phyAddress_ = static_cast<unsigned>(address & 31); }
    void selectRegister(std::uint64_t number) noexcept { phyRegister_ = static_cast<unsigned>(number & 31); }
    void setData(std::uint64_t data) noexcept { data_ = static_cast<std::uint16_t>(data); }
    void read() noexcept {
        result_ = phyAddress_ < ports_.size() ? ports_[phyAddress_].phy().read(phyRegister_, simClock.now())
                                              : noPhyAnswers;
    }
    void write() noexcept {
        if (phyAddress_ >= ports_.size()) return;
        Port& port = ports_[phyAddress_];
        if (port.phy().write(phyRegister_, data_, simClock.now()))
            renegotiate(port);
        else
            port.updateGate(); // the isolate bit may have changed
    }

    std::uint64_t phyAddress() const noexcept { return phyAddress_; }
    std::uint64_t phyRegister() const noexcept { return phyRegister_; }
    std::uint64_t data() const noexcept { return data_; }
    std::uint64_t result() const noexcept { return result_; }

private:
    std::span<Port> ports_;
    unsigned phyAddress_ = 0;
    unsigned phyRegister_ = 0;
    std::uint16_t data_ = 0;
    std::uint16_t result_ = 0;
};

} // namespace orvo::sim
