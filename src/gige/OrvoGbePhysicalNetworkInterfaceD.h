// SPDX-License-Identifier: MIT
#pragma once

#include "gige/DeviceGate.h"
#include "gige/MdioRegisters.h"
#include "gige/OrvoGbePhysicalNetworkInterface.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceUiqLeecherThread.h"
#include "gige/WordBuffer.h"
#include "platform/Relaxed.h"

#include <cstdint>
#include <memory>
#include <mutex>

namespace orvo::core::zume {

template <class T> using Relaxed = templates::platform::Relaxed<T>;

constexpr std::uint32_t readLimitMs = 100;     // of one read from a queue
constexpr unsigned readErrorPauseUs = 100'000; // after a queue read that failed

/// State of one interface, shared by its paths. The fields stand in the order of the contract; what one path
/// writes for each frame shares no cache line with what another path uses.
///
/// Who writes: injection what it names; `setup` and `reinitialize` handles and addresses, the handles only
/// while the gate is closed or no traffic runs; each counter and report flag the one path that it belongs to.
/// `waitForTermination` and the report read what others write. `device` is used by traffic, resets and
/// reports only inside the gate; by `setup` and `close` while no other call runs.
/// Released in this order: leecher thread (joined if it runs), applet, device, event queue.
class OrvoGbePhysicalNetworkInterface::D {
public:
    D();
    ~D();
    D(const D&) = delete;
    D& operator=(const D&) = delete;

    /// Opens the board and makes the applet ready; false when the board cannot be used, with `device` null
    /// then. `id` is the interface's, for messages.
    bool openPhysicalDevice(const std::string& id);

    /// Undoes `setup`: joins and deletes the leecher thread, unloads the applet, frees the device.
    void close();

    /// Resets the ports whose bit is set in `portMask` (bits 0 to 3). Without `force` it does so once for
    /// each board, and starts the board's transmitters and receivers too. Takes at least 1.1 s a port; resets
    /// and reports of one board wait for each other.
    void executeBoardReset(int portMask, bool force);

    /// "0x9140 [ 1001_0001_0100_0000 ] " for 0x9140.
    static std::string phyContentToString(unsigned short value);

    /// Null while there is no memory for one. The first call asks the dispatcher: hold no lock then.
    tools::logging::Logger* logger();
    tools::logging::LogLine line(tools::logging::LogLevel level);
    tools::logging::LogLine line(tools::logging::LogLevel level, const std::string& id);

    std::uint32_t actionCommandQueue() const { return portId + 8; }

private:
    tools::logging::Logger* logger_ = nullptr; // not owned, fetched on first use

public:
    MdioRegisters mdio;
    std::uint32_t regGigeReset = 0;

    // As injected.
    std::uint32_t boardId = 0; // board index of the hardware access layer
    std::uint32_t portId = 0;  // port, and its receive queue
    bool resetBoard = true;

    Relaxed<bool> customChecksumEnabled = false;
    std::uint32_t preSendWaitTime = 0; // milliseconds

    // Owned handles; null while there is none.
    void* device = nullptr;
    void* applet = nullptr;

    // Whether the current run of read errors, zero size words or action command anomalies has been reported.
    alignas(64) bool recvErrorReported = false;
    bool zeroSizeReported = false;
    bool actionCmdErrorReported = false;

    // Firmware register addresses of this port, 0 where the firmware lacks one.
    alignas(64) Relaxed<std::uint32_t> regGigeBufferReset;
    Relaxed<std::uint32_t> regGigeWriteData;
    Relaxed<std::uint32_t> regGigeWriteComplete;
    Relaxed<std::uint32_t> regGigeTxTransferActive;
    Relaxed<std::uint32_t> regGigeTxDisableCrcGeneration;
    Relaxed<std::uint32_t> regGigeRecvPktCnt;
    Relaxed<std::uint32_t> regGigeRecvErrCnt;
    Relaxed<std::uint32_t> regCtrlPktReceivedCnt;
    Relaxed<std::uint32_t> regCtrlPktSendUiqCnt;
    Relaxed<std::uint32_t> regGvspFifoOverflow;
    Relaxed<std::uint32_t> regGvcpFifoNotEmpty;

    alignas(64) Relaxed<std::uint64_t> sentFrames;
    Relaxed<std::uint64_t> sentBytes;

    alignas(64) Relaxed<std::uint64_t> receivedFrames;
    Relaxed<std::uint64_t> receivedBytes;
    Relaxed<std::uint64_t> zeroSizeTransmissions;
    Relaxed<std::uint64_t> invalidEots;
    Relaxed<std::uint64_t> invalidTransmissionSizes;
    Relaxed<std::uint64_t> uiqReadErrors;

    // Firmware counters as `setup` found them; the two FIFO values are read anew by the termination
    // statistics, `lastRecvErrCnt` by the CRC watch.
    Relaxed<std::uint64_t> initialRecvPktCnt;
    Relaxed<std::uint64_t> initialRecvErrCnt;
    std::uint64_t lastRecvErrCnt = 0;
    Relaxed<std::uint64_t> initialCtrlPktReceivedCnt;
    Relaxed<std::uint64_t> initialCtrlPktSendUiqCnt;
    Relaxed<std::uint64_t> initialGvspFifoOverflow;
    Relaxed<std::uint64_t> initialGvcpFifoNotEmpty;

    std::unique_ptr<OrvoGbePhysicalNetworkInterfaceUiqLeecherThread> uiqLeecherThread;
    bool actionCommandsSupported = false; // the firmware has the port's ActionCmdConfigData
    boost::shared_ptr<PhysicalNetworkInterfaceEventQueue> eventQueue;

    // Of this implementation alone.
    bool wasSetUp = false; // stays true, also when a reopening fails
    WordBuffer receivedWords;
    DeviceGate gate;
    std::mutex reinitializing;    // one phase at a time
    std::mutex switchingChecksum; // its register and its flag change together

private:
    bool refuseDevice();
    bool checkBoard(const std::string& id);
    bool loadApplet(const std::string& id);
    bool configureFpga(const std::string& id);
    void resetPort(unsigned port, bool force, int driverClassMask);
    void awaitPhyReset(unsigned port, std::uint16_t control);
    void startBoard();
};

using PortState = OrvoGbePhysicalNetworkInterface::D;

} // namespace orvo::core::zume
