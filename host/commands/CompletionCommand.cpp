// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "cli/Completion.h"
#include "commands/HostProgram.h"

#include <string>

namespace orvo::host {
namespace {

class CompletionCommand : public Command {
public:
    explicit CompletionCommand(Program& program)
        : Command(program, "completion", "Print a completion script for bash or zsh"), program_(program) {
        line()
            .choice(
                "SHELL", {"bash", "zsh"}, [this](const std::string& shell) { shell_ = shell; },
                "Shell that the script is for")
            .required();
    }

    int run() override {
        const auto description = program_.description();
        print(shell_ == "bash" ? bashCompletion(description) : zshCompletion(description));
        return Done;
    }

private:
    const Program& program_;
    std::string shell_;
};

} // namespace

std::unique_ptr<Command> makeCompletionCommand(Program& program) {
    return std::make_unique<CompletionCommand>(program);
}

} // namespace orvo::host
