// SPDX-License-Identifier: MIT
// Reading of ports that others use: nothing is opened through the plug-in, reset, or taken from a queue.
#pragma once

#include "device/BoardAccess.h"
#include "inspect/watch/PhyWatch.h"
#include "inspect/watch/Sample.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// Which boards, and how often their links are looked at.
struct SamplerOptions {
    std::optional<unsigned> board;                 ///< nothing: all, also those that come later
    std::chrono::duration<double> linkInterval{0}; ///< 0: MDIO is left alone
};

/// Reads all ports of the boards. A board that goes is looked for again at every reading, one that was not
/// there from time to time. One thread.
class Sampler {
public:
    /// The session must outlive it. Errors: Failure when there is no such board, or none at all.
    Sampler(const BoardAccess& session, const SamplerOptions& options);
    ~Sampler();
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;

    /// One sample of every port that was there once, in the order of boards and ports.
    std::vector<PortSample> take();

    /// What happened to boards since this was asked last, a sentence each.
    std::vector<std::string> takeNews();

private:
    class BoardSampler;

    void look();
    void lookFor(unsigned index);

    const BoardAccess& session_;
    const SamplerOptions options_;
    std::map<unsigned, std::unique_ptr<BoardSampler>> boards_; // that were there once
    std::chrono::steady_clock::time_point lookedAt_{};
    std::vector<std::string> news_;
};

} // namespace orvo::host
