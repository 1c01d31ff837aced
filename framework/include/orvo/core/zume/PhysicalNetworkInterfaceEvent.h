// SPDX-License-Identifier: MIT
// Events that a network port reports.
#pragma once

#include <orvo/Export.h>

#include <cstdint>

namespace orvo::core::zume {

/// Base class of all events of a port. Use dynamic_cast to tell them apart.
class ORVO_EXPORT PhysicalNetworkInterfaceEvent {
public:
    virtual ~PhysicalNetworkInterfaceEvent();
};

/// The firmware sent an action command and no acknowledgement came in time.
class ORVO_EXPORT PniActionCommandTimeout : public PhysicalNetworkInterfaceEvent {
public:
    explicit PniActionCommandTimeout(unsigned short timeoutCount) : type(8), count(timeoutCount) {}
    ~PniActionCommandTimeout() override;

    std::uint32_t type;  ///< code of this kind of event
    std::uint16_t count; ///< bits 0 to 15 of the firmware's report
};

} // namespace orvo::core::zume
