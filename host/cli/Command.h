// SPDX-License-Identifier: MIT
// A subcommand of the program.
#pragma once

#include "cli/CommandLine.h"

namespace orvo::host {

/// Declares itself on the program's command line when constructed; runs when it was chosen.
class Command {
public:
    Command(Program& program, const char* name, const char* description);
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool chosen() const { return line_.isChosen(); }

    /// Does the work; returns the exit code. Errors: Failure, Interruption.
    virtual int run() = 0;

protected:
    CommandLine& line() { return line_; }

private:
    CommandLine line_;
};

} // namespace orvo::host
