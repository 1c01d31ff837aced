// SPDX-License-Identifier: MIT
#pragma once

#include "cli/CommandLine.h"

namespace orvo::host {

/// A subcommand. It declares itself on the program's command line when constructed, and runs when the user
/// chose it.
class Command {
public:
    Command(Program& program, const char* name, const char* description)
        : line_(program.subcommand(name, description)) {}
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool chosen() const { return line_.isChosen(); }

    /// Returns the exit code. Errors: Failure, Interruption.
    virtual int run() = 0;

protected:
    CommandLine& line() { return line_; }

private:
    CommandLine line_;
};

} // namespace orvo::host
