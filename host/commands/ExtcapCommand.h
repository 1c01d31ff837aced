// SPDX-License-Identifier: MIT
// Ports as capture interfaces of Wireshark and tshark, through their extcap protocol.
#pragma once

#include "cli/Command.h"

#include <string>

namespace orvo::host {

/// Whether the command line is a call of the extcap protocol: one of its options comes before any subcommand.
bool isExtcapCall(int argc, const char* const* argv);

/// Answers such a call: which ports there are, what they offer, or frames of one into a pipe. Returns the
/// exit code. Errors: Failure, UsageFailure, Interruption.
int answerExtcapCall(int argc, const char* const* argv);

/// Subcommand `extcap`: puts the program where the analyser looks for capture interfaces.
class ExtcapCommand : public Command {
public:
    explicit ExtcapCommand(Program& program);
    int run() override;

private:
    std::string action_;
    std::string folder_; ///< empty: where tshark says
};

} // namespace orvo::host
