// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/settings/Settings.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace orvo::host {
namespace {

class ConfigCommand : public Command {
public:
    explicit ConfigCommand(Program& program)
        : Command(program, "config", "Show every setting, its value, and where it comes from") {
        line()
            .choice(
                "ACTION", {"show"}, [](const std::string&) {}, "Every value, with where it comes from")
            .required();
        line().rest("arguments", "ARGUMENT...", arguments_,
                    "After --: the command line of a program that loads the plug-in, where it sets values");
        addRootOption(line(), root_);
        line().flag("--json", json_, "Print JSON instead of tables");
    }

    int run() override {
        const auto settings = readSettings(root_, arguments_);
        json_ ? print(settingsJson(settings)) : print(settingsText(settings));
        return Done;
    }

private:
    std::string root_;
    std::vector<std::string> arguments_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeConfigCommand(Program& program) {
    return std::make_unique<ConfigCommand>(program);
}

} // namespace orvo::host
