// SPDX-License-Identifier: MIT
// Foreground process groups.
#include "base/Terminal.h"

#include <unistd.h>

#include <csignal>

namespace orvo::host {

bool isInteractive() {
    return isatty(0) && isatty(1) && tcgetpgrp(0) == getpgrp();
}

void takeTerminal() {
    std::signal(SIGTTOU, SIG_IGN); // it would stop a process that is not in the foreground yet
    setpgid(0, 0);
    tcsetpgrp(0, getpgrp());
}

TerminalForeground::TerminalForeground() : wasOurs_(isInteractive()) {}

TerminalForeground::~TerminalForeground() {
    if (!wasOurs_) return;
    std::signal(SIGTTOU, SIG_IGN);
    tcsetpgrp(0, getpgrp());
}

} // namespace orvo::host
