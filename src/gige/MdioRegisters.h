// SPDX-License-Identifier: MIT
// The MDIO bus to a board's PHYs, driven through the firmware's registers.
#pragma once

#include <cstdint>
#include <optional>

namespace orvo::core::zume {

/// The board's MDIO master (IEEE 802.3 clause 22 frames). One serves all ports: its transactions span several
/// register accesses, so the users of one board take turns
/// (OrvoGbePhysicalNetworkInterfaceStatics::boardSequence).
///
/// Paced by fixed sleeps, since the firmware's master has no status register. Accesses to registers that the
/// firmware lacks are left out; the sleeps stay, and reads fail. Results of writes are not examined: a
/// sequence would go on the same way after a failed one.
class MdioRegisters {
public:
    /// Looks the registers up in an applet's map.
    void resolve(void* applet);

    /// Selects the PHY of the following transactions; the PHY of port p has the address p. Takes 100 ms.
    void selectPhy(void* device, std::uint32_t phyAddress) const;

    /// Takes 100 ms.
    void write(void* device, std::uint32_t phyRegister, std::uint16_t value) const;

    /// The register's content, nothing when the read failed. Takes 100 ms.
    std::optional<std::uint16_t> read(void* device, std::uint32_t phyRegister) const;

private:
    std::uint32_t regMdioRd_ = 0;
    std::uint32_t regMdioWr_ = 0;
    std::uint32_t regMdioData_ = 0;
    std::uint32_t regMdioRegAddr_ = 0;
    std::uint32_t regMdioPhyAddr_ = 0;
    std::uint32_t regMdioReadReg_ = 0;
};

} // namespace orvo::core::zume
