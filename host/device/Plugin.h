// SPDX-License-Identifier: MIT
// The plug-in, loaded and initialised.
#pragma once

#include "device/Installation.h"

#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

namespace orvo::host {

/// The plug-in's file, opened and checked, not initialised. Errors: Failure when the file is missing or no
/// usable plug-in.
core::PluginLibrary openPlugin(const Installation& installation);

/// Initialised while it lives; the interfaces it makes must not outlive it.
class Plugin {
public:
    /// Errors: as above.
    explicit Plugin(const Installation& installation);

    boost::shared_ptr<core::zume::PhysicalNetworkInterface> createInterface();

private:
    core::PluginLibrary library_;
};

} // namespace orvo::host
