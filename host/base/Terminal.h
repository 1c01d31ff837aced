// SPDX-License-Identifier: MIT
// Whose keyboard it is: a terminal has one process group in its foreground.
#pragma once

namespace orvo::host {

/// Whether this process is in the foreground of a terminal that it both reads and writes, as under a shell.
/// Not for processes of another process namespace, which cannot tell.
bool isInteractive();

/// Makes the calling process a group of its own, and that the terminal's foreground, as shells expect it.
void takeTerminal();

/// When it goes, the terminal is this process's again, if it was before.
class TerminalForeground {
public:
    TerminalForeground();
    ~TerminalForeground();
    TerminalForeground(const TerminalForeground&) = delete;
    TerminalForeground& operator=(const TerminalForeground&) = delete;

private:
    const bool wasOurs_;
};

} // namespace orvo::host
