// SPDX-License-Identifier: MIT
// Counters, messages and frames of a port during a diagnosis and for some time after it.
#pragma once

#include "device/BoardAccess.h"
#include "device/PluginLog.h"
#include "inspect/diagnosis/Findings.h"
#include "inspect/streams/ImageHistory.h"
#include "inspect/watch/PortHistory.h"
#include "traffic/FrameReceiver.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace orvo::host {

class Sampler;

/// Reads a port's counters on a thread of its own, keeps the plug-in's messages, follows the streams of
/// cameras, and records what the port receives. During the diagnosis itself, frames are taken from the port
/// and dropped: a full queue would show as loss.
class Observation {
public:
    /// Keeps messages from now on. What the port receives later goes into `captureFile`, unless that is
    /// empty. `access` must outlive the observation.
    Observation(const BoardAccess& access, PortAddress port, std::chrono::duration<double> time,
                std::string captureFile);
    ~Observation();

    /// Starts the port's receiver and the reading of counters. Errors: Failure when the board is not there.
    void begin(FrameReceiver& receiver);

    /// After the diagnosis: ends the receiver, and goes on for the time given to the constructor. Errors:
    /// Interruption; Failure when the recording cannot be written.
    void goOn(core::zume::PhysicalNetworkInterface& port, FrameReceiver& receiver);

    /// After `goOn`: the readings, findings from them, frames taken from the port, messages.
    const PortHistory& history() const noexcept { return history_; }
    std::vector<Finding> findings() const;
    std::uint64_t receivedFrames() const noexcept { return receivedFrames_; }
    std::vector<LoggedMessage> takeLog() { return runLog_.take(); }
    /// Images of cameras over time, and the account of their streams; empty without any.
    const Chart& images() const noexcept { return images_; }
    const std::string& streams() const noexcept { return streams_; }

private:
    void read(const std::stop_token& stop);
    void readOnce(double seconds);
    void follow(core::zume::PhysicalNetworkInterface& port, FrameReceiver& receiver);
    void endReading();

    const BoardAccess& access_;
    const PortAddress port_;
    const std::chrono::duration<double> time_;
    const std::chrono::duration<double> interval_;
    const std::string captureFile_; // empty: nothing is recorded
    std::uint64_t receivedFrames_ = 0;
    std::chrono::steady_clock::time_point begunAt_{};
    Chart images_;
    std::string streams_;
    const PluginLog log_;
    RunLog runLog_;
    std::unique_ptr<Sampler> sampler_;
    PortHistory history_; // the thread's, while there is one
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
