// SPDX-License-Identifier: MIT
// Printing of the scripts.
#include "commands/CompletionCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "cli/Completion.h"

namespace orvo::host {

CompletionCommand::CompletionCommand(Program& program)
    : Command(program, "completion", "Print the script with which a shell completes this command line"),
      program_(program) {
    line()
        .choice(
            "SHELL", {"bash", "zsh"}, [this](const std::string& shell) { shell_ = shell; },
            "Shell that the script is for")
        .required();
}

int CompletionCommand::run() {
    const auto description = program_.description();
    print(shell_ == "bash" ? bashCompletion(description) : zshCompletion(description));
    return Done;
}

} // namespace orvo::host
