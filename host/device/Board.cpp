// SPDX-License-Identifier: MIT
// Questions to a board's libraries.
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

std::uint32_t Board::serial() const {
    return number("board/serial");
}

std::uint32_t Board::type() const {
    return number("board/type");
}

std::string Board::name() const {
    return text("board/name");
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

// The result of a write says nothing about the board: what matters is what a later read gives.
void Board::write(std::uint32_t address, std::uint64_t value) const {
    libraries_->registerWrite(device_.get(), address, value);
}

std::optional<std::uint64_t> Board::lostWords(unsigned queue) const {
    const int words = libraries_->lostWords(device_.get(), queue);
    return words < 0 ? std::nullopt : std::optional<std::uint64_t>(static_cast<std::uint64_t>(words));
}

namespace {

void requireRegisters(const Board& board, const std::string& purpose, const std::vector<std::string>& names) {
    std::string missing;
    for (const auto& name : names)
        if (board.registerAddress(name) == 0) missing += (missing.empty() ? "" : ", ") + name;
    if (missing.empty()) return;
    throw Failure("firmware " + board.firmware() + " of board " + std::to_string(board.index()) + " cannot " +
                  purpose + ": it lacks the register(s) " + missing +
                  "; load a firmware with GigE ports or choose another --board or --port");
}

} // namespace

void requireFrameRegisters(const BoardLibraries& libraries, PortAddress address) {
    const auto board = Board::at(libraries, address.board);
    if (!board || address.port >= board->gigePorts()) return;
    const auto port = std::to_string(address.port);
    requireRegisters(*board, "send on port " + port,
                     {"GigeBufferReset" + port, "GigeWriteData" + port, "GigeWriteComplete" + port});
}

void requirePhyRegisters(const BoardLibraries& libraries, PortAddress address) {
    const auto board = Board::at(libraries, address.board);
    if (!board || address.port >= board->gigePorts()) return;
    requireRegisters(
        *board, "reach the PHY of port " + std::to_string(address.port),
        {"GigE_MdioPhyAddr", "GigE_MdioRegAddr", "GigE_Mdio", "GigE_MdioWR", "GigE_MdioRD", "MdioReadReg"});
}

} // namespace orvo::host
