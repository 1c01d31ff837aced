// SPDX-License-Identifier: MIT
// A port's PHY, read over the board's MDIO master, and the link that it reports.
#pragma once

#include "device/Board.h"
#include "device/BoardAccess.h"

#include <array>
#include <cstdint>
#include <optional>

namespace orvo::host {

/// The MDIO master of one board. A transaction is several register accesses with pauses, so nobody else may
/// use it at the same time: neither a plug-in that resets or dumps this board, nor another thread.
class MdioMaster {
public:
    /// Nothing when there is no such board, or its firmware lacks one of the registers. The libraries must
    /// outlive it.
    static std::optional<MdioMaster> at(const BoardLibraries& libraries, unsigned index);

    /// The content of a PHY register (IEEE 802.3 clause 22), nothing when the read fails or no PHY answers;
    /// takes about 200 ms. The PHY of port p has the address p.
    std::optional<std::uint16_t> read(unsigned phy, unsigned phyRegister);

private:
    enum Register { PhyAddress, RegisterAddress, StartRead, ReadData, RegisterCount };

    explicit MdioMaster(Board board);

    Board board_;
    std::array<std::uint32_t, RegisterCount> addresses_{};
    std::optional<unsigned> selectedPhy_;
};

/// The PHY's status register and its link bit. The bit latches low: the first reading after a loss shows the
/// loss, the second one the present.
inline constexpr unsigned phyStatusRegister = 1;
inline constexpr bool hasLink(std::uint16_t status) {
    return (status & (1U << 2)) != 0;
}

enum class Link { Down, Up, Unknown };

/// "down", "up" or "unknown".
const char* linkText(Link link);

/// The link of a port as its PHY reports it now.
Link readLink(MdioMaster& mdio, unsigned port);

/// The same, for a board that nobody resets or dumps; takes half a second. Unknown where the firmware lacks
/// the MDIO registers.
Link readLink(const BoardAccess& access, PortAddress port);

/// Waits up to 10 s for a port's link; returns at once where the firmware lacks the MDIO registers. A real
/// board's PHY is read over MDIO, so the board must not be in a reset.
/// Errors: Failure when the link stays down; Interruption.
void waitForLink(const BoardAccess& access, PortAddress port);

/// As `waitForLink`, but false when the link stays down.
bool tryWaitForLink(const BoardAccess& access, PortAddress port);

} // namespace orvo::host
