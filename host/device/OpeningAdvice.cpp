// SPDX-License-Identifier: MIT
// The failures of an opening, by the plug-in's words for them.
#include "device/OpeningAdvice.h"

namespace orvo::host {

std::string openingAdvice(const std::string& message) {
    const struct {
        const char* words;
        const char* advice;
    } rows[] = {
        {"Error in OHalInitDevice",
         "there is no such board, or another program holds it: 'orvo-gige boards' lists boards"},
        {"No GigE interface available",
         "the board is for another kind of camera: choose one of 'orvo-gige boards'"},
        {"Port id", "the board has fewer GigE ports: 'orvo-gige boards' lists them"},
        {"Error in KivFirmwareTrampoline", "the installation knows no firmware of the board's version: "
                                           "update the installation, or the firmware"},
        {"Error in OHalConfigureFpga",
         "the FPGA did not take its applet: power-cycle the board, then update its firmware"},
    };
    for (const auto& row : rows)
        if (message.find(row.words) != std::string::npos) return row.advice;
    return "'orvo-gige boards' lists boards and ports";
}

} // namespace orvo::host
