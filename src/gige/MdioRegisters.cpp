// SPDX-License-Identifier: MIT
#include "gige/MdioRegisters.h"

#include "gige/RegisterAccess.h"
#include "hal/OrvoHal.h"
#include "platform/WholeSleep.h"

namespace orvo::core::zume {

using templates::platform::sleepWhole;

namespace {

constexpr unsigned writePauseUs = 100'000;
constexpr unsigned readPauseUs = 50'000; // before and after the result is fetched

} // namespace

void MdioRegisters::resolve(void* applet) {
    regMdioRd_ = resolveRegister(applet, "GigE_MdioRD");
    regMdioWr_ = resolveRegister(applet, "GigE_MdioWR");
    regMdioData_ = resolveRegister(applet, "GigE_Mdio");
    regMdioRegAddr_ = resolveRegister(applet, "GigE_MdioRegAddr");
    regMdioPhyAddr_ = resolveRegister(applet, "GigE_MdioPhyAddr");
    regMdioReadReg_ = resolveRegister(applet, "MdioReadReg");
}

void MdioRegisters::selectPhy(void* device, std::uint32_t phyAddress) const {
    writeIfPresent(device, regMdioPhyAddr_, phyAddress);
    sleepWhole(writePauseUs);
}

void MdioRegisters::write(void* device, std::uint32_t phyRegister, std::uint16_t value) const {
    writeIfPresent(device, regMdioRegAddr_, phyRegister);
    writeIfPresent(device, regMdioData_, value);
    writeIfPresent(device, regMdioWr_, 0);
    sleepWhole(writePauseUs);
}

std::optional<std::uint16_t> MdioRegisters::read(void* device, std::uint32_t phyRegister) const {
    writeIfPresent(device, regMdioRegAddr_, phyRegister);
    writeIfPresent(device, regMdioRd_, 0);
    sleepWhole(readPauseUs);
    std::uint64_t content = 0;
    const bool done = regMdioReadReg_ != 0 && OHalRegisterRead(device, regMdioReadReg_, &content) == 0;
    sleepWhole(readPauseUs);
    if (!done) return std::nullopt;
    return static_cast<std::uint16_t>(content & 0xFFFF);
}

} // namespace orvo::core::zume
