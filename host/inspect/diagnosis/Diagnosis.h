// SPDX-License-Identifier: MIT
// The diagnosis of a port: one document from which every form of output is made.
#pragma once

#include "inspect/diagnosis/DumpReport.h"
#include "inspect/diagnosis/Findings.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace orvo::host {

/// The whole diagnosis: port, board, devices, counters, flags, link, PHY registers field by field, findings.
/// `port` is "BOARD/PORT"; for `wasDown` and `others` see findingsOf.
nlohmann::ordered_json diagnosisOf(const DumpReport& report, const std::string& port, bool wasDown,
                                   std::vector<Finding> others = {});

/// The document as text for people.
std::string diagnosisText(const nlohmann::ordered_json& diagnosis);

/// A value of the document for people: on one line, without control characters.
std::string valueText(const nlohmann::ordered_json& value);

/// Names and values of the sections "link" and "board", for people.
using Facts = std::vector<std::pair<std::string, std::string>>;
Facts linkFacts(const nlohmann::ordered_json& diagnosis);
Facts boardFacts(const nlohmann::ordered_json& diagnosis);

/// Reads a diagnosis from a file. Errors: Failure when it cannot be read, or holds something else.
nlohmann::ordered_json readDiagnosis(const std::string& path);

/// One difference between two diagnoses.
struct DiagnosisChange {
    std::string what;   ///< "link.mbitPerSecond"
    std::string before; ///< empty: not there
    std::string after;  ///< empty: no longer there
};
std::vector<DiagnosisChange> changesBetween(const nlohmann::ordered_json& before,
                                            const nlohmann::ordered_json& after);

} // namespace orvo::host
