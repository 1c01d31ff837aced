// SPDX-License-Identifier: MIT
#include "device/recording/RecordingHeader.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace orvo::host {
namespace {

/// Those of this process, without the program's name.
std::vector<std::string> programArguments() {
    std::vector<std::string> arguments;
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    for (std::string argument; std::getline(file, argument, '\0');) arguments.push_back(argument);
    if (!arguments.empty()) arguments.erase(arguments.begin());
    return arguments;
}

/// Environment variables that change what the plug-in calls.
constexpr const char* recordedVariables[] = {"ORVO_PRE_SEND_WAIT_TIME", "ORVO_BOARD"};

} // namespace

nlohmann::json recordingHeader(const std::string& program, const std::string& root) {
    nlohmann::json header = {{"program", program},
                             {"root", root},
                             {"arguments", programArguments()},
                             {"environment", nlohmann::json::object()}};
    header["begin"] = std::chrono::duration_cast<std::chrono::nanoseconds>(
                          std::chrono::system_clock::now().time_since_epoch())
                          .count();
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) == 0) header["host"] = host.data();
    for (const auto* const name : recordedVariables)
        if (const char* const value = std::getenv(name)) header["environment"][name] = value;
    return header;
}

} // namespace orvo::host
