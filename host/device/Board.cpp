// SPDX-License-Identifier: MIT
#include "device/Board.h"

#include "base/Failure.h"

#include <vector>

namespace orvo::host {

std::optional<Board> Board::at(const BoardLibraries& libraries, unsigned index) {
    if (index >= indexLimit) return std::nullopt;
    Handle device(libraries.getDevice(static_cast<int>(index)), libraries.putDevice);
    if (!device) return std::nullopt;
    return Board(libraries, index, std::move(device));
}

Board::Board(const BoardLibraries& libraries, unsigned index, Handle device)
    : libraries_(&libraries), index_(index), device_(std::move(device)),
      applet_(libraries.loadApplet(number("firmware/major") & 0xFF, number("firmware/minor") & 0xFF),
              libraries.unloadApplet) {}

unsigned Board::number(const char* key) const {
    return static_cast<unsigned>(libraries_->getBoardInfoInt(device_.get(), key));
}

std::string Board::text(const char* key) const {
    const char* found = libraries_->getBoardInfoString(device_.get(), key);
    return found ? found : "";
}

std::string Board::firmware() const {
    return std::to_string(number("firmware/major")) + "." + std::to_string(number("firmware/minor"));
}

unsigned Board::gigePorts() const {
    return text("board/caminterface") == "GigE" ? number("ports/gige") : 0;
}

std::uint32_t Board::registerAddress(const std::string& registerName) const {
    if (!applet_) return 0;
    return static_cast<std::uint32_t>(libraries_->getRegisterByName(applet_.get(), registerName.c_str()));
}

std::optional<std::uint64_t> Board::read(std::uint32_t address) const {
    std::uint64_t value = 0;
    if (libraries_->registerRead(device_.get(), address, &value) != 0) return std::nullopt;
    return value;
}

// The result of a write is ignored: only a later read shows what the board did.
void Board::write(std::uint32_t address, std::uint64_t value) const {
    libraries_->registerWrite(device_.get(), address, value);
}

std::optional<std::uint64_t> Board::lostWords(unsigned queue) const {
    const int words = libraries_->lostWords(device_.get(), queue);
    return words < 0 ? std::nullopt : std::optional<std::uint64_t>(static_cast<std::uint64_t>(words));
}

namespace {

constexpr auto otherPort = "load a firmware with GigE ports or choose another --board or --port";

/// Errors: Failure naming the registers that the port's board lacks; `purpose` is "VERB ...", the port
/// follows.
void requireRegisters(const BoardLibraries& libraries, PortAddress address, const std::string& purpose,
                      const std::vector<std::string>& names, const std::string& advice = otherPort) {
    const auto board = Board::at(libraries, address.board);
    if (!board || address.port >= board->gigePorts()) return;
    std::string missing;
    for (const auto& name : names)
        if (board->registerAddress(name) == 0) missing += (missing.empty() ? "" : ", ") + name;
    if (missing.empty()) return;
    throw Failure("firmware " + board->firmware() + " of board " + std::to_string(address.board) +
                  " cannot " + purpose + " port " + std::to_string(address.port) +
                  ": it lacks the register(s) " + missing + "; " + advice);
}

} // namespace

void requireFrameRegisters(const BoardLibraries& libraries, PortAddress address) {
    const auto port = std::to_string(address.port);
    requireRegisters(libraries, address, "send on",
                     {"GigeBufferReset" + port, "GigeWriteData" + port, "GigeWriteComplete" + port});
}

void requireChecksumRegister(const BoardLibraries& libraries, PortAddress address) {
    requireRegisters(libraries, address, "take check sequences from the host at",
                     {"GigeTxDisableCrcGeneration" + std::to_string(address.port)},
                     "leave --fcs and --bad-fcs out, or choose another --board or --port");
}

void requirePhyRegisters(const BoardLibraries& libraries, PortAddress address) {
    requireRegisters(
        libraries, address, "reach the PHY of",
        {"GigE_MdioPhyAddr", "GigE_MdioRegAddr", "GigE_Mdio", "GigE_MdioWR", "GigE_MdioRD", "MdioReadReg"});
}

} // namespace orvo::host
