// SPDX-License-Identifier: MIT
// One GigE port in use, through the plug-in.
#pragma once

#include "device/Plugin.h"
#include "device/PluginLog.h"
#include "device/PortAddress.h"

#include <string>
#include <vector>

namespace orvo::host {

/// Drives one interface object through its life. Plug-in and log must outlive it. All operations from one
/// thread; frames go through `interface` from the threads that it allows.
class Port {
public:
    Port(Plugin& plugin, const PluginLog& log, PortAddress address, bool resetBoard);
    ~Port(); ///< stops it unless `finish` did
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    PortAddress address() const noexcept { return address_; }
    core::zume::PhysicalNetworkInterface& interface() noexcept { return *interface_; }

    /// Sets the port up and starts it; takes about 5 s when its board has not been reset in this process.
    /// Errors: Failure with the plug-in's own word on the cause.
    void open();

    /// Stops the port and returns the plug-in's statistics, one line each; none when the installation's log
    /// dispatcher does not hand them out. Ends the resets' record of every board, so open no port afterwards.
    std::vector<std::string> finish();

private:
    [[noreturn]] void fail(const std::vector<std::string>& causes) const;

    const PluginLog& log_;
    const PortAddress address_;
    const boost::shared_ptr<core::zume::PhysicalNetworkInterface> interface_;
    bool running_ = false;
};

} // namespace orvo::host
