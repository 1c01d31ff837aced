// SPDX-License-Identifier: MIT
// Showing of settings.
#include "commands/ConfigCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/settings/Settings.h"
#include "commands/SharedOptions.h"

#include <nlohmann/json.hpp>

namespace orvo::host {

ConfigCommand::ConfigCommand(Program& program)
    : Command(program, "config",
              "Show what is set for the plug-in, the libraries and this program, and where") {
    line()
        .choice(
            "ACTION", {"show"}, [](const std::string&) {}, "Every value, with where it comes from")
        .required();
    line().rest("arguments", "ARGUMENT...", arguments_,
                "After --: the command line of a program that loads the plug-in, where it sets values");
    addRootTo(line(), root_);
    line().flag("--json", json_, "Print JSON instead of tables");
}

int ConfigCommand::run() {
    const auto settings = readSettings(root_, arguments_);
    json_ ? print(jsonOf(settings)) : print(textOf(settings));
    return Done;
}

} // namespace orvo::host
