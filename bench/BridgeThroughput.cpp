// SPDX-License-Identifier: MIT
// TCP from a host to a camera and back, over a bare veth pair, over a bridge of a few lines, and over
// `orvo-gige bridge` with plug-in and simulated board in between; each in network namespaces of its own,
// with interfaces as they come and with their offload off.
// Writes JSON.
//
// usage: orvo-bench-bridge [SECONDS [lines]], "lines" for ports at line rate alone
#include "BareBridge.h"
#include "BridgeNetwork.h"
#include "LineRates.h"
#include "TcpPeers.h"

#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string_view>
#include <thread>

namespace orvo::bench {
namespace {

using namespace std::chrono_literals;
using Json = nlohmann::ordered_json;

const BridgedPort place{0};

Json measure(std::chrono::seconds duration) {
    awaitCamera(place);
    Json result;
    result["toCamera"] = tcpBitsPerSecond(place.camera(), Direction::ToServer, duration);
    result["fromCamera"] = tcpBitsPerSecond(place.camera(), Direction::FromServer, duration);
    result["roundTripNs"] = roundTrip(place.camera(), 1000).count();
    return result;
}

Json overVeth(std::chrono::seconds duration) {
    giveAddress(place.cable(), place.hostAddress());
    return measure(duration);
}

Json overBareBridge(std::chrono::seconds duration) {
    bridgeBare(place.tap(), place.cable());
    giveAddress(place.tap(), place.hostAddress());
    return measure(duration);
}

/// Processor time that a process has used, in seconds.
double processorSeconds(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), {});
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

Json overPort(std::chrono::seconds duration) {
    const BridgeProcess bridge(place, {"--wire", "0=packet:" + place.cable()});
    Json result = measure(duration);
    constexpr auto idle = 3s;
    const double before = processorSeconds(bridge.id());
    std::this_thread::sleep_for(idle);
    result["idleCoreShare"] =
        (processorSeconds(bridge.id()) - before) / std::chrono::duration<double>(idle).count();
    return result;
}

/// In a process of its own, whose end removes everything.
Json inOwnProcess(Interfaces settings, const std::function<Json(std::chrono::seconds)>& work,
                  std::chrono::seconds duration, unsigned ports = 1) {
    int pipe[2];
    if (::pipe(pipe) != 0) throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork");
    if (child == 0) {
        Json result;
        try {
            makeNetwork(ports, settings);
            result = work(duration);
        } catch (const std::exception& failure) { // no namespaces, among others
            result["failure"] = failure.what();
        }
        const std::string text = result.dump();
        _exit(write(pipe[1], text.data(), text.size()) < 0 ? 1 : 0);
    }
    close(pipe[1]);
    std::string text;
    char block[4096];
    for (ssize_t bytes = 0; (bytes = read(pipe[0], block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(bytes));
    close(pipe[0]);
    waitpid(child, nullptr, 0);
    if (text.empty()) return {{"failure", "the process that measures ended before its time"}};
    return Json::parse(text);
}

Json asFastAsItGoes(std::chrono::seconds duration) {
    const auto all = [duration](Interfaces settings) -> Json {
        return {{"veth", inOwnProcess(settings, overVeth, duration)},
                {"bareBridge", inOwnProcess(settings, overBareBridge, duration)},
                {"port", inOwnProcess(settings, overPort, duration)}};
    };
    return {{"untouched", all(Interfaces::Untouched)}, {"offloadOff", all(Interfaces::OffloadOff)}};
}

int run(std::chrono::seconds duration, bool linesAlone) {
    Json result = linesAlone ? Json() : asFastAsItGoes(duration);
    for (const auto& [name, line] : lines()) {
        const auto measureLine = [&line = line](std::chrono::seconds time) { return lineRate(line, time); };
        result["lines"][name] = inOwnProcess(Interfaces::OffloadOff, measureLine, duration, line.ports);
    }
    std::cout << result.dump(2) << '\n';
    return 0;
}

} // namespace
} // namespace orvo::bench

int main(int count, char** arguments) {
    try {
        return orvo::bench::run(std::chrono::seconds(count > 1 ? std::atoi(arguments[1]) : 3),
                                count > 2 && std::string_view(arguments[2]) == "lines");
    } catch (const std::exception& failure) {
        std::cerr << "orvo-bench-bridge: " << failure.what() << '\n';
        return 1;
    }
}
