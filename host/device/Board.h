// SPDX-License-Identifier: MIT
// One board, looked at beside the plug-in: what it is, which registers its firmware has, and its PHYs.
#pragma once

#include "device/BoardLibraries.h"
#include "device/PortAddress.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace orvo::host {

/// A board's temporary handle and its firmware's register map. The libraries must outlive it. One thread at a
/// time.
class Board {
public:
    static constexpr unsigned indexLimit = 32; ///< boards have indices below

    /// Nothing when there is no board of this index.
    static std::optional<Board> at(const BoardLibraries& libraries, unsigned index);

    unsigned index() const noexcept { return index_; }
    std::uint32_t serial() const;
    std::uint32_t type() const;
    std::string name() const;
    std::string firmware() const; ///< "MAJOR.MINOR"
    unsigned gigePorts() const;   ///< 0 on a board without GigE interface

    /// The address of a register, 0 when the firmware lacks it or there is no register map for the firmware.
    std::uint32_t registerAddress(const std::string& registerName) const;

    std::optional<std::uint64_t> read(std::uint32_t address) const;
    void write(std::uint32_t address, std::uint64_t value) const;

    /// Words that a data queue dropped; nothing when that is not to be had.
    std::optional<std::uint64_t> lostWords(unsigned queue) const;

private:
    using Handle = std::unique_ptr<void, int (*)(void*)>;

    Board(const BoardLibraries& libraries, unsigned index, Handle device);
    unsigned number(const char* key) const;
    std::string text(const char* key) const;

    const BoardLibraries* libraries_;
    unsigned index_;
    Handle device_;
    Handle applet_; // null when there is no register map for the firmware's version
};

/// The registers that sending through a port, or reaching its PHY, cannot do without.
/// Errors: Failure naming those that the firmware lacks. A board or port that is not there passes: the
/// plug-in tells.
void requireFrameRegisters(const BoardLibraries& libraries, PortAddress address);
void requirePhyRegisters(const BoardLibraries& libraries, PortAddress address);

} // namespace orvo::host
