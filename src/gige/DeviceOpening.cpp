// SPDX-License-Identifier: MIT
// Opens a board: device, checks, applet, configuration of the FPGA.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"

#include <string_view>

namespace orvo::core::zume {

using tools::logging::LogLevel;

bool OrvoGbePhysicalNetworkInterface::D::openPhysicalDevice(const std::string& id) {
    device = OHalInitDevice(static_cast<int>(boardId));
    if (!device) {
        if (auto text = line(LogLevel::Error, id))
            text << "': Error in OHalInitDevice(...) for board id '" << boardId << "'";
        return false;
    }
    // After a release the applet is still loaded and the board has been checked.
    if (!applet && !(checkBoard(id) && loadApplet(id))) return refuseDevice();
    if (!configureFpga(id)) return refuseDevice();
    mdio.resolve(applet);
    return true;
}

bool OrvoGbePhysicalNetworkInterface::D::refuseDevice() {
    OHalFreeDevice(device);
    device = nullptr;
    return false;
}

bool OrvoGbePhysicalNetworkInterface::D::checkBoard(const std::string& id) {
    const char* interfaceKind = OHalGetBoardInfoString(device, "board/caminterface");
    if (!interfaceKind || std::string_view(interfaceKind) != "GigE") {
        if (auto text = line(LogLevel::Error, id))
            text << "': No GigE interface available for board id '" << boardId << "'";
        return false;
    }
    const auto portCount = static_cast<std::uint32_t>(OHalGetBoardInfoInt(device, "ports/gige"));
    if (portCount <= portId) {
        if (auto text = line(LogLevel::Error, id))
            text << "': Port id '" << portId << "' not available for board id '" << boardId << "'";
        return false;
    }
    return true;
}

bool OrvoGbePhysicalNetworkInterface::D::loadApplet(const std::string& id) {
    const auto major = static_cast<std::uint32_t>(OHalGetBoardInfoInt(device, "firmware/major"));
    const auto minor = static_cast<std::uint32_t>(OHalGetBoardInfoInt(device, "firmware/minor"));
    applet = KivFirmwareTrampoline(major & 0xFF, minor & 0xFF);
    if (applet) return true;
    if (auto text = line(LogLevel::Error, id)) text << "': Error in KivFirmwareTrampoline(...)";
    return false;
}

bool OrvoGbePhysicalNetworkInterface::D::configureFpga(const std::string& id) {
    const int result = OHalConfigureFpga(device, applet);
    if (result == 0) return true;
    if (auto text = line(LogLevel::Error, id))
        text << "': Error in OHalConfigureFpga(...) for board id '" << boardId << "' (result = " << result
             << ")";
    KivUnloadKivFile(applet);
    applet = nullptr;
    return false;
}

} // namespace orvo::core::zume
