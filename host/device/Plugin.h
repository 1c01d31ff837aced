// SPDX-License-Identifier: MIT
#pragma once

#include "device/Installation.h"
#include "device/recording/BoardEntries.h"

#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

namespace orvo::host {

/// Opens and checks the plug-in's file without initialising the plug-in. Errors: Failure when the file is
/// missing or not a usable plug-in.
core::PluginLibrary openPlugin(const Installation& installation);

/// The plug-in, initialised while this object lives; the interfaces it creates must not outlive it.
class Plugin {
public:
    /// Errors: as above.
    explicit Plugin(const Installation& installation);

    boost::shared_ptr<core::zume::PhysicalNetworkInterface> createInterface();

    /// Fills the pointer variables through which the plug-in calls the board's libraries. Before its first
    /// call. Errors: Failure when the plug-in has none.
    void setEntries(const EntryTable& entries);
    /// Of something in the plug-in's file, after setEntries.
    const void* address() const;

    /// From now on, every interface compares the firmware's count of receive errors at each `receive`, and
    /// logs when it grew. Errors: Failure when the plug-in has no such watch.
    void watchCrcErrors();

private:
    core::PluginLibrary library_;
};

} // namespace orvo::host
