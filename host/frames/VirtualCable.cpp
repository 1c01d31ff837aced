// SPDX-License-Identifier: MIT
// The cable is made by one netlink message; what the interfaces leave to hardware is an ethtool request.
#include "frames/VirtualCable.h"

#include "base/Failure.h"
#include "base/NetlinkRequest.h"
#include "base/Socket.h"

#include <linux/ethtool.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <linux/veth.h>
#include <net/if.h>

#include <cerrno>

namespace orvo::host {

void makeVirtualCable(const std::string& near, const std::string& far, const NetworkNamespace& farNamespace) {
    NetlinkRequest request(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
    request.put(ifinfomsg{});
    request.add(IFLA_IFNAME, near);
    const auto information = request.begin(IFLA_LINKINFO);
    request.add(IFLA_INFO_KIND, std::string("veth"));
    const auto data = request.begin(IFLA_INFO_DATA);
    const auto peer = request.begin(VETH_INFO_PEER);
    request.put(ifinfomsg{});
    request.add(IFLA_IFNAME, far);
    const int descriptor = farNamespace.descriptor();
    request.add(IFLA_NET_NS_FD, &descriptor, sizeof descriptor);
    for (const auto attribute : {peer, data, information}) request.end(attribute);
    if (const int reason = request.send())
        throw Failure("cannot make the interfaces " + quoted(near) + " and " + quoted(far) + ": " +
                      systemError(reason) + "; load the kernel's driver with 'sudo modprobe veth'");
}

// Without checksums of hardware there is no segmentation by it either: the kernel sees to that.
void sendFinishedFrames(const std::string& interface) {
    ethtool_value setting = {ETHTOOL_STXCSUM, 0};
    ifreq request = {};
    interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
    request.ifr_data = reinterpret_cast<char*>(&setting);
    if (!Socket(AF_INET, SOCK_DGRAM).ask(SIOCETHTOOL, &request))
        throw Failure("cannot have " + quoted(interface) + " finish its frames: " + systemError(errno) +
                      "; use a kernel that can switch checksum offload off");
}

} // namespace orvo::host
