// SPDX-License-Identifier: MIT
// Laying out and sending of requests.
#include "base/NetlinkRequest.h"

#include "base/Socket.h"

#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstring>

namespace orvo::host {

NetlinkRequest::NetlinkRequest(std::uint16_t type, unsigned flags) {
    header().nlmsg_len = NLMSG_HDRLEN;
    header().nlmsg_type = type;
    header().nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | NLM_F_ACK | flags);
}

void NetlinkRequest::append(const void* value, std::size_t bytes) {
    std::memcpy(message_.data() + header().nlmsg_len, value, bytes);
    header().nlmsg_len += static_cast<std::uint32_t>(bytes);
}

void NetlinkRequest::add(std::uint16_t attribute, const void* value, std::size_t bytes) {
    const auto begun = begin(attribute);
    append(value, bytes);
    end(begun);
}

std::uint32_t NetlinkRequest::begin(std::uint16_t attribute) {
    const auto at = header().nlmsg_len;
    put(rtattr{sizeof(rtattr), attribute});
    return at;
}

void NetlinkRequest::end(std::uint32_t attribute) {
    const auto bytes = static_cast<std::uint16_t>(header().nlmsg_len - attribute);
    std::memcpy(message_.data() + attribute, &bytes, sizeof bytes); // rta_len comes first
    header().nlmsg_len = NLMSG_ALIGN(header().nlmsg_len);
}

int NetlinkRequest::send() {
    const Socket kernel(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
    if (::send(kernel.descriptor(), message_.data(), header().nlmsg_len, 0) < 0) return errno;
    if (recv(kernel.descriptor(), message_.data(), message_.size(), 0) < 0) return errno;
    return -reinterpret_cast<const nlmsgerr*>(message_.data() + NLMSG_HDRLEN)->error;
}

} // namespace orvo::host
