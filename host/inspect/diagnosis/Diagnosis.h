// SPDX-License-Identifier: MIT
// The diagnosis of a port as one document, from which every form of output is made.
#pragma once

#include "inspect/diagnosis/DumpReport.h"
#include "inspect/diagnosis/Findings.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace orvo::host {

/// The whole diagnosis: port, board, devices, counters, flags, link, PHY registers field by field, findings.
/// `port` is "BOARD/PORT"; `wasDown` and `others` as in findingsOf.
nlohmann::ordered_json diagnosisOf(const DumpReport& report, const std::string& port, bool wasDown,
                                   std::vector<Finding> others = {});

/// The same for people.
std::string textOfDiagnosis(const nlohmann::ordered_json& diagnosis);

/// A value of the document, and a list of them, as every form for people has it: in one line, without control
/// characters; an empty list is "nothing".
std::string valueText(const nlohmann::ordered_json& value);
std::string listText(const nlohmann::ordered_json& list);

/// Reads a diagnosis that was kept in a file. Errors: UsageFailure when the file cannot be read or is none.
nlohmann::ordered_json readDiagnosis(const std::string& path);

/// What differs between two diagnoses.
struct DiagnosisChange {
    std::string what;   ///< "link.mbitPerSecond"
    std::string before; ///< empty: was not there
    std::string after;  ///< empty: is not there any more
};
std::vector<DiagnosisChange> changesBetween(const nlohmann::ordered_json& before,
                                            const nlohmann::ordered_json& after);

} // namespace orvo::host
