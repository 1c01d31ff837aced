// SPDX-License-Identifier: MIT
// The one class that this plug-in offers to the framework: a GigE port of a frame-grabber board.
#pragma once

#include "logging/LogLine.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace orvo::core::zume {

struct PortCounterRow;
struct TransmitterReading;

/// Process-wide switch, false at load: lets every `receive` compare the firmware's receive error counter with
/// the value it saw last and report the difference. The host program sets it.
extern ORVO_EXPORT bool c_MONITOR_CRC_ERRORS;

/// Moves Ethernet frames through one GigE port of one board.
///
/// Order of calls: injections of "boardId" and "portId" (int) and, if wanted, "resetBoard" (std::string
/// "false"), then `setup`, `start`, traffic, `stop`, `waitForTermination`, destruction. Threads: one thread
/// calls `receive`; any number may call `addToSendQueue`, whose frames never mix; everything else may be
/// called by another thread at the same time, but injection, `setup` and destruction allow no other call.
/// Failures of the board end in the log, in counters and in results; only injection throws. Without memory,
/// construction, injection, sending, receiving, resets and reports pass std::bad_alloc, `setup` fails, and
/// everything else does its work, but may lose a message.
class OrvoGbePhysicalNetworkInterface : public PhysicalNetworkInterface {
public:
    class D; // all state

    OrvoGbePhysicalNetworkInterface();
    ~OrvoGbePhysicalNetworkInterface() override;

    /// Errors: AnyException when one of the three names above comes with a value of another type; nothing
    /// changes then.
    void injectDependency(const std::string& name, const boost::any& value) override;

    /// Null while there is no memory for one.
    tools::logging::Logger* logger() override;
    boost::shared_ptr<PhysicalNetworkInterfaceEventQueue> eventQueue() override;

    bool setup() override;
    void start() override;
    void stop() override;
    void waitForTermination() override;
    bool reinitialize(ReinitializationPhase phase) override;

    boost::shared_ptr<EthernetFrame> receive(bool* received) override;

    void addToSendQueue(boost::shared_ptr<EthernetFrame> frame) override;
    void transmitSendQueue() override;
    bool supportsCustomChecksum() const override;
    bool isCustomChecksumEnabled() const override;
    void enableCustomChecksum(bool enable) override;

    void forceReset() override;
    void triggerDebugOutput() override;

    /// One pass over the action command queue: reads at most one word, reports it, posts the event. Called by
    /// the leecher thread only; takes at most 100 ms, 100 ms more after a failed read, and as long as a
    /// full event queue makes it wait.
    void monitorActionCommandTimeoutEvents();

private:
    struct Reception;
    struct ActionReading;

    bool canBeSetUp();
    void prepareTraffic();
    void createLeecher();
    void reportFilledFifos();
    void readPreSendWaitTime();

    void watchCrcErrors();
    std::optional<std::uint64_t> readErrorCount(); // nothing without device or register
    bool readQueue(Reception& reception);          // false while the device is released
    void readTransmission(Reception& reception);
    void readFrameWords(Reception& reception, std::uint32_t requestedBytes);
    bool readWords(Reception& reception, std::uint32_t* words, std::uint32_t requestedBytes);
    bool needsLostWords(const Reception& reception);
    boost::shared_ptr<EthernetFrame> conclude(const Reception& reception);
    void noteReadError(const Reception& reception);
    void noteZeroSize(const Reception& reception);
    void noteMissingEnd(const Reception& reception);
    void noteWrongSize(const Reception& reception);
    boost::shared_ptr<EthernetFrame> makeFrame(std::uint32_t* words, std::uint32_t deliveredBytes);
    int lostWords(); // of the receive queue

    void sendFrame(const QByteArray& bytes, std::size_t frameBytes);
    void reportNoTurn(bool released, std::size_t frameBytes);
    void reportTransmitter(const TransmitterReading& transmitter);

    bool readActionCommand(ActionReading& reading); // false while the device is released
    void postActionCommandTimeout(std::uint16_t count);
    void reportActionCommandError(const ActionReading& reading);

    void logStatistics();
    void logCounter(const PortCounterRow& row);
    std::optional<std::uint64_t> readCounter(const PortCounterRow& row); // nothing without the register
    int finalLostWords();

    bool releaseDevice();
    bool closeGate();
    bool reopenDevice();

    void dumpText(const char* content);
    void dumpOwnDevice();
    void dumpAllDevices();
    bool dumpDevice(int index, void* other); // whether it has a serial number
    void dumpCounters();
    void dumpPhy();

    // Lines that begin with the interface prefix.
    tools::logging::LogLine detail();
    tools::logging::LogLine information();
    tools::logging::LogLine warning();
    tools::logging::LogLine error();
    tools::logging::LogLine line(tools::logging::LogLevel level);

    tools::logging::Logger* logger_ = nullptr; // not owned, fetched on first use
    boost::shared_ptr<D> d;                    // never null
};

} // namespace orvo::core::zume
