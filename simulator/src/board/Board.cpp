// SPDX-License-Identifier: MIT
// A board's registers, its FPGA and its power.
#include "board/Board.h"

#include "board/BoardFaults.h"
#include "board/Cabling.h"

#include <utility>

namespace orvo::sim {

namespace {

Port::Setup portSetup(const BoardConfiguration& board, unsigned number, BoardMemory& memory) {
    const std::uint32_t registers = number < board.ports ? board.profile->portRegisters(number) : 0;
    return {{board.index, number},       registers,
            board.receiveQueueWords,     board.actionQueueWords,
            &memory.page().port[number], {memory.window(number, 0), memory.window(number, 1)}};
}

/// The bits of a board register that the host can write.
constexpr std::uint64_t writableBits(Register written) noexcept {
    if (written == Register::GigE_Mdio) return 0xFFFF;
    if (written == Register::GigE_MdioRegAddr || written == Register::GigE_MdioPhyAddr) return 31;
    return written == Register::GigE_TxStart || written == Register::GigE_RxEnable ? 1 : 0;
}

} // namespace

Board::Board(const BoardConfiguration& configuration, bool isShared)
    : configuration_(configuration), memory_(configuration, isShared), condition_(memory_.page().troubles),
      handles_(*this, configuration.index), ports_{Port(portSetup(configuration, 0, memory_)),
                                                   Port(portSetup(configuration, 1, memory_)),
                                                   Port(portSetup(configuration, 2, memory_)),
                                                   Port(portSetup(configuration, 3, memory_))} {
    {
        const std::lock_guard lock(benchMutex);
        for (Port& port : ports()) {
            port.phy().setTimes(configuration.phyResetMs, configuration.negotiationMs);
            port.setLineRate(configuration.hasLineRate);
        }
        stored(Register::GigE_Reset) = allPorts; // PHYs power up by themselves, out of reset
        setEnables(true);                        // as a host that ran before left the board
    }
    if (configuration.cold) unloadFpga();
}

void Board::setPresent(bool present, SimTime since) noexcept {
    const std::lock_guard lock(benchMutex);
    if (present == isPresent()) return;
    condition_.set(Trouble::Gone, !present);
    for (Port& port : ports()) {
        if (present)
            port.phy().switchOn(since);
        else
            port.phy().switchOff();
        renegotiate(port);
    }
}

void Board::setScript(BoardFaults& script) {
    accessFaults_.setScript(script.accessRows());
    script_.store(&script, std::memory_order_release);
    condition_.set(Trouble::Script, true);
}

void Board::passScript() {
    if (!condition_.has(Trouble::Script)) return;
    BoardFaults* const present = script();
    present->pass();
    if (!present->isOver() || !accessFaults_.isSettled()) return;
    const std::lock_guard lock(benchMutex);
    if (script() == present) condition_.set(Trouble::Script, false); // accesses go their usual way again
}

int Board::configureFpga(const OrvoSimRegisterMap* applet) {
    passScript();
    if (!isPresent()) return OrvoSimHalBoardGone;
    if (const auto failure = accessFaults_.take(configurations)) return failure->result;
    if (applet != &firmware().map()) return OrvoSimHalNoApplet;
    condition_.set(Trouble::NoApplet, false);
    return 0;
}

void Board::unloadFpga() noexcept {
    const std::lock_guard lock(benchMutex);
    condition_.set(Trouble::NoApplet, true);
    setResetLines(0);
    setEnables(false);
}

int Board::refusal() const noexcept {
    if (condition_.has(Trouble::Gone)) return OrvoSimHalBoardGone;
    if (condition_.has(Trouble::NoApplet)) return OrvoSimHalNoApplet;
    return 0; // armed faults concern reads
}

/// Faults that are due wait until the host has written a whole frame.
int Board::writeTroubled(std::uint32_t address, std::uint64_t value) noexcept {
    const bool isInFrame = (address & ~portBits) == static_cast<std::uint32_t>(Register::GigeWriteData) ||
                           (address & ~portBits) == static_cast<std::uint32_t>(Register::GigeWriteComplete);
    if (!isInFrame) passScript();
    const int refused = refusal();
    if (BoardFaults* const rules = script()) rules->noteWrite(address, value, refused != 0);
    return refused != 0 ? refused : writeUsual(address, value);
}

int Board::writeUsual(std::uint32_t address, std::uint64_t value) noexcept {
    const std::uint32_t scope = address & ~(portBits | registerOffsets);
    const bool known = scope == portScope ? ports_[portOf(address)].writeRegister(address, value)
                                          : writeBoardRegister(address, value);
    return known ? 0 : OrvoSimHalNoRegister;
}

int Board::writeRegister(std::uint32_t address, std::uint64_t value) noexcept {
    return condition_.isGood() ? writeUsual(address, value) : writeTroubled(address, value);
}

void Board::transmitFrame(unsigned port, bool begins, std::span<const std::uint8_t> bytes,
                          std::size_t units) noexcept {
    const std::lock_guard turn(sending_[port]);
    ports_[port].transmitter().line().await(); // as the bus holds writes back
    if (condition_.isGood()) {
        ports_[port].transmitter().load(begins, bytes, units);
        ports_[port].transmitter().transmit();
        return;
    }
    const auto address = [port](Register base) {
        return static_cast<std::uint32_t>(base) | port << portShift;
    };
    if (begins) writeRegister(address(Register::GigeBufferReset), 0);
    for (std::size_t unit = 0; unit < units; ++unit) {
        const bool hasRoom = 2 * unit + 1 < bytes.size();
        const int pair = hasRoom ? bytes[2 * unit] | bytes[2 * unit + 1] << 8 : 0;
        writeRegister(address(Register::GigeWriteData), static_cast<std::uint64_t>(pair));
    }
    writeRegister(address(Register::GigeWriteComplete), 0);
}

void Board::loadFrame(unsigned port, bool begins, std::span<const std::uint8_t> bytes,
                      std::size_t units) noexcept {
    const std::lock_guard turn(sending_[port]);
    ports_[port].transmitter().load(begins, bytes, units);
}

/// The PHY address in the MDIO master; needed, and read, only where the result of an MDIO read is read.
std::uint64_t Board::selectedPhy(std::uint32_t address) {
    if (address != static_cast<std::uint32_t>(Register::MdioReadReg)) return 0;
    const std::lock_guard lock(benchMutex);
    return stored(Register::GigE_MdioPhyAddr);
}

int Board::readRegister(std::uint32_t address, std::uint64_t& value) {
    if (condition_.isGood()) return readUsual(address, value);
    passScript();
    if (const int refused = refusal(); refused != 0) return refused;
    const auto answer = accessFaults_.take(address, selectedPhy(address));
    if (!answer) return readUsual(address, value);
    if (answer->result == 0) value = answer->value;
    return answer->result;
}

bool Board::hasBoardRegister(std::uint32_t address) const noexcept {
    return (address & ~registerOffsets) == boardScope &&
           (firmware().boardRegisters() & registerBit(address)) != 0;
}

bool Board::writeBoardRegister(std::uint32_t address, std::uint64_t value) noexcept {
    if (!hasBoardRegister(address)) return false;
    const auto written = static_cast<Register>(address);
    const std::lock_guard lock(benchMutex);
    if (written == Register::GigE_Reset) {
        setResetLines(value & allPorts);
        return true;
    }
    if (const auto bits = writableBits(written); bits != 0) stored(written) = value & bits;
    if (written == Register::GigE_MdioRD) readPhy();
    if (written == Register::GigE_MdioWR) writePhy();
    if (written == Register::GigE_TxStart || written == Register::GigE_RxEnable) updateEnables();
    return true;
}

bool Board::readBoardRegister(std::uint32_t address, std::uint64_t& value) noexcept {
    if (!hasBoardRegister(address)) return false;
    const std::lock_guard lock(benchMutex);
    value = stored(static_cast<Register>(address)); // 0 where the register can only be written
    return true;
}

/// An MDIO transaction is complete when the write that starts it returns.
void Board::readPhy() noexcept {
    const auto phy = stored(Register::GigE_MdioPhyAddr);
    const auto number = static_cast<unsigned>(stored(Register::GigE_MdioRegAddr));
    stored(Register::MdioReadReg) =
        phy < ports().size() ? ports_[phy].phy().read(number, simClock.now()) : noPhyAnswers;
}

void Board::writePhy() noexcept {
    const auto phy = stored(Register::GigE_MdioPhyAddr);
    if (phy >= ports().size()) return;
    const auto number = static_cast<unsigned>(stored(Register::GigE_MdioRegAddr));
    const auto data = static_cast<std::uint16_t>(stored(Register::GigE_Mdio));
    if (ports_[phy].phy().write(number, data, simClock.now()))
        renegotiate(ports_[phy]);
    else
        ports_[phy].updateGate(); // the isolate bit may have changed
}

void Board::setResetLines(std::uint64_t lines) noexcept {
    const auto changed = std::exchange(stored(Register::GigE_Reset), lines) ^ lines;
    for (Port& port : ports()) {
        const unsigned bit = 1U << port.place().port;
        if ((changed & bit) == 0) continue;
        if ((lines & bit) != 0)
            port.phy().releaseReset(simClock.now());
        else
            port.phy().holdInReset();
        renegotiate(port);
    }
    updateEnables();
}

void Board::setEnables(bool on) noexcept {
    stored(Register::GigE_TxStart) = stored(Register::GigE_RxEnable) = on;
    updateEnables();
    for (Port& port : ports()) port.setTransmitterStart(on);
}

void Board::updateEnables() noexcept {
    for (Port& port : ports())
        port.setBoardEnables(stored(Register::GigE_TxStart) != 0, stored(Register::GigE_RxEnable) != 0,
                             (stored(Register::GigE_Reset) >> port.place().port & 1) != 0);
}

void Board::report(unsigned port, OrvoSimPort& out) {
    passScript();
    out.hasFaults = script() && !script()->isOver();
    const std::lock_guard lock(benchMutex);
    ports_[port].report(out, simClock.now());
    out.staleAccesses = staleAccesses_.value();
}

} // namespace orvo::sim
