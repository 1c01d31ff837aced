// SPDX-License-Identifier: MIT
// Ports as capture interfaces of Wireshark and tshark, through their extcap protocol: the analyser starts the
// program once for each question and reads the answer from standard output.
#pragma once

namespace orvo::host {

/// Whether the command line is a call of the extcap protocol: one of its options comes before any subcommand.
bool isExtcapCall(int argc, const char* const* argv);

/// Answers such a call: which ports there are, what they offer, or frames of one into a pipe. Returns the
/// exit code. Errors: Failure, UsageFailure, Interruption.
int answerExtcapCall(int argc, const char* const* argv);

} // namespace orvo::host
