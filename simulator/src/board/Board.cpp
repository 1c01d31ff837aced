// SPDX-License-Identifier: MIT
// A board's registers, its FPGA and its power.
#include "board/Board.h"

#include "board/BoardFaults.h"
#include "board/Cabling.h"

#include <algorithm>

namespace orvo::sim {

namespace {

Port::Setup portSetup(const BoardConfiguration& board, const FirmwareProfile& firmware, unsigned number) {
    const std::uint32_t registers = number < board.ports ? firmware.portRegisters(number) : 0;
    return {{board.index, number}, registers, board.receiveQueueWords, board.actionQueueWords};
}

} // namespace

Board::Board(const BoardConfiguration& configuration, const FirmwareProfile& firmware)
    : configuration_(configuration), firmware_(firmware),
      handles_(*this, configuration.index), ports_{Port(portSetup(configuration, firmware, 0)),
                                                   Port(portSetup(configuration, firmware, 1)),
                                                   Port(portSetup(configuration, firmware, 2)),
                                                   Port(portSetup(configuration, firmware, 3))},
      mdio_(ports()) {
    {
        const std::lock_guard lock(benchMutex);
        for (Port& port : ports()) port.phy().setTimes(configuration.phyResetMs, configuration.negotiationMs);
    }
    if (configuration.cold)
        unloadFpga();
    else
        start();
}

/// As a host that ran before left it: everything on, and the PHYs, which power up by themselves, out of
/// reset.
void Board::start() noexcept {
    const std::lock_guard lock(benchMutex);
    setEnables(true, true);
    for (Port& port : ports()) port.setTransmitterStart(true);
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
    if (condition_.has(Trouble::Script)) script()->pass();
}

int Board::configureFpga(const OrvoSimRegisterMap* applet) {
    passScript();
    if (!isPresent()) return OrvoSimHalBoardGone;
    if (const auto failure = accessFaults_.take(configurations)) return failure->result;
    if (applet != &firmware_.map()) return OrvoSimHalNoApplet;
    condition_.set(Trouble::NoApplet, false);
    return 0;
}

void Board::unloadFpga() noexcept {
    const std::lock_guard lock(benchMutex);
    condition_.set(Trouble::NoApplet, true);
    setResetLines(0);
    setEnables(false, false);
    for (Port& port : ports()) port.setTransmitterStart(false);
}

int Board::refusal() const noexcept {
    if (condition_.has(Trouble::Gone)) return OrvoSimHalBoardGone;
    if (condition_.has(Trouble::NoApplet)) return OrvoSimHalNoApplet;
    return 0; // faults concern reads
}

/// Between the words of a frame nothing happens.
int Board::writeTroubled(std::uint32_t address, std::uint64_t value) noexcept {
    const bool isInFrame = (address & ~portBits) == static_cast<std::uint32_t>(Register::GigeWriteData) ||
                           (address & ~portBits) == static_cast<std::uint32_t>(Register::GigeWriteComplete);
    if (!isInFrame) passScript();
    const int refused = refusal();
    if (condition_.has(Trouble::Script)) script()->noteWrite(address, value, refused != 0);
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

/// Of interest where the register is the result of an MDIO read.
std::uint64_t Board::selectedPhy(std::uint32_t address) {
    if (address != static_cast<std::uint32_t>(Register::MdioReadReg)) return 0;
    const std::lock_guard lock(benchMutex);
    return mdio_.phyAddress();
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

bool Board::writeBoardRegister(std::uint32_t address, std::uint64_t value) noexcept {
    const std::uint32_t scope = address & ~registerOffsets;
    if (scope != boardScope || (firmware_.boardRegisters() & registerBit(address)) == 0) return false;
    const std::lock_guard lock(benchMutex);
    switch (static_cast<Register>(address)) {
    case Register::GigE_MdioRD:
        mdio_.read();
        break;
    case Register::GigE_MdioWR:
        mdio_.write();
        break;
    case Register::GigE_Mdio:
        mdio_.setData(value);
        break;
    case Register::GigE_MdioRegAddr:
        mdio_.selectRegister(value);
        break;
    case Register::GigE_MdioPhyAddr:
        mdio_.selectPhy(value);
        break;
    case Register::GigE_Reset:
        setResetLines(static_cast<unsigned>(value));
        break;
    case Register::GigE_TxStart:
        setEnables((value & 1) != 0, receivers_);
        break;
    case Register::GigE_RxEnable:
        setEnables(transmitters_, (value & 1) != 0);
        break;
    default:
        break; // the rest can only be read
    }
    return true;
}

bool Board::readBoardRegister(std::uint32_t address, std::uint64_t& value) noexcept {
    const std::uint32_t scope = address & ~registerOffsets;
    if (scope != boardScope || (firmware_.boardRegisters() & registerBit(address)) == 0) return false;
    const std::lock_guard lock(benchMutex);
    switch (static_cast<Register>(address)) {
    case Register::MdioReadReg:
        value = mdio_.result();
        break;
    case Register::GigE_Mdio:
        value = mdio_.data();
        break;
    case Register::GigE_MdioRegAddr:
        value = mdio_.phyRegister();
        break;
    case Register::GigE_MdioPhyAddr:
        value = mdio_.phyAddress();
        break;
    case Register::GigE_Reset:
        value = resetLines_;
        break;
    case Register::GigE_TxStart:
        value = transmitters_;
        break;
    case Register::GigE_RxEnable:
        value = receivers_;
        break;
    default:
        value = 0; // the rest can only be written
    }
    return true;
}

void Board::setResetLines(unsigned lines) noexcept {
    const unsigned changed = (lines ^ resetLines_) & allPorts;
    resetLines_ = lines & allPorts;
    for (Port& port : ports()) {
        const unsigned bit = 1U << port.place().port;
        if ((changed & bit) == 0) continue;
        if ((resetLines_ & bit) != 0)
            port.phy().releaseReset(simClock.now());
        else
            port.phy().holdInReset();
        renegotiate(port);
    }
    setEnables(transmitters_, receivers_);
}

void Board::setEnables(bool transmitters, bool receivers) noexcept {
    transmitters_ = transmitters;
    receivers_ = receivers;
    for (Port& port : ports())
        port.setBoardEnables(transmitters, receivers, (resetLines_ & 1U << port.place().port) != 0);
}

void Board::report(unsigned port, OrvoSimPort& out) {
    passScript();
    const std::lock_guard lock(benchMutex);
    ports_[port].report(out, simClock.now());
    out.staleAccesses = staleAccesses_.value();
}

} // namespace orvo::sim
