// SPDX-License-Identifier: MIT
// Ports of the simulated board through the plug-in file, as a host has them, cabled in pairs: 0 with 1, 2
// with 3.
#pragma once

#include "device/BoardAccess.h"
#include "device/Plugin.h"
#include "device/PluginLog.h"
#include "device/Port.h"

#include <orvo/core/zume/EthernetFrame.h>

#include <boost/shared_ptr.hpp>

#include <array>
#include <optional>
#include <string>

namespace orvo::bench {

/// Set up, in virtual time, when it is made; takes the installation that the program lies in. Its ports take
/// frames whose check sequence the host has appended, and check that of every frame that arrives.
class SimulatedPorts {
public:
    static constexpr unsigned count = 4;

    /// `record`: file that every board call is recorded in; empty: none.
    explicit SimulatedPorts(const std::string& record = "");

    core::zume::PhysicalNetworkInterface& operator[](std::size_t port) { return ports_[port]->interface(); }

private:
    host::BoardAccess session_;
    host::Plugin plugin_;
    host::PluginLog log_;
    std::array<std::optional<host::Port>, count> ports_;
};

/// A frame with its check sequence. Its handle counts nobody, so that what a sender pays for keeping its
/// frame is not counted as the pipeline's.
class SealedFrame {
public:
    explicit SealedFrame(int wireBytes);
    const boost::shared_ptr<core::zume::EthernetFrame>& handle() const noexcept { return handle_; }

private:
    core::zume::EthernetFrame frame_;
    const boost::shared_ptr<core::zume::EthernetFrame> handle_;
};

} // namespace orvo::bench
