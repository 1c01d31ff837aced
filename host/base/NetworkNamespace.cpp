// SPDX-License-Identifier: MIT
// Namespaces are held by descriptors of their files in /proc.
#include "base/NetworkNamespace.h"

#include "base/Failure.h"
#include "base/NetlinkRequest.h"

#include <fcntl.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <fstream>
#include <string>

namespace orvo::host {
namespace {

std::string adviceFor(int error) {
    switch (error) {
    case EPERM:
    case EACCES:
        return "run it as root on the machine itself, or in a container that was started with --privileged";
    case ENOSPC:
        return "let there be more of them with 'sudo sysctl user.max_net_namespaces=1000 "
               "user.max_pid_namespaces=1000 user.max_mnt_namespaces=1000'";
    default:
        return "use a kernel with network, process and mount namespaces";
    }
}

// A kernel without IPv6 has no such settings, and no need of them.
void switchIpv6Off() {
    for (const char* scope : {"all", "default"})
        std::ofstream(std::string("/proc/sys/net/ipv6/conf/") + scope + "/disable_ipv6") << "1\n";
}

void setLoopbackUp() {
    ifinfomsg loopback{};
    loopback.ifi_index = 1; // in every namespace
    loopback.ifi_flags = loopback.ifi_change = IFF_UP;
    NetlinkRequest request(RTM_NEWLINK, 0);
    request.put(loopback);
    if (const int reason = request.send())
        throw Failure("cannot set the link of lo up: " + systemError(reason) + "; run it as root");
}

} // namespace

void unshareNamespaces(int kinds) {
    if (unshare(kinds) == 0) return;
    const int reason = errno;
    throw Failure("cannot make namespaces: " + systemError(reason) + "; " + adviceFor(reason));
}

NetworkNamespace NetworkNamespace::make() {
    unshareNamespaces(CLONE_NEWNET);
    switchIpv6Off();
    setLoopbackUp();
    return current();
}

NetworkNamespace NetworkNamespace::current() {
    const int descriptor = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        throw Failure("cannot open the network namespace: " + systemError(errno) +
                      "; see that /proc is mounted");
    return NetworkNamespace(descriptor);
}

NetworkNamespace::~NetworkNamespace() {
    close(descriptor_);
}

void NetworkNamespace::enter() const {
    if (setns(descriptor_, CLONE_NEWNET) != 0)
        throw Failure("cannot enter a network namespace: " + systemError(errno) + "; run it as root");
}

NamespaceVisit::NamespaceVisit(const NetworkNamespace& place) : before_(NetworkNamespace::current()) {
    place.enter();
}

NamespaceVisit::~NamespaceVisit() {
    try {
        before_.enter();
    } catch (const Failure&) { // where the thread came from, it may go back to
        std::terminate();
    }
}

} // namespace orvo::host
