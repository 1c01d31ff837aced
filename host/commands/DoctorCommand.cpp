// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/doctor/Doctor.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/PortAddress.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>

namespace orvo::host {
namespace {

class DoctorCommand : public Command {
public:
    explicit DoctorCommand(Program& program)
        : Command(program, "doctor", "Check that this installation works, and show how to fix it") {
        addRootOption(line(), root_);
        addAddressOptions(line(), port_);
        line().flag("--json", json_, "Print JSON instead of text");
    }

    int run() override {
        const auto checks = examine(root_, port_);
        json_ ? printReport(checksJson(checks)) : printReport(checksText(checks, styleOfOutput()));
        return std::ranges::any_of(checks, isBad) ? DifferencesFound : Done;
    }

private:
    std::string root_;
    PortAddress port_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeDoctorCommand(Program& program) {
    return std::make_unique<DoctorCommand>(program);
}

} // namespace orvo::host
