// SPDX-License-Identifier: MIT
#include "BridgeNetwork.h"

#include "TcpPeers.h"

#include "base/NetworkNamespace.h"
#include "frames/Interface.h"

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
#include <stdexcept>

namespace orvo::bench {
namespace {

constexpr auto program = ORVO_BUILD_ROOT "/bin/orvo-gige";

/// Switches checksum and segmentation offload off: the kernel then does both.
void sendFinishedFrames(const std::string& interface) {
    ethtool_value setting = {ETHTOOL_STXCSUM, 0};
    ifreq request{};
    interface.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_data = reinterpret_cast<char*>(&setting);
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool done = ioctl(socket, SIOCETHTOOL, &request) == 0;
    close(socket);
    if (!done) throw std::runtime_error("the interfaces' offload cannot be switched off");
}

void makeCable(const BridgedPort& place, Interfaces settings) {
    const auto nearSide = host::NetworkNamespace::current();
    const auto farSide = host::NetworkNamespace::make();
    nearSide.enter();
    host::makeVirtualCable(place.cable(), "far", farSide);
    if (settings == Interfaces::OffloadOff) sendFinishedFrames(place.cable());
    host::setLinkUp(place.cable());
    const host::NamespaceVisit there(farSide);
    if (settings == Interfaces::OffloadOff) sendFinishedFrames("far");
    giveAddress("far", place.cameraAddress());
    serveLoads(place.camera());
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

} // namespace

void giveAddress(const std::string& interface, const std::string& text) {
    host::addAddress(interface, *host::NetworkAddress::parse(text));
    host::setLinkUp(interface);
}

void makeNetwork(unsigned ports, Interfaces settings) {
    const auto nearSide = host::NetworkNamespace::make();
    for (unsigned port = 0; port < ports; ++port) makeCable({port}, settings);
}

void awaitCamera(const BridgedPort& place) {
    if (!answers(place.camera(), std::chrono::seconds{15}))
        throw std::runtime_error("the camera at " + place.camera() + " does not answer");
}

BridgeProcess::BridgeProcess(const BridgedPort& place, const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {program,     "bridge",
                                          "--tap",     place.tap(),
                                          "--address", place.hostAddress(),
                                          "--port",    std::to_string(place.number),
                                          "--no-reset"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    posix_spawn_file_actions_t streams; // its report is not ours
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_addopen(&streams, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const int failure = posix_spawn(&id_, program, &streams, nullptr, pointers(arguments).data(), environ);
    posix_spawn_file_actions_destroy(&streams);
    if (failure != 0) throw std::runtime_error(std::string("cannot start ") + program);
}

BridgeProcess::~BridgeProcess() {
    kill(id_, SIGTERM);
    waitpid(id_, nullptr, 0);
}

} // namespace orvo::bench
