// SPDX-License-Identifier: MIT
// The state of a network interface, and a descriptor that shows when interfaces change.
#pragma once

#include "base/Descriptor.h"

#include <cstddef>
#include <string>

namespace orvo::sim {

enum class InterfaceState { Absent, Down, NoCarrier, Up };

/// Watches in the network namespace of the thread that creates it. One thread at a time.
class InterfaceWatch {
public:
    /// Throws WireError.
    explicit InterfaceWatch(std::string name);

    const std::string& name() const noexcept { return name_; }
    /// Readable when some interface changed since the last `look`.
    int bell() const noexcept { return bell_.get(); }

    struct View {
        InterfaceState state = InterfaceState::Absent;
        int index = 0;       ///< of the interface with this name; 0: there is none
        std::size_t mtu = 0; ///< 0 where it is unknown
    };
    View look() noexcept;
    /// Whether the interface carries Ethernet frames; false where there is none.
    bool isEthernet() const noexcept;

private:
    void hush() noexcept;

    const std::string name_;
    const Descriptor bell_;
};

} // namespace orvo::sim
