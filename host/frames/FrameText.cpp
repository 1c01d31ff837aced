// SPDX-License-Identifier: MIT
#include "frames/FrameText.h"

#include "frames/GigeVision.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>

namespace orvo::host {
namespace {

std::string typeText(const EthernetHeader& ethernet) {
    switch (ethernet.type) {
    case EtherTypeIpv4:
        return "IPv4";
    case EtherTypeIpv6:
        return "IPv6";
    case EtherTypeArp:
        return "ARP";
    default:
        return ethernet.type < 1536 ? "IEEE 802.3" : fmt::format("{:#06x}", ethernet.type);
    }
}

std::string arpText(const ArpPacket& arp) {
    if (arp.operation == 1) return fmt::format("who has {}? tell {}", ipText(arp.target), ipText(arp.sender));
    if (arp.operation == 2)
        return fmt::format("{} is at {}", ipText(arp.sender), macText(arp.senderHardware));
    return fmt::format("operation {}", arp.operation);
}

std::string endText(Bytes address, std::uint16_t port) {
    return address.size() == 4 ? fmt::format("{}:{}", ipText(address), port)
                               : fmt::format("[{}]:{}", ipText(address), port);
}

std::string tcpText(const IpPacket& ip, const TcpSegment& tcp) {
    constexpr struct {
        std::uint8_t bit;
        const char* name;
    } names[] = {{2, "SYN"}, {1, "FIN"}, {4, "RST"}, {8, "PSH"}, {16, "ACK"}, {32, "URG"}};
    std::string flags;
    for (const auto& [bit, name] : names)
        if (tcp.flags & bit) flags += std::string(flags.empty() ? "" : ",") + name;
    return fmt::format("{} > {} TCP {} seq {} ack {} window {} data {}", endText(ip.source, tcp.sourcePort),
                       endText(ip.destination, tcp.destinationPort), flags, tcp.sequence, tcp.acknowledgment,
                       tcp.window, tcp.payload.size());
}

std::string icmpText(const IpPacket& ip) {
    const bool isV4 = ip.protocol == IpIcmp;
    const auto type = ip.payload[0];
    const char* const echo = type == (isV4 ? 8 : 128)   ? "echo request"
                             : type == (isV4 ? 0 : 129) ? "echo reply"
                                                        : nullptr;
    const std::string protocol = isV4 ? "ICMP" : "ICMPv6";
    if (echo && ip.payload.size() >= 8)
        return fmt::format("{} {}, id {}, seq {}", protocol, echo, big16(ip.payload, 4),
                           big16(ip.payload, 6));
    return fmt::format("{} type {}", protocol, type);
}

/// Of registers: the first one, and how many follow.
std::string wordsText(const GigeControl& control) {
    const auto words = gigeWordsOf(control);
    const bool isWrite = control.command == GigeCommand::WriteRegister;
    const std::size_t each = isWrite && !control.isAnswer ? 2 : 1;
    if (words.count() < each) return {};
    if (isWrite && control.isAnswer) return {}; // only says how far it came
    auto text = fmt::format(" {:#010x}", words[0]);
    if (each == 2) text += fmt::format(" = {:#010x}", words[1]);
    const auto more = words.count() / each - 1;
    return more == 0 ? text : text + fmt::format(" and {} more", more);
}

std::string memoryText(const GigeControl& control) {
    const auto bytes = control.payload;
    if (bytes.size() < 4) return {};
    const auto address = fmt::format(" {:#010x}", big32(bytes, 0));
    if (control.command == GigeCommand::ReadMemory && !control.isAnswer)
        return bytes.size() < 8 ? address : fmt::format("{}, {} bytes", address, big16(bytes, 6));
    return control.command == GigeCommand::WriteMemory && control.isAnswer
               ? std::string{}
               : fmt::format("{}, {} bytes", address, bytes.size() - 4);
}

std::string controlDetails(const GigeControl& control) {
    if (const auto resend = readGigeResend(control))
        return fmt::format(" block {} packets {} to {}", resend->block, resend->first, resend->last);
    if (const auto ms = readGigePending(control)) return fmt::format(" {} ms", *ms);
    if (const auto event = readGigeEvent(control))
        return fmt::format(" {:#06x} block {}", event->id, event->block);
    switch (control.command) {
    case GigeCommand::ReadRegister:
    case GigeCommand::WriteRegister:
        return wordsText(control);
    case GigeCommand::ReadMemory:
    case GigeCommand::WriteMemory:
        return memoryText(control);
    default:
        return {};
    }
}

std::string controlText(const GigeControl& control) {
    auto text = "GVCP " + gigeCommandName(control.command) + (control.isAnswer ? " answer" : "") +
                controlDetails(control);
    if (control.isAnswer && control.status != 0) text += ": " + gigeStatusName(control.status);
    return text + fmt::format(", id {}", control.requestId);
}

std::string streamText(const GigeStreamPacket& packet) {
    auto text =
        fmt::format("GVSP block {} packet {} {}", packet.block, packet.packet, gigeFormName(packet.form));
    if (const auto image = readGigeImage(packet))
        text +=
            fmt::format(" {} x {}, pixel format {:#010x}", image->width, image->height, image->pixelFormat);
    if (packet.form == GigeForm::Payload && !packet.isUnavailable())
        text += fmt::format(" {} bytes", packet.payload.size());
    if (packet.isResent()) text += ", resent";
    if (packet.isUnavailable()) text += ": " + gigeStatusName(packet.status);
    return text;
}

} // namespace

std::string FrameDescriber::describe(Bytes frame) {
    const auto ethernet = readEthernet(frame);
    if (!ethernet) return fmt::format("{} bytes, too short for an Ethernet header", frame.size());
    auto line = fmt::format("{} > {} {} {}", macText(ethernet->source), macText(ethernet->destination),
                            typeText(*ethernet), frame.size());
    if (ethernet->vlan) line += fmt::format(" vlan {}", *ethernet->vlan);
    if (const auto arp = readArp(*ethernet)) return line + " " + arpText(*arp);
    if (const auto ip = readIp(*ethernet)) return line + " " + describeIp(*ip);
    return line;
}

std::string FrameDescriber::describeIp(const IpPacket& ip) {
    if (const auto udp = readUdp(ip)) return describeUdp(ip, *udp);
    if (const auto tcp = readTcp(ip)) return tcpText(ip, *tcp);
    auto line = fmt::format("{} > {} ", ipText(ip.source), ipText(ip.destination));
    if (ip.isFragment) line += fmt::format("fragment at {} ", ip.fragmentOffset);
    const bool isIcmp = ip.protocol == IpIcmp || ip.protocol == IpIcmpv6;
    if (isIcmp && ip.fragmentOffset == 0 && !ip.payload.empty()) return line + icmpText(ip);
    return line + fmt::format("protocol {}", ip.protocol);
}

std::string FrameDescriber::describeUdp(const IpPacket& ip, const UdpDatagram& udp) {
    const auto ends =
        endText(ip.source, udp.sourcePort) + " > " + endText(ip.destination, udp.destinationPort) + " ";
    if (udp.sourcePort == gigeControlPort || udp.destinationPort == gigeControlPort) {
        if (const auto control = readGigeControl(udp.payload)) return ends + controlText(*control);
    } else if (const auto packet = readGigeStream(udp.payload); packet && isStream(ip, udp, *packet)) {
        return ends + streamText(*packet);
    }
    return ends + fmt::format("UDP {} bytes", udp.payload.size());
}

bool FrameDescriber::isStream(const IpPacket& ip, const UdpDatagram& udp, const GigeStreamPacket& packet) {
    Flow flow{.isUsed = true};
    std::ranges::copy(ip.destination, flow.key.begin());
    flow.key[16] = static_cast<std::uint8_t>(udp.destinationPort >> 8);
    flow.key[17] = static_cast<std::uint8_t>(udp.destinationPort);
    const auto isThis = [&](const Flow& known) { return known.isUsed && known.key == flow.key; };
    if (std::ranges::any_of(streams_, isThis)) return true;
    if (packet.form != GigeForm::Leader || packet.isUnavailable()) return false;
    streams_[oldest_] = flow;
    oldest_ = (oldest_ + 1) % streams_.size();
    return true;
}

std::string clockText(std::chrono::system_clock::time_point time) {
    using std::chrono::microseconds;
    const auto since = std::chrono::duration_cast<microseconds>(time.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
    return fmt::format("{:%H:%M:%S}.{:06}", fmt::gmtime(static_cast<std::time_t>(seconds.count())),
                       (since - seconds).count());
}

} // namespace orvo::host
