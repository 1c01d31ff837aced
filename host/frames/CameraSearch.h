// SPDX-License-Identifier: MIT
// Which cameras answer a discovery of GigE Vision, as frames that go out and come in.
#pragma once

#include "frames/Interface.h"
#include "frames/UdpFrame.h"
#include "frames/streams/ControlChannel.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

struct FoundCamera {
    MacAddress mac{};
    std::uint32_t address = 0, subnetMask = 0, gateway = 0;
    std::string maker, model, version, remark, serial, userName;
    Privilege privilege = Privilege::Unknown; ///< that a client holds
    bool isInNetwork = false;                 ///< of the searcher's address
};

/// Makes the frames of a search and reads the answers. It answers ARP requests for its own address, as no
/// network stack does that for it. One thread.
class CameraSearch {
public:
    static constexpr std::size_t mostCameras = 64;

    using Frame = std::vector<std::uint8_t>;

    /// `own` is an IPv4 address that nobody else behind the port has.
    explicit CameraSearch(const NetworkAddress& own);

    /// To all cameras.
    Frame discovery();
    /// A frame that came. Returns the one to send in return; empty: none.
    Frame take(Bytes frame);

    /// In the order of their first answers.
    const std::vector<FoundCamera>& cameras() const noexcept { return cameras_; }

private:
    Frame takeControl(const EthernetHeader& ethernet, const IpPacket& ip, const GigeControl& control);
    Frame takeDiscovery(const EthernetHeader& ethernet, const GigeDiscovery& discovery);
    Frame askPrivilege(const FoundCamera& camera, Bytes mac);
    void takePrivilege(std::uint32_t address, const GigeControl& control);
    Frame commandTo(const MacAddress& mac, std::uint32_t address, GigeCommand command, std::uint8_t flags,
                    Bytes payload);
    bool isInNetwork(std::uint32_t address) const noexcept;

    const std::uint32_t own_, mask_;
    const MacAddress mac_;
    std::uint16_t lastRequest_ = 0;
    std::vector<FoundCamera> cameras_;
};

/// A table, and advice on each camera that is in another network than `own`; `port`, such as "0/1", is in it.
std::string camerasText(const std::vector<FoundCamera>& cameras, const NetworkAddress& own,
                        const std::string& port);
nlohmann::ordered_json camerasJson(const std::vector<FoundCamera>& cameras);

} // namespace orvo::host
