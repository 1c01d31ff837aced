// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/doctor/Examination.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/PortAddress.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>

namespace orvo::host {
namespace {

const char* nameOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::Good:
        return "good";
    case Verdict::Warning:
        return "warning";
    case Verdict::Bad:
        return "bad";
    case Verdict::Skipped:
        break;
    }
    return "skipped";
}

nlohmann::ordered_json jsonOfChecks(const Checks& checks) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& check : checks) {
        nlohmann::ordered_json entry = {
            {"check", check.name}, {"result", nameOf(check.verdict)}, {"found", check.found}};
        if (!check.mend.empty()) entry["mend"] = check.mend;
        if (!check.uncalled.empty()) entry["uncalled"] = check.uncalled;
        list.push_back(std::move(entry));
    }
    return {{"works", std::ranges::none_of(checks, isBad)},
            {"verdict", verdictOn(checks)},
            {"checks", std::move(list)}};
}

class DoctorCommand : public Command {
public:
    explicit DoctorCommand(Program& program)
        : Command(program, "doctor", "Find out whether this installation works, and what mends it if not") {
        addRootOption(line(), root_);
        addAddressOptions(line(), port_);
        line().flag("--json", json_, "Print JSON instead of text");
    }

    int run() override {
        const auto checks = examine(root_, port_);
        json_ ? print(jsonOfChecks(checks)) : print(textOf(checks, styleOfOutput()));
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
