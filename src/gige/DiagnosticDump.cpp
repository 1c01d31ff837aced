// SPDX-License-Identifier: MIT
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceStatics.h"
#include "gige/PortRegisters.h"
#include "gige/RegisterAccess.h"
#include "hal/OrvoHal.h"
#include "platform/WholeSleep.h"

#include <boost/format.hpp>

#include <locale>

namespace orvo::core::zume {

using templates::platform::sleepWhole;
using tools::logging::Hex;
using tools::logging::LogLevel;
using tools::logging::LogLine;

namespace {

constexpr int maxDeviceIndex = 31;
constexpr std::uint32_t lastDumpedPhyRegister = 28;
constexpr unsigned snapshotPauseUs = 1'000'000;

} // namespace

std::string PortState::phyContentToString(unsigned short value) {
    std::string text = (boost::format("0x%04x", std::locale::classic()) % value).str() + " [ ";
    for (int bit = 15; bit >= 0; --bit) {
        text += (value >> bit) & 1 ? '1' : '0';
        if (bit % 4 == 0 && bit != 0) text += '_';
    }
    return text + " ] ";
}

void OrvoGbePhysicalNetworkInterface::triggerDebugOutput() {
    logger();                              // its dispatcher is asked for it while no lock is held
    const tools::logging::HeldLines lines; // sent after board and gate are free again
    const std::lock_guard turn(
        OrvoGbePhysicalNetworkInterfaceStatics::getInstance()->boardSequence(d->boardId));
    const auto pass = d->gate.enterControl();
    if (!pass) {
        if (auto text = warning()) text << "': Device is released, no debug output.";
        return;
    }
    dumpText("' [START] DEBUG OUTPUT ...");
    dumpOwnDevice();
    dumpAllDevices();
    dumpCounters();
    dumpText("' Waiting 1 second...");
    sleepWhole(snapshotPauseUs);
    dumpCounters();
    dumpPhy();
    dumpText("' [STOP ] DEBUG OUTPUT");
}

void OrvoGbePhysicalNetworkInterface::dumpText(const char* content) {
    if (auto text = detail()) text << content;
}

void OrvoGbePhysicalNetworkInterface::dumpOwnDevice() {
    dumpText("' Informations from own device handle:");
    const auto serial = static_cast<std::uint32_t>(OHalGetBoardInfoInt(d->device, "board/serial"));
    const auto type = static_cast<std::uint16_t>(OHalGetBoardInfoInt(d->device, "board/type") & 0xFFFF);
    const char* name = OHalGetBoardInfoString(d->device, "board/name");
    if (auto text = detail()) text << "' [STORED  ]                 Board Index: " << d->boardId;
    if (auto text = detail()) text << "' [HAL     ]                Board Serial: " << Hex{serial};
    if (auto text = detail()) text << "' [HAL     ]                  Board Type: " << Hex{type};
    if (auto text = detail()) text << "' [HAL     ]                  Board Name: " << (name ? name : "");
}

void OrvoGbePhysicalNetworkInterface::dumpAllDevices() {
    dumpText("' Informations from HAL:");
    const int count = OHalGetDeviceCount();
    if (auto text = detail()) text << "' [HAL     ]               Devices Count: " << count;
    int found = 0;
    for (int index = 0; index <= maxDeviceIndex; ++index) {
        if (void* const other = OHalGetDevice(index)) {
            ++found;
            const bool hasSerial = dumpDevice(index, other);
            OHalPutDevice(other);
            if (!hasSerial) continue;
        }
        if (found == count) break;
    }
}

bool OrvoGbePhysicalNetworkInterface::dumpDevice(int index, void* other) {
    const auto serial = static_cast<std::uint32_t>(OHalGetBoardInfoInt(other, "board/serial"));
    if (serial == 0) {
        if (auto text = LogLine(logger(), LogLevel::Detail))
            text << "Found device with serial '0' on device index " << index << ", skipping...";
        return false;
    }
    if (auto text = detail())
        text << "' [HAL     ]               Device Found: Index " << index << ", Serial " << Hex{serial};
    return true;
}

void OrvoGbePhysicalNetworkInterface::dumpCounters() {
    dumpText("' Firmware Debug Registers:");
    for (const auto& row : portCounterRows) {
        const std::uint32_t address = d.get()->*row.address;
        if (address == 0) continue;
        const std::uint64_t value = readOr(d->device, address, 0);
        if (auto text = detail()) text << row.dumpText << value;
    }
}

void OrvoGbePhysicalNetworkInterface::dumpPhy() {
    dumpText("': ===============================");
    dumpText("': ====== PHY Register Dump ======");
    dumpText("': ===============================");
    d->mdio.selectPhy(d->device, d->portId); // the last user may have selected another port's
    for (std::uint32_t phyRegister = 0; phyRegister <= lastDumpedPhyRegister; ++phyRegister) {
        const std::uint16_t content = d->mdio.read(d->device, phyRegister).value_or(0);
        if (auto text = detail())
            text << "': [MDIO] ...... Register " << phyRegister << ": "
                 << PortState::phyContentToString(content);
    }
}

} // namespace orvo::core::zume
