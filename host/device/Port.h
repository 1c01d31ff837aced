// SPDX-License-Identifier: MIT
#pragma once

#include "device/Plugin.h"
#include "device/PluginLog.h"
#include "device/PortAddress.h"
#include "device/PortStatistics.h"

#include <string>
#include <vector>

namespace orvo::host {

/// One GigE port in use: drives an interface object of the plug-in through its life. Plug-in and log must
/// outlive it. One thread; frames go through `interface` from the threads that the plug-in allows.
class Port {
public:
    Port(Plugin& plugin, const PluginLog& log, PortAddress address, bool resetBoard);
    ~Port(); ///< stops it unless `finish` did
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    PortAddress address() const noexcept { return address_; }
    core::zume::PhysicalNetworkInterface& interface() noexcept { return *interface_; }

    /// Sets the port up and starts it; takes about 5 s when the board is reset.
    /// Errors: Failure with the reason that the plug-in logged.
    void open();

    /// Stops the port and returns the plug-in's statistics. The plug-in then forgets which boards it has
    /// reset, so open no port afterwards.
    PortStatistics finish();

private:
    [[noreturn]] void fail(const std::vector<std::string>& causes) const;

    const PluginLog& log_;
    const PortAddress address_;
    const boost::shared_ptr<core::zume::PhysicalNetworkInterface> interface_;
    bool running_ = false;
};

} // namespace orvo::host
