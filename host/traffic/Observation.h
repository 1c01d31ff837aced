// SPDX-License-Identifier: MIT
// What happens at a port while it is diagnosed, and for some time after.
#pragma once

#include "device/BoardAccess.h"
#include "inspect/diagnosis/Findings.h"
#include "inspect/report/RunLog.h"
#include "inspect/watch/PortTrack.h"
#include "traffic/FrameReceiver.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace orvo::host {

class Sampler;

/// Reads a port's counters on a thread of its own, keeps the log, and records what the port receives. Until
/// then, frames are taken from the port and dropped: they would fill its queue, and show as losses.
class Observation {
public:
    /// The log begins. What the port receives goes into `captureFile`, unless that is empty. The session must
    /// outlive it.
    Observation(const BoardAccess& session, PortAddress port, std::chrono::duration<double> time,
                std::string captureFile);
    ~Observation();
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;

    /// The receiver, the port's and nobody's before, starts; counters are read from now on. Errors: Failure
    /// when the board is not there.
    void begin(FrameReceiver& receiver);

    /// After the diagnosis: goes on for the time that was asked for. The receiver ends, before the record
    /// begins where there is one. Errors: Interruption; Failure when the record cannot be written.
    void goOn(core::zume::PhysicalNetworkInterface& port, FrameReceiver& receiver);

    /// After `goOn`: readings, what is wrong by them, frames taken from the port, messages.
    const PortTrack& track() const noexcept { return track_; }
    std::vector<Finding> findings() const;
    std::uint64_t receivedFrames() const noexcept { return receivedFrames_; }
    std::vector<LoggedMessage> takeLog() { return runLog_.take(); }

private:
    void read(const std::stop_token& stop);
    void readOnce(double seconds);
    void record(core::zume::PhysicalNetworkInterface& port, FrameReceiver& receiver);
    void endReading();

    const BoardAccess& session_;
    const PortAddress port_;
    const std::chrono::duration<double> time_;
    const std::chrono::duration<double> interval_;
    const std::string captureFile_; // empty: nothing is recorded
    std::uint64_t receivedFrames_ = 0;
    const PluginLog log_;
    RunLog runLog_;
    std::unique_ptr<Sampler> sampler_;
    PortTrack track_;     // the thread's, while there is one
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
