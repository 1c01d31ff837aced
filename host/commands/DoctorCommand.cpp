// SPDX-License-Identifier: MIT
// The checks' results, as text or as JSON.
#include "commands/DoctorCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/doctor/Examination.h"
#include "commands/SharedOptions.h"

#include <nlohmann/json.hpp>

#include <algorithm>

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

nlohmann::ordered_json jsonOf(const Checks& checks) {
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

} // namespace

DoctorCommand::DoctorCommand(Program& program)
    : Command(program, "doctor", "Find out whether this installation works, and what mends it if not") {
    addRootTo(line(), root_);
    addAddressTo(line(), port_);
    line().flag("--json", json_, "Print JSON instead of text");
}

int DoctorCommand::run() {
    const auto checks = examine(root_, port_);
    json_ ? print(jsonOf(checks)) : print(textOf(checks, styleOfOutput()));
    return std::ranges::any_of(checks, isBad) ? DifferencesFound : Done;
}

} // namespace orvo::host
