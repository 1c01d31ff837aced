// SPDX-License-Identifier: MIT
#include "frames/CameraSearch.h"

#include "base/Output.h"
#include "frames/streams/StreamText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <bit>

namespace orvo::host {
namespace {

constexpr std::uint16_t ownPort = 49'152; // the first of those for anyone's use
constexpr std::uint8_t wantsAnswer = 0x01;
constexpr std::uint8_t mayBroadcast = 0x10;
constexpr std::uint16_t accessDenied = 0x8006;

std::uint32_t maskOf(const NetworkAddress& address) {
    return address.prefixBits == 0 ? 0 : ~std::uint32_t{0} << (32 - address.prefixBits);
}

std::uint32_t numberOf(Bytes address) {
    return big32(address, 0);
}

MacAddress macOf(Bytes bytes) {
    MacAddress mac{};
    std::ranges::copy(bytes.first(mac.size()), mac.begin());
    return mac;
}

/// Locally administered, and another one for each address.
MacAddress macFor(std::uint32_t address) {
    MacAddress mac{0x02, 0x4F};
    for (unsigned i = 0; i < 4; ++i) mac[2 + i] = static_cast<std::uint8_t>(address >> 8 * (3 - i));
    return mac;
}

/// An address beside the camera's, in its network; where the camera does not tell its mask, in the usual one.
std::string neighbourText(const FoundCamera& camera) {
    constexpr std::uint32_t usualMask = 0xFFFF'FF00;
    const auto mask = camera.subnetMask != 0 ? camera.subnetMask : usualMask;
    auto neighbour = camera.address + 1;
    if ((neighbour | mask) == ~std::uint32_t{0}) neighbour = camera.address - 1; // the broadcast address
    return fmt::format("{}/{}", ipv4Text(neighbour), std::popcount(mask));
}

std::string addressText(const FoundCamera& camera) {
    const auto text = ipv4Text(camera.address);
    return camera.subnetMask == 0 ? text : fmt::format("{}/{}", text, std::popcount(camera.subnetMask));
}

const char* stateText(Privilege privilege) {
    switch (privilege) {
    case Privilege::None:
        return "free";
    case Privilege::Control:
        return "controlled by a client";
    case Privilege::Exclusive:
        return "in exclusive use";
    case Privilege::Unknown:
        break;
    }
    return "unknown";
}

std::string adviceOn(const FoundCamera& camera, const NetworkAddress& own, const std::string& port) {
    if (camera.address == 0)
        return fmt::format("the camera {} has no address yet; give it one with its maker's tool\n",
                           macText(camera.mac));
    return fmt::format(
        "the camera {0} is in another network than {1}\n"
        "  to reach it:               sudo orvo-gige bridge --port {2} --tap gige0 --address {3}\n"
        "  to see whether it is free: orvo-gige cameras --port {2} --address {3}\n",
        ipv4Text(camera.address), own.text, port, neighbourText(camera));
}

} // namespace

CameraSearch::CameraSearch(const NetworkAddress& own)
    : own_(numberOf(own.bytes)), mask_(maskOf(own)), mac_(macFor(own_)) {}

bool CameraSearch::isInNetwork(std::uint32_t address) const noexcept {
    return address != 0 && (address & mask_) == (own_ & mask_);
}

CameraSearch::Frame CameraSearch::discovery() {
    constexpr std::uint32_t everyone = 0xFFFF'FFFF;
    return commandTo(broadcastMac, everyone, GigeCommand::Discovery, wantsAnswer | mayBroadcast, {});
}

CameraSearch::Frame CameraSearch::commandTo(const MacAddress& mac, std::uint32_t address, GigeCommand command,
                                            std::uint8_t flags, Bytes payload) {
    if (++lastRequest_ == 0) ++lastRequest_; // 0 is no request's number
    Frame bytes{gigeCommandKey, flags};
    appendBig(bytes, static_cast<std::uint16_t>(command), 2);
    appendBig(bytes, payload.size(), 2);
    appendBig(bytes, lastRequest_, 2);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return udpFrame({mac_, own_, ownPort}, {mac, address, gigeControlPort}, bytes);
}

CameraSearch::Frame CameraSearch::take(Bytes frame) {
    const auto ethernet = readEthernet(frame);
    if (!ethernet) return {};
    if (const auto arp = readArp(*ethernet))
        return arp->operation == 1 && numberOf(arp->target) == own_ ? arpReply(*arp, mac_) : Frame{};
    const auto ip = readIp(*ethernet);
    if (!ip || ip->source.size() != 4) return {};
    const auto udp = readUdp(*ip);
    if (!udp || udp->sourcePort != gigeControlPort || udp->destinationPort != ownPort) return {};
    const auto control = readGigeControl(udp->payload);
    return control && control->isAnswer ? takeControl(*ethernet, *ip, *control) : Frame{};
}

CameraSearch::Frame CameraSearch::takeControl(const EthernetHeader& ethernet, const IpPacket& ip,
                                              const GigeControl& control) {
    if (const auto discovery = readGigeDiscovery(control)) return takeDiscovery(ethernet, *discovery);
    if (control.command == GigeCommand::ReadRegister) takePrivilege(numberOf(ip.source), control);
    return {};
}

/// A camera in this network is asked whether it is free, at each of its answers until it tells.
CameraSearch::Frame CameraSearch::takeDiscovery(const EthernetHeader& ethernet,
                                                const GigeDiscovery& discovery) {
    auto mac = macOf(discovery.mac);
    if (mac == MacAddress{}) mac = macOf(ethernet.source); // software cameras may not know theirs
    const auto known = std::ranges::find(cameras_, mac, &FoundCamera::mac);
    if (known != cameras_.end()) return askPrivilege(*known, ethernet.source);
    if (cameras_.size() == mostCameras) return {};
    const auto address = numberOf(discovery.address);
    cameras_.push_back({mac, address, numberOf(discovery.subnetMask), numberOf(discovery.gateway),
                        discovery.maker, discovery.model, discovery.version, discovery.remark,
                        discovery.serial, discovery.userName, Privilege::Unknown, isInNetwork(address)});
    return askPrivilege(cameras_.back(), ethernet.source);
}

CameraSearch::Frame CameraSearch::askPrivilege(const FoundCamera& camera, Bytes mac) {
    if (!camera.isInNetwork || camera.privilege != Privilege::Unknown) return {};
    Frame payload;
    appendBig(payload, GigeControlPrivilege, 4);
    return commandTo(macOf(mac), camera.address, GigeCommand::ReadRegister, wantsAnswer, payload);
}

/// A camera in exclusive use denies others even this reading.
void CameraSearch::takePrivilege(std::uint32_t address, const GigeControl& control) {
    const auto camera = std::ranges::find(cameras_, address, &FoundCamera::address);
    if (camera == cameras_.end()) return;
    if (control.status == accessDenied)
        camera->privilege = Privilege::Exclusive;
    else if (control.status == 0 && control.payload.size() >= 4)
        camera->privilege = privilegeOf(big32(control.payload, 0));
}

std::string camerasText(const std::vector<FoundCamera>& cameras, const NetworkAddress& own,
                        const std::string& port) {
    std::vector<std::vector<std::string>> rows = {
        {"ADDRESS", "MAC", "MAKER", "MODEL", "SERIAL", "NAME", "STATE"}};
    std::string advice;
    for (const auto& camera : cameras) {
        rows.push_back({addressText(camera), macText(camera.mac), camera.maker, camera.model, camera.serial,
                        camera.userName.empty() ? "-" : camera.userName, stateText(camera.privilege)});
        if (!camera.isInNetwork) advice += adviceOn(camera, own, port);
    }
    return table(rows) + advice;
}

nlohmann::ordered_json camerasJson(const std::vector<FoundCamera>& cameras) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& camera : cameras)
        list.push_back({{"address", ipv4Text(camera.address)},
                        {"subnetMask", ipv4Text(camera.subnetMask)},
                        {"gateway", ipv4Text(camera.gateway)},
                        {"mac", macText(camera.mac)},
                        {"maker", camera.maker},
                        {"model", camera.model},
                        {"version", camera.version},
                        {"remark", camera.remark},
                        {"serial", camera.serial},
                        {"name", camera.userName},
                        {"state", stateText(camera.privilege)},
                        {"inNetwork", camera.isInNetwork}});
    return list;
}

} // namespace orvo::host
