// SPDX-License-Identifier: MIT
// The plug-in, loaded and initialised.
#pragma once

#include "board/Installation.h"

#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>

namespace orvo::host {

/// Initialised while it lives; the interfaces it makes must not outlive it.
class Plugin {
public:
    /// Errors: Failure when the file is missing or no usable plug-in.
    explicit Plugin(const Installation& installation);

    boost::shared_ptr<core::zume::PhysicalNetworkInterface> createInterface();

private:
    core::PluginLibrary library_;
};

} // namespace orvo::host
