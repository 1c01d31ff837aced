// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"
#include "inspect/watch/PortHistory.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// Which boards, and how often to read their links.
struct SamplerOptions {
    std::optional<unsigned> board;                 ///< nothing: all, also those that appear later
    std::chrono::duration<double> linkInterval{0}; ///< 0: MDIO is left alone
};

/// Reads the counters of all ports while other programs use them: it opens nothing through the plug-in,
/// resets nothing, and takes nothing from a queue. A board that is gone is tried again at every reading; new
/// boards are looked for every few seconds. One thread.
class Sampler {
public:
    /// `access` must outlive it. Errors: Failure when there is no such board, or none at all.
    Sampler(const BoardAccess& access, const SamplerOptions& options);
    ~Sampler();
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;

    /// One sample of every port seen so far, in the order of boards and ports.
    std::vector<PortSample> take();

    /// Boards that came or went since the last call, a sentence each.
    std::vector<std::string> takeNews();

private:
    class BoardSampler;

    void findBoards();
    void findBoard(unsigned index);

    const BoardAccess& access_;
    const SamplerOptions options_;
    std::map<unsigned, std::unique_ptr<BoardSampler>> boards_; // all that were ever seen
    std::chrono::steady_clock::time_point searchedAt_{};
    std::vector<std::string> news_;
};

} // namespace orvo::host
