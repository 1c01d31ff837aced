// SPDX-License-Identifier: MIT
// MDIO transactions, paced as the firmware needs it.
#include "device/Phy.h"

#include "base/Signals.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace orvo::host {
namespace {

constexpr useconds_t selectPauseUs = 100'000; // after the PHY's address was written
constexpr useconds_t readPauseUs = 50'000;    // before and after the result is taken

constexpr unsigned statusRegister = 1;
constexpr std::uint16_t statusLinkBit = 1 << 2;
constexpr std::uint16_t silence = 0xFFFF; // what the bus holds when no PHY answers

} // namespace

MdioMaster::MdioMaster(const Board& board) : board_(&board) {
    constexpr const char* names[RegisterCount] = {"GigE_MdioPhyAddr", "GigE_MdioRegAddr", "GigE_MdioRD",
                                                  "MdioReadReg"};
    std::transform(std::begin(names), std::end(names), addresses_.begin(),
                   [&](const char* name) { return board.registerAddress(name); });
}

std::optional<MdioMaster> MdioMaster::of(const Board& board) {
    const MdioMaster master(board);
    if (std::count(master.addresses_.begin(), master.addresses_.end(), 0u) != 0) return std::nullopt;
    return master;
}

std::optional<std::uint16_t> MdioMaster::read(unsigned phy, unsigned phyRegister) {
    const SignalShield noShortSleeps;
    if (selectedPhy_ != phy) {
        board_->write(addresses_[PhyAddress], phy);
        usleep(selectPauseUs);
        selectedPhy_ = phy;
    }
    board_->write(addresses_[RegisterAddress], phyRegister);
    board_->write(addresses_[StartRead], 0);
    usleep(readPauseUs);
    const auto value = board_->read(addresses_[ReadData]);
    usleep(readPauseUs);
    if (!value) return std::nullopt;
    return static_cast<std::uint16_t>(*value & 0xFFFF);
}

const char* textOf(Link link) {
    switch (link) {
    case Link::Down:
        return "down";
    case Link::Up:
        return "up";
    case Link::Unknown:
        break;
    }
    return "unknown";
}

// The link bit latches low: the first read reports a loss since the last one, the second the present.
Link readLink(MdioMaster& mdio, unsigned port) {
    mdio.read(port, statusRegister);
    const auto status = mdio.read(port, statusRegister);
    if (!status || *status == silence) return Link::Unknown;
    return (*status & statusLinkBit) != 0 ? Link::Up : Link::Down;
}

} // namespace orvo::host
