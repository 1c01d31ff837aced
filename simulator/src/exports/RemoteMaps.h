// SPDX-License-Identifier: MIT
// Register maps of a server's boards.
#pragma once

#include <orvo/sim/orvo_sim.h>

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::sim {

/// Copies of the server's maps, for good. Any thread.
class RemoteMaps {
public:
    /// `texts` as the entry registerMap gives them.
    explicit RemoteMaps(const std::vector<std::string>& texts);

    const OrvoSimRegisterMap* map(unsigned number) const noexcept; ///< null beyond the last
    std::uint32_t numberOf(const void* map) const noexcept; ///< one beyond the last for any other pointer

private:
    struct Copy {
        std::vector<std::string> names;
        std::vector<OrvoSimRegister> registers;
        OrvoSimRegisterMap map{};
    };
    static Copy copyOf(const std::string& text);
    std::vector<Copy> copies_;
};

/// The maps of the server that this process uses; asked for at the first call.
const RemoteMaps& remoteMaps();

} // namespace orvo::sim
