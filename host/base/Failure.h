// SPDX-License-Identifier: MIT
// How a run of the program ends: exit codes, and the failures that end it early.
#pragma once

#include <stdexcept>
#include <string>

namespace orvo::host {

enum ExitCode : int { // unscoped: it is the process's exit status
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
    DifferencesFound = 3, ///< finished, but a check was not passed
    EndedBySignal = 128   ///< plus the signal's number
};

/// Ends the run with one line on standard error: what went wrong, where, and what to do.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The same for what the command line asked for: the exit code is that of wrong usage.
class UsageFailure : public Failure {
public:
    using Failure::Failure;
};

/// Ends the run because a signal asked for it.
class Interruption : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// The text with question marks for control characters: one line, which does nothing to a terminal.
std::string oneLine(std::string text);

/// "'TEXT'", as names and values appear in messages; one line.
std::string quoted(const std::string& text);

/// The text of an errno value.
std::string systemError(int number);

} // namespace orvo::host
