// SPDX-License-Identifier: MIT
#include "device/Phy.h"

#include "base/Failure.h"
#include "base/Signals.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <iterator>

namespace orvo::host {
namespace {

constexpr useconds_t selectPauseUs = 100'000; // after the PHY's address is written
constexpr useconds_t readPauseUs = 50'000;    // before and after the result is taken

constexpr std::uint16_t noAnswer = 0xFFFF; // the idle bus reads so

constexpr std::chrono::seconds linkLimit{10};
constexpr useconds_t simulatorPauseUs = 10'000; // a real PHY's reads contain pauses

bool waitUntil(const BoardAccess& access, const std::function<bool()>& linkUp) {
    const auto end = access.seconds() + static_cast<double>(linkLimit.count());
    while (!linkUp()) {
        if (access.seconds() >= end) return false;
        throwIfEndRequested();
    }
    return true;
}

bool awaitSimulatedLink(const BoardAccess& access, PortAddress port) {
    const auto isUp = [&] {
        const auto state = access.simulator->state(port);
        return !state || state->linkUp != 0;
    };
    if (access.simulator->wire(port) == "none") return isUp(); // waiting would not help
    return waitUntil(access, [&] {
        if (isUp()) return true;
        usleep(simulatorPauseUs);
        return false;
    });
}

bool awaitRealLink(const BoardAccess& access, PortAddress port) {
    auto mdio = MdioMaster::at(access.libraries, port.board);
    return !mdio || waitUntil(access, [&] { return readLink(*mdio, port.port) == Link::Up; });
}

} // namespace

MdioMaster::MdioMaster(Board board) : board_(std::move(board)) {
    constexpr const char* names[RegisterCount] = {"GigE_MdioPhyAddr", "GigE_MdioRegAddr", "GigE_MdioRD",
                                                  "MdioReadReg"};
    std::transform(std::begin(names), std::end(names), addresses_.begin(),
                   [&](const char* name) { return board_.registerAddress(name); });
}

std::optional<MdioMaster> MdioMaster::at(const BoardLibraries& libraries, unsigned index) {
    auto board = Board::at(libraries, index);
    if (!board) return std::nullopt;
    MdioMaster master(std::move(*board));
    if (std::ranges::count(master.addresses_, 0U) != 0) return std::nullopt;
    return master;
}

std::optional<std::uint16_t> MdioMaster::read(unsigned phy, unsigned phyRegister) {
    const SignalShield noShortSleeps;
    if (selectedPhy_ != phy) {
        board_.write(addresses_[PhyAddress], phy);
        usleep(selectPauseUs);
        selectedPhy_ = phy;
    }
    board_.write(addresses_[RegisterAddress], phyRegister);
    board_.write(addresses_[StartRead], 0);
    usleep(readPauseUs);
    const auto value = board_.read(addresses_[ReadData]);
    usleep(readPauseUs);
    const auto content = static_cast<std::uint16_t>(value.value_or(noAnswer));
    return content != noAnswer ? std::optional(content) : std::nullopt;
}

const char* linkText(Link link) {
    constexpr const char* texts[] = {"down", "up", "unknown"};
    return texts[static_cast<unsigned>(link)];
}

Link readLink(MdioMaster& mdio, unsigned port) {
    mdio.read(port, phyStatusRegister);
    const auto status = mdio.read(port, phyStatusRegister);
    if (!status) return Link::Unknown;
    return hasLink(*status) ? Link::Up : Link::Down;
}

Link readLink(const BoardAccess& access, PortAddress port) {
    auto mdio = MdioMaster::at(access.libraries, port.board);
    return mdio ? readLink(*mdio, port.port) : Link::Unknown;
}

bool tryWaitForLink(const BoardAccess& access, PortAddress port) {
    return access.readsLinks() ? awaitRealLink(access, port) : awaitSimulatedLink(access, port);
}

void waitForLink(const BoardAccess& access, PortAddress port) {
    if (tryWaitForLink(access, port)) return;
    if (access.simulator && access.simulator->wire(port) == "none")
        throw Failure("port " + port.text() + " has no link: nothing is plugged in; cable it with --wire");
    throw Failure("port " + port.text() + " has no link after " + std::to_string(linkLimit.count()) +
                  " s; check the cable and the far end; a board that has just been powered up needs the "
                  "reset, so leave --no-reset out");
}

} // namespace orvo::host
