// SPDX-License-Identifier: MIT
// One board, accessed directly, without the plug-in: its description and its registers.
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
    static constexpr unsigned indexLimit = 32; ///< board indices are below

    /// Nothing when there is no board of this index.
    static std::optional<Board> at(const BoardLibraries& libraries, unsigned index);

    unsigned index() const noexcept { return index_; }
    std::uint32_t serial() const { return number("board/serial"); }
    std::uint32_t type() const { return number("board/type"); }
    std::string name() const { return text("board/name"); }
    std::string firmware() const; ///< "MAJOR.MINOR"
    unsigned gigePorts() const;   ///< 0 on a board without GigE interface

    /// A register's address; 0 when the firmware lacks it or the installation has no register map for it.
    std::uint32_t registerAddress(const std::string& registerName) const;

    std::optional<std::uint64_t> read(std::uint32_t address) const;
    void write(std::uint32_t address, std::uint64_t value) const;

    /// Words that a data queue dropped; nothing when the board does not tell.
    std::optional<std::uint64_t> lostWords(unsigned queue) const;

private:
    using Handle = std::unique_ptr<void, int (*)(void*)>;

    Board(const BoardLibraries& libraries, unsigned index, Handle device);
    unsigned number(const char* key) const;
    std::string text(const char* key) const;

    const BoardLibraries* libraries_;
    unsigned index_;
    Handle device_;
    Handle applet_; // null when the installation has no register map for the firmware's version
};

/// Checks for the registers that sending on a port, or reading and writing its PHY, needs.
/// Errors: Failure naming those that the firmware lacks. A board or port that does not exist passes: the
/// plug-in reports it.
void requireFrameRegisters(const BoardLibraries& libraries, PortAddress address);
/// The register that leaves the frame check sequence to the host.
void requireChecksumRegister(const BoardLibraries& libraries, PortAddress address);
void requirePhyRegisters(const BoardLibraries& libraries, PortAddress address);

} // namespace orvo::host
