// SPDX-License-Identifier: MIT
// TCP from a host to a camera and back, over a bare veth pair, over a bridge of a few lines, and over
// `orvo-gige bridge` with plug-in and simulated board in between; each in network namespaces of its own,
// with interfaces as they come and with their offload off.
// Writes JSON.
#include "BareBridge.h"
#include "TcpPeers.h"

#include "base/NetworkNamespace.h"
#include "frames/Interface.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <thread>

namespace orvo::bench {
namespace {

using namespace std::chrono_literals;
using Json = nlohmann::ordered_json;

constexpr auto camera = "10.77.0.2";
constexpr auto hostText = "10.77.0.1/24";
constexpr auto cameraText = "10.77.0.2/24";

void giveAddress(const std::string& interface, const std::string& text) {
    host::addAddress(interface, *host::NetworkAddress::parse(text));
    host::setLinkUp(interface);
}

/// Switches checksum and segmentation offload off: the kernel then does both.
void sendFinishedFrames(const char* interface) {
    ethtool_value setting = {ETHTOOL_STXCSUM, 0};
    ifreq request{};
    std::strncpy(request.ifr_name, interface, IFNAMSIZ - 1);
    request.ifr_data = reinterpret_cast<char*>(&setting);
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool done = ioctl(socket, SIOCETHTOOL, &request) == 0;
    close(socket);
    if (!done) throw std::runtime_error("the interfaces' offload cannot be switched off");
}

enum class Interfaces { Untouched, OffloadOff };

/// The calling thread is in the host's namespace afterwards; "near" leads from there to the camera.
void makeNetwork(Interfaces settings) {
    const auto farSide = host::NetworkNamespace::make();
    const auto nearSide = host::NetworkNamespace::make();
    host::makeVirtualCable("near", "far", farSide);
    if (settings == Interfaces::OffloadOff) sendFinishedFrames("near");
    host::setLinkUp("near");
    const host::NamespaceVisit there(farSide);
    if (settings == Interfaces::OffloadOff) sendFinishedFrames("far");
    giveAddress("far", cameraText);
    serveLoads(camera);
}

Json measure(std::chrono::seconds duration) {
    if (!answers(camera, 15s)) throw std::runtime_error("the camera does not answer");
    Json result;
    result["toCamera"] = tcpBitsPerSecond(camera, Direction::ToServer, duration);
    result["fromCamera"] = tcpBitsPerSecond(camera, Direction::FromServer, duration);
    result["roundTripNs"] = roundTrip(camera, 1000).count();
    return result;
}

Json overVeth(std::chrono::seconds duration) {
    giveAddress("near", hostText);
    return measure(duration);
}

Json overBareBridge(std::chrono::seconds duration) {
    bridgeBare("gige0", "near");
    giveAddress("gige0", hostText);
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

class BridgeProcess {
public:
    BridgeProcess() {
        const char* arguments[] = {program,  "bridge", "--tap",         "gige0",      "--up", "--address",
                                   hostText, "--wire", "0=packet:near", "--no-reset", nullptr};
        posix_spawn_file_actions_t streams; // its report is not ours
        posix_spawn_file_actions_init(&streams);
        posix_spawn_file_actions_addopen(&streams, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        const int failure =
            posix_spawn(&id_, program, &streams, nullptr, const_cast<char**>(arguments), environ);
        posix_spawn_file_actions_destroy(&streams);
        if (failure != 0) throw std::runtime_error(std::string("cannot start ") + program);
    }
    ~BridgeProcess() {
        kill(id_, SIGTERM);
        waitpid(id_, nullptr, 0);
    }
    BridgeProcess(const BridgeProcess&) = delete;
    BridgeProcess& operator=(const BridgeProcess&) = delete;
    pid_t id() const { return id_; }

private:
    static constexpr auto program = ORVO_BUILD_ROOT "/bin/orvo-gige";
    pid_t id_ = 0;
};

Json overPort(std::chrono::seconds duration) {
    const BridgeProcess bridge;
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
                  std::chrono::seconds duration) {
    int pipe[2];
    if (::pipe(pipe) != 0) throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork");
    if (child == 0) {
        Json result;
        try {
            makeNetwork(settings);
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

int run(std::chrono::seconds duration) {
    const auto all = [duration](Interfaces settings) -> Json {
        return {{"veth", inOwnProcess(settings, overVeth, duration)},
                {"bareBridge", inOwnProcess(settings, overBareBridge, duration)},
                {"port", inOwnProcess(settings, overPort, duration)}};
    };
    const Json result = {{"untouched", all(Interfaces::Untouched)},
                         {"offloadOff", all(Interfaces::OffloadOff)}};
    std::cout << result.dump(2) << '\n';
    return 0;
}

} // namespace
} // namespace orvo::bench

int main(int count, char** arguments) {
    try {
        return orvo::bench::run(std::chrono::seconds(count > 1 ? std::atoi(arguments[1]) : 3));
    } catch (const std::exception& failure) {
        std::cerr << "orvo-bench-bridge: " << failure.what() << '\n';
        return 1;
    }
}
