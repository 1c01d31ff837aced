// SPDX-License-Identifier: MIT
// One simulated frame-grabber board: what the host reaches through a device handle.
#pragma once

#include "board/BoardMemory.h"
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
inline constexpr int queueNotReady = -2199;            // never leaves the library

/// Threads: any, except that one thread reads a queue and one writes a port's transmit buffer. Errors are
/// OrvoSimHalError codes.
class Board {
public:
    /// The configuration's firmware must outlive the board. No port is cabled yet.
    /// Throws std::system_error where there is no memory to share with other processes.
    explicit Board(const BoardConfiguration& configuration, bool isShared = false);

    const BoardConfiguration& configuration() const noexcept { return configuration_; }
    const FirmwareProfile& firmware() const noexcept { return *configuration_.profile; }
    /// As many as the configuration says.
    std::span<Port> ports() noexcept { return std::span(ports_).first(configuration_.ports); }
    BoardMemory& memory() noexcept { return memory_; }
    DeviceHandles& handles() noexcept { return handles_; }
    AccessFaults& accessFaults() noexcept { return accessFaults_; }

    /// The part of the fault script that concerns this board; null before the first script. Never destroyed.
    BoardFaults* script() const noexcept { return script_.load(std::memory_order_acquire); }
    void setScript(BoardFaults& script);
    /// Lets the script begin and end what is due, and forgets one that is over. Called at accesses of the
    /// host, without the bench mutex.
    void passScript();

    /// 0, or why the host cannot reach the board's firmware.
    int refusal() const noexcept;
    bool isPresent() const noexcept { return !condition_.has(Trouble::Gone); }
    /// Removes the board or puts it back; `since` is now, or a moment in the past.
    void setPresent(bool present, SimTime since) noexcept;

    /// Loads the applet with these registers into the FPGA; does nothing when it is loaded already.
    int configureFpga(const OrvoSimRegisterMap* applet);
    /// Empties the FPGA, which holds the PHYs in reset.
    void unloadFpga() noexcept;

    /// The fast path of `writeRegister`: appends 16 bits to the frame in a port's transmit buffer. False,
    /// with nothing done, when the write is another one or the board is in trouble.
    bool appendToFrame(std::uint32_t address, std::uint64_t value) noexcept {
        if ((address & ~portBits) != static_cast<std::uint32_t>(Register::GigeWriteData) ||
            !condition_.isGood()) [[unlikely]]
            return false;
        return ports_[portOf(address)].appendToFrame(value);
    }
    /// The writes of a whole frame by another program, which appended `units` to the transmit buffer, emptied
    /// before if it `begins` one; `bytes` are those that have room in it. Any thread.
    void transmitFrame(unsigned port, bool begins, std::span<const std::uint8_t> bytes,
                       std::size_t units) noexcept;
    /// The same for a frame that it did not complete.
    void loadFrame(unsigned port, bool begins, std::span<const std::uint8_t> bytes,
                   std::size_t units) noexcept;
    int writeRegister(std::uint32_t address, std::uint64_t value) noexcept;
    int readRegister(std::uint32_t address, std::uint64_t& value);

    /// Queue 0 to 3: received frames of that port. Queue 8 to 11: action command reports of port 0 to 3. Null
    /// for any other number.
    DataQueue* queue(unsigned number) noexcept;
    /// 0, or an error. Threads: `readQueue` is the queue's reader's.
    int clearQueue(unsigned number);
    int readQueue(unsigned number, std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs);
    /// The same for a reader in another process, which waits there: `queueNotReady`, with nothing taken,
    /// while the queue holds less than asked for and there is time left.
    int readQueueBriefly(unsigned number, std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs);

    void countStaleAccess() noexcept { staleAccesses_.add(1); }
    /// Fills in the counters and state of a port that the board has.
    void report(unsigned port, OrvoSimPort& out);

private:
    enum class Waiting { Here, Elsewhere };
    std::size_t fetchWords(DataQueue& source, unsigned number, std::uint32_t* out, std::size_t words,
                           std::uint32_t timeoutMs);
    bool isReady(const DataQueue& source, unsigned number, std::size_t words, std::uint32_t timeoutMs);
    int reported(unsigned number, int bytes);
    int readTroubled(DataQueue& source, unsigned number, std::uint32_t* out, std::size_t words,
                     std::uint32_t timeoutMs, Waiting waiting);
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
    BoardMemory memory_;
    BoardCondition condition_;
    AccessFaults accessFaults_{condition_};
    std::atomic<BoardFaults*> script_{nullptr};
    DeviceHandles handles_;
    SharedCounter staleAccesses_;
    std::array<Port, maxPorts> ports_;
    std::array<std::mutex, maxPorts> sending_; // frames of other programs, one at a time

    std::array<std::uint64_t, registerOffsets / 4 + 1> boardRegisters_{}; // under the bench mutex
};

inline int Board::readUsual(std::uint32_t address, std::uint64_t& value) noexcept {
    const std::uint32_t scope = address & ~(portBits | registerOffsets);
    const bool known = scope == portScope ? ports_[portOf(address)].readRegister(address, value)
                                          : readBoardRegister(address, value);
    return known ? 0 : OrvoSimHalNoRegister;
}

} // namespace orvo::sim
