// SPDX-License-Identifier: MIT
// How the program ends: exit codes, and the exceptions that end it early.
#pragma once

#include <stdexcept>
#include <string>

namespace orvo::host {

enum ExitCode : int { // unscoped: it is the process's exit status
    Done = 0,
    Failed = 1,
    WrongUsage = 2,
    DifferencesFound = 3, ///< finished, but a check failed
    EndedBySignal = 128   ///< plus the signal's number
};

/// Ends the run with one line on standard error: what went wrong, where, and what to do.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A mistake on the command line: the exit code is WrongUsage.
class UsageFailure : public Failure {
public:
    using Failure::Failure;
};

/// The reader of standard output closed it. The program ends with Done and without a message: nobody reads
/// on, as with `| head -1`.
class OutputClosed : public std::exception {
public:
    const char* what() const noexcept override { return "standard output is closed"; }
};

/// A signal asked the program to end.
class Interruption : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// Replaces control characters with '?', so that the text stays on one line and cannot control the terminal.
std::string oneLine(std::string text);

/// "'TEXT'", for names and values in messages; one line.
std::string quoted(const std::string& text);

/// The text of an errno value.
std::string systemError(int number);

} // namespace orvo::host
