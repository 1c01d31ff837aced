// SPDX-License-Identifier: MIT
// Reset of a board's GigE hardware: the firmware's reset lines and the PHYs.
#include "config/PropertiesLocations.h"
#include "config/TweakProperties.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceStatics.h"
#include "gige/RegisterAccess.h"
#include "hal/OrvoHal.h"
#include "platform/WholeSleep.h"

namespace orvo::core::zume {

using templates::platform::sleepWhole;
using tools::logging::Hex;
using tools::logging::LogLevel;

namespace {

constexpr unsigned portsPerBoard = 4;
constexpr unsigned resetPauseUs = 100'000;

constexpr std::uint16_t resetBit = 0x8000;       // PHY register 0, bit 15
constexpr std::uint16_t driverClassBit = 0x8000; // extended register 0x0B, bit 15
constexpr int phyResetRounds = 50;               // of 100 ms

/// The PHY's registers 29 and 30 are an index/data pair in front of its extended registers.
constexpr std::uint32_t extendedIndex = 29;
constexpr std::uint32_t extendedData = 30;

/// The ports whose PHY gets bit 15 of extended register 0x0B; the files are read anew at every reset.
int driverClassPortMask() {
    using namespace templates::platform;
    return TweakProperties().property<int>(tweakPropertyTable, userPropertiesFile(), systemPropertiesFile(),
                                           "GIGE::DriverClassPortMask", 0, nullptr);
}

} // namespace

void OrvoGbePhysicalNetworkInterface::forceReset() {
    const int ownPort = d->portId < portsPerBoard ? 1 << d->portId : 0; // others have no reset line
    d->executeBoardReset(ownPort, true);
}

void OrvoGbePhysicalNetworkInterface::D::executeBoardReset(int portMask, bool force) {
    logger(); // its dispatcher is asked for it while no lock is held
    auto* const statics = OrvoGbePhysicalNetworkInterfaceStatics::getInstance();
    const int driverClassMask = driverClassPortMask();
    const tools::logging::HeldLines lines; // sent after board and gate are free again
    const std::lock_guard turn(statics->boardSequence(boardId));
    const auto pass = gate.enterControl();
    if (!pass || !device || !applet) {
        if (auto text = line(LogLevel::Warning)) text << "Device is released, no reset on board " << boardId;
        return;
    }
    if (!force) {
        if (statics->isReset(boardId)) return;
        if (auto text = line(LogLevel::Information))
            text << "Resetting GigE hardware on board " << boardId << " ... ";
    }
    mdio.resolve(applet);
    regGigeReset = resolveRegister(applet, "GigE_Reset");
    OHalRegisterWrite(device, regGigeReset, static_cast<std::uint64_t>(~portMask & 0xF)); // active low
    sleepWhole(resetPauseUs);
    OHalRegisterWrite(device, regGigeReset, 0xF);
    sleepWhole(resetPauseUs);
    for (unsigned port = 0; port < portsPerBoard; ++port)
        if (portMask & (1 << port)) resetPort(port, force, driverClassMask);
    if (force) return;
    startBoard();
    statics->markReset(boardId);
}

void OrvoGbePhysicalNetworkInterface::D::resetPort(unsigned port, bool force, int driverClassMask) {
    if (force)
        if (auto text = line(LogLevel::Information))
            text << "Resetting GigE PHY " << port << " on board " << boardId << " ... ";
    mdio.selectPhy(device, port);
    mdio.write(device, extendedIndex, 0x1B);
    mdio.write(device, extendedData, 0x418F);
    mdio.write(device, extendedIndex, 0x16);
    mdio.write(device, extendedData, 0xA2DA);
    mdio.write(device, extendedIndex, 0x0B);
    const std::uint16_t found = mdio.read(device, extendedData).value_or(0);
    mdio.write(device, extendedIndex, 0x0B);
    const bool isDriverClass = (driverClassMask & (1 << port)) != 0;
    const auto wanted =
        static_cast<std::uint16_t>(isDriverClass ? found | driverClassBit : found & ~driverClassBit);
    mdio.write(device, extendedData, wanted);
    mdio.write(device, 0, 0x9140); // reset, auto-negotiation, 1000 Mbit/s, full duplex
    awaitPhyReset(port, wanted);
}

void OrvoGbePhysicalNetworkInterface::D::awaitPhyReset(unsigned port, std::uint16_t control) {
    for (int round = 0; round < phyResetRounds; ++round) {
        control = mdio.read(device, 0).value_or(control); // a failed read keeps what was seen last
        if ((control & resetBit) == 0) return;
    }
    if (auto text = line(LogLevel::Warning))
        text << "GigE PHY " << port << " on board " << boardId << " still in reset after "
             << phyResetRounds / 10 << " seconds, going on (result = " << Hex{control} << ")";
}

void OrvoGbePhysicalNetworkInterface::D::startBoard() {
    OHalRegisterWrite(device, resolveRegister(applet, "GigE_TxStart"), 1);
    OHalRegisterWrite(device, resolveRegister(applet, "GigE_RxEnable"), 1);
    for (int port = 0; port < int{portsPerBoard}; ++port)
        OHalRegisterWrite(device,
                          static_cast<std::uint32_t>(resolvePortRegister(&applet, "GigeTxStart", port)), 1);
}

} // namespace orvo::core::zume
