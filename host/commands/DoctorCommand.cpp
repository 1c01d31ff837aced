// SPDX-License-Identifier: MIT
#include "commands/DoctorCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/doctor/Doctor.h"
#include "commands/SharedOptions.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace orvo::host {
DoctorCommand::DoctorCommand(Program& program)
    : Command(program, "doctor", "Find out whether this installation works, and what mends it if not") {
    addRootTo(line(), root_);
    addAddressTo(line(), port_);
    line().flag("--json", json_, "Print JSON instead of text");
}

int DoctorCommand::run() {
    const auto checks = examine(root_, port_);
    json_ ? print(checksJson(checks)) : print(checksText(checks, styleOfOutput()));
    return std::ranges::any_of(checks, isBad) ? DifferencesFound : Done;
}

} // namespace orvo::host
