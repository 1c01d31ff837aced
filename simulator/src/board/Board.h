// SPDX-License-Identifier: MIT
// One simulated frame-grabber board: what the host reaches through a device handle.
#pragma once

#include "board/DeviceHandles.h"
#include "board/Port.h"
#include "config/Configuration.h"
#include "faults/AccessFaults.h"
#include "faults/BoardCondition.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <span>

namespace orvo::sim {

class BoardFaults;

inline constexpr unsigned allPorts = (1U << maxPorts) - 1;
inline constexpr std::uint32_t registerOffsets = 0x7C; // see registerBit
inline constexpr unsigned firstActionQueue = 8;

/// Threads: everything from any, except that a queue is read by one thread and a port's transmit buffer
/// written by one. Errors are OrvoSimHalError codes.
class Board {
public:
    /// The configuration's firmware must outlive the board. No port is cabled yet.
    explicit Board(const BoardConfiguration& configuration);

    const BoardConfiguration& configuration() const noexcept { return configuration_; }
    const FirmwareProfile& firmware() const noexcept { return *configuration_.profile; }
    /// The ports that the board has.
    std::span<Port> ports() noexcept { return std::span(ports_).first(configuration_.ports); }
    DeviceHandles& handles() noexcept { return handles_; }
    AccessFaults& accessFaults() noexcept { return accessFaults_; }

    /// What a fault script says about this board; null: there is none. Stays valid for good.
    BoardFaults* script() const noexcept { return script_.load(std::memory_order_acquire); }
    void setScript(BoardFaults& script);
    /// Lets the script do what is due. At the host's accesses, without the bench mutex.
    void passScript();

    /// 0, or why the host cannot reach the board's firmware.
    int refusal() const noexcept;
    bool isPresent() const noexcept { return !condition_.has(Trouble::Gone); }
    /// From this moment on, or since a moment that has passed.
    void setPresent(bool present, SimTime since) noexcept;

    /// Puts the applet of these registers into the FPGA; one that is there already is left alone.
    int configureFpga(const OrvoSimRegisterMap* applet);
    /// The FPGA is empty then, and the PHYs are in reset.
    void unloadFpga() noexcept;

    /// Appends 16 bits to the frame in a port's transmit buffer: the access that a frame consists of. False
    /// when it is another one, or not a usual one; `writeRegister` takes any.
    bool appendToFrame(std::uint32_t address, std::uint64_t value) noexcept {
        if ((address & ~portBits) != static_cast<std::uint32_t>(Register::GigeWriteData) ||
            !condition_.isGood()) [[unlikely]]
            return false;
        return ports_[portOf(address)].appendToFrame(value);
    }
    int writeRegister(std::uint32_t address, std::uint64_t value) noexcept;
    int readRegister(std::uint32_t address, std::uint64_t& value);

    /// Queue 0 to 3 holds the received frames of that port, 8 to 11 the action command reports of port queue
    /// - 8; null for any other.
    DataQueue* queue(unsigned number) noexcept;
    /// 0, or why not.
    int clearQueue(unsigned number);
    int readQueue(unsigned number, std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs);

    void countStaleAccess() noexcept { staleAccesses_.add(1); }
    /// What a port, which the board must have, did.
    void report(unsigned port, OrvoSimPort& out);

private:
    std::size_t fetchWords(DataQueue& source, unsigned number, std::uint32_t* out, std::size_t words,
                           std::uint32_t timeoutMs);
    int reported(unsigned number, int bytes);
    int readTroubled(DataQueue& source, unsigned number, std::uint32_t* out, std::size_t words,
                     std::uint32_t timeoutMs);
    std::uint64_t selectedPhy(std::uint32_t address);
    int writeTroubled(std::uint32_t address, std::uint64_t value) noexcept;
    int writeUsual(std::uint32_t address, std::uint64_t value) noexcept;
    int readUsual(std::uint32_t address, std::uint64_t& value) noexcept;
    bool writeBoardRegister(std::uint32_t address, std::uint64_t value) noexcept;
    bool readBoardRegister(std::uint32_t address, std::uint64_t& value) noexcept;
    bool hasBoardRegister(std::uint32_t address) const noexcept;
    void readPhy() noexcept;
    void writePhy() noexcept;
    void setResetLines(std::uint64_t lines) noexcept;
    void setEnables(bool on) noexcept;
    void updateEnables() noexcept;
    std::uint64_t& stored(Register of) noexcept {
        return boardRegisters_[(static_cast<std::uint32_t>(of) & registerOffsets) / 4];
    }

    const BoardConfiguration configuration_;
    BoardCondition condition_;
    AccessFaults accessFaults_{condition_};
    std::atomic<BoardFaults*> script_{nullptr};
    DeviceHandles handles_;
    SharedCounter staleAccesses_;
    std::array<Port, maxPorts> ports_;

    std::array<std::uint64_t, registerOffsets / 4 + 1> boardRegisters_{}; // under the bench mutex
};

inline int Board::readUsual(std::uint32_t address, std::uint64_t& value) noexcept {
    const std::uint32_t scope = address & ~(portBits | registerOffsets);
    const bool known = scope == portScope ? ports_[portOf(address)].readRegister(address, value)
                                          : readBoardRegister(address, value);
    return known ? 0 : OrvoSimHalNoRegister;
}

} // namespace orvo::sim
