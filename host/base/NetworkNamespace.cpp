// SPDX-License-Identifier: MIT
#include "base/NetworkNamespace.h"

#include "base/Failure.h"
#include "base/NetlinkRequest.h"

#include <fcntl.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sched.h>

#include <cerrno>
#include <exception>
#include <fstream>
#include <string>

namespace orvo::host {
namespace {

// A kernel without IPv6 lacks these files and needs none of this.
void switchIpv6Off() {
    for (const char* scope : {"all", "default"})
        std::ofstream(std::string("/proc/sys/net/ipv6/conf/") + scope + "/disable_ipv6") << "1\n";
}

void setLoopbackUp() {
    ifinfomsg loopback{};
    loopback.ifi_index = 1; // the same in every namespace
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
    throw Failure("cannot make namespaces: " + systemError(reason) +
                  (reason == ENOSPC ? "; raise the limits with 'sudo sysctl user.max_net_namespaces=1000 "
                                      "user.max_pid_namespaces=1000 user.max_mnt_namespaces=1000'"
                                    : "; run it as root on the machine itself, or in a container that was "
                                      "started with --privileged"));
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
        throw Failure("cannot open the network namespace: " + systemError(errno) + "; mount /proc");
    return NetworkNamespace(descriptor);
}

void NetworkNamespace::enter() const {
    if (setns(descriptor(), CLONE_NEWNET) != 0)
        throw Failure("cannot enter a network namespace: " + systemError(errno) + "; run it as root");
}

NamespaceVisit::NamespaceVisit(const NetworkNamespace& place) : before_(NetworkNamespace::current()) {
    place.enter();
}

NamespaceVisit::~NamespaceVisit() {
    try {
        before_.enter();
    } catch (const Failure&) { // impossible: the thread came from there
        std::terminate();
    }
}

} // namespace orvo::host
