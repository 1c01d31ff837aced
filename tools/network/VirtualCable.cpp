// The cable is made by one netlink message; what the interfaces leave to hardware is an ethtool request.
#include "network/VirtualCable.h"

#include "app/Failure.h"

#include <linux/ethtool.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace orvo::host {
namespace {

/// A socket that goes with the scope.
class Socket {
public:
    Socket(int family, int type, int protocol) : descriptor_(socket(family, type | SOCK_CLOEXEC, protocol)) {}
    ~Socket() { close(descriptor_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int descriptor() const noexcept { return descriptor_; }

private:
    const int descriptor_;
};

/// A netlink request under construction; attributes nest. Everything that is put into one here fits.
class LinkRequest {
public:
    explicit LinkRequest(std::uint16_t flags) {
        header().nlmsg_len = NLMSG_HDRLEN;
        header().nlmsg_type = RTM_NEWLINK;
        header().nlmsg_flags = flags;
        put(ifinfomsg{});
    }

    template <typename T> void put(const T& value) { append(&value, sizeof value); }

    void add(std::uint16_t type, const void* value, std::size_t bytes) {
        const auto attribute = begin(type);
        append(value, bytes);
        end(attribute);
    }
    void add(std::uint16_t type, const std::string& text) { add(type, text.c_str(), text.size() + 1); }

    /// Between the two, attributes go into this one.
    std::uint32_t begin(std::uint16_t type) {
        const auto at = header().nlmsg_len;
        put(rtattr{sizeof(rtattr), type});
        return at;
    }
    void end(std::uint32_t attribute) {
        const auto bytes = static_cast<std::uint16_t>(header().nlmsg_len - attribute);
        std::memcpy(message_.data() + attribute, &bytes, sizeof bytes); // rta_len comes first
        header().nlmsg_len = NLMSG_ALIGN(header().nlmsg_len);
    }

    /// 0, or what the kernel has against it, as an errno value.
    int send() {
        const Socket kernel(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
        if (::send(kernel.descriptor(), message_.data(), header().nlmsg_len, 0) < 0) return errno;
        if (recv(kernel.descriptor(), message_.data(), message_.size(), 0) < 0) return errno;
        return -reinterpret_cast<const nlmsgerr*>(message_.data() + NLMSG_HDRLEN)->error;
    }

private:
    nlmsghdr& header() { return *reinterpret_cast<nlmsghdr*>(message_.data()); }
    void append(const void* value, std::size_t bytes) {
        std::memcpy(message_.data() + header().nlmsg_len, value, bytes);
        header().nlmsg_len += static_cast<std::uint32_t>(bytes);
    }

    alignas(nlmsghdr) std::array<std::uint8_t, 1024> message_{};
};

} // namespace

void makeVirtualCable(const std::string& near, const std::string& far, const NetworkNamespace& farNamespace) {
    LinkRequest request(NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL);
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
    const Socket control(AF_INET, SOCK_DGRAM, 0);
    if (ioctl(control.descriptor(), SIOCETHTOOL, &request) != 0)
        throw Failure("cannot have " + quoted(interface) + " finish its frames: " + systemError(errno) +
                      "; use a kernel that can switch checksum offload off");
}

} // namespace orvo::host
