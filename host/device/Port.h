// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"
#include "device/Plugin.h"
#include "device/PluginLog.h"
#include "device/PortAddress.h"
#include "device/PortStatistics.h"

#include <list>
#include <optional>
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

    /// Releases the device of an open port, so that another program can use the board. Takes 100 ms.
    /// Errors: Failure with the reason that the plug-in logged; the device is then still open.
    void releaseDevice();
    /// Opens it again; frames that the board queued meanwhile are dropped. Returns why that failed, nothing
    /// when it did not.
    std::optional<std::string> reopenDevice();

    /// Begins to stop it, so that `finish` takes less time. Frames may still pass.
    void stop();
    /// Stops the port and returns the plug-in's statistics. The plug-in then forgets which boards it has
    /// reset, so open no port afterwards.
    PortStatistics finish();

private:
    [[noreturn]] void fail(const std::vector<std::string>& causes) const;
    std::optional<std::string> reinitialize(core::zume::ReinitializationPhase phase);

    const PluginLog& log_;
    const PortAddress address_;
    const boost::shared_ptr<core::zume::PhysicalNetworkInterface> interface_;
    bool running_ = false;
};

/// The ports that a subcommand uses, opened and ended together. `access` must outlive them.
class Ports {
public:
    /// An address that occurs twice makes one port.
    Ports(const BoardAccess& access, const std::vector<PortAddress>& addresses, bool resetBoards);

    /// `address` is one of those given.
    Port& at(PortAddress address);

    /// As Plugin::watchCrcErrors.
    void watchCrcErrors() { plugin_.watchCrcErrors(); }
    std::list<Port>& all() noexcept { return ports_; }

    /// Opens all ports and waits for their links. Errors: Failure when a port cannot be opened or has no
    /// link; Interruption.
    void open();

    /// As `open`, for live traffic, which may start without a link: prints a notice for each port that has
    /// none. A signal makes it return early, without Interruption, and then ends the traffic that follows.
    void openLive();

    /// As Port::stop, all ports.
    void stop();

    /// Ends all ports and returns what the plug-in counted.
    std::vector<PortStatistics> finish();

private:
    void openAll();

    const BoardAccess& access_;
    const PluginLog log_;
    Plugin plugin_;
    std::list<Port> ports_; // in the order of the addresses
};

} // namespace orvo::host
