// SPDX-License-Identifier: MIT
// A port's PHY, read over the board's MDIO master.
#pragma once

#include "device/Board.h"

#include <array>
#include <cstdint>
#include <optional>

namespace orvo::host {

/// The MDIO master of one board. A transaction is several register accesses with pauses, so nobody else may
/// use it at the same time: not while a plug-in resets or dumps this board, not from two threads.
class MdioMaster {
public:
    /// Nothing when the firmware lacks one of the registers. `board` must outlive it.
    static std::optional<MdioMaster> of(const Board& board);

    /// The content of a PHY register (IEEE 802.3 clause 22), nothing when the read fails; about 200 ms. The
    /// PHY of port p has the address p.
    std::optional<std::uint16_t> read(unsigned phy, unsigned phyRegister);

private:
    enum Register { PhyAddress, RegisterAddress, StartRead, ReadData, RegisterCount };

    explicit MdioMaster(const Board& board);

    const Board* board_;
    std::array<std::uint32_t, RegisterCount> addresses_{};
    std::optional<unsigned> selectedPhy_;
};

enum class Link { Down, Up, Unknown };

const char* textOf(Link link);

/// The link of a port as its PHY reports it now.
Link readLink(MdioMaster& mdio, unsigned port);

} // namespace orvo::host
