// SPDX-License-Identifier: MIT
// Conclusions from the books: what faults must have moved, and whether every frame is accounted for.
#pragma once

#include "inspect/faults/FaultWatch.h"

namespace orvo::host {

/// The books of all ports, closed.
struct Books {
    const std::vector<OrvoSimFault>& faults;
    const std::vector<PortBook>& ports;
    const MessageCounter& messages;

    const PortBook* at(PortAddress port) const noexcept; ///< null where there is none
    /// The port whose wire leads here; null where it comes from outside.
    const PortBook* senderTo(PortAddress port) const noexcept;
    /// Injections of the kinds with this evidence at a port.
    std::uint64_t injected(OrvoSimEvidence evidence, PortAddress port) const noexcept;
    /// The same for one kind; at all ports of the board with `anyPort`.
    std::uint64_t injectedOf(const char* kind, PortAddress port, bool anyPort = false) const noexcept;
};

std::vector<Movement> movementsOf(const Books& books);
std::vector<Statement> statementsOf(const Books& books);

} // namespace orvo::host
