// SPDX-License-Identifier: MIT
// Entries of the hardware access layer: devices and their FPGA.
#include "ConfigurationReport.h"
#include "Simulation.h"

#include <orvo/hal/orvo_hal.h>

#include <string_view>

using namespace orvo::sim;

namespace {

Board* presentBoard(int index) {
    reportConfigurationError();
    Board* const board = index < 0 ? nullptr : simulation().board(static_cast<unsigned>(index));
    if (board) board->passScript();
    return board && board->isPresent() ? board : nullptr;
}

int closeHandle(void* device) noexcept {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    return board->handles().close(reinterpret_cast<HandleBits>(device)) ? 0 : OrvoSimHalBadHandle;
}

} // namespace

int OHalInitLibraries() {
    reportConfigurationError();
    return configurationError().empty() ? 0 : OrvoSimHalBadArgument;
}

int OHalFreeLibraries() {
    return 0; // the simulation lives as long as the process
}

int OHalGetMaxDevices() {
    return static_cast<int>(maxBoards);
}

void* OHalInitDevice(int boardIndex) {
    Board* const board = presentBoard(boardIndex);
    if (!board || board->faults().takeOpenFailure()) return nullptr;
    return board->handles().open();
}

int OHalFreeDevice(void* device) {
    return closeHandle(device);
}

int OHalGetDeviceCount() {
    reportConfigurationError();
    int count = 0;
    for (const auto& board : simulation().boards()) count += board->isPresent() ? 1 : 0;
    return count;
}

void* OHalGetDevice(int deviceIndex) {
    Board* const board = presentBoard(deviceIndex);
    return board ? board->handles().open() : nullptr;
}

int OHalPutDevice(void* device) {
    return closeHandle(device);
}

int OHalGetBoardIndex(void* device, uint32_t) {
    Board* const board = boardOf(device);
    return board ? static_cast<int>(board->configuration().index) : OrvoSimHalBadHandle;
}

int OHalConfigureFpga(void* device, void* applet) {
    Board* const board = boardOf(device);
    return board ? board->configureFpga(static_cast<const OrvoSimRegisterMap*>(applet)) : OrvoSimHalBadHandle;
}

int OHalUnloadFpga(void* device) {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    if (!board->isPresent()) return OrvoSimHalBoardGone;
    board->unloadFpga();
    return 0;
}

int OHalGetBoardInfoInt(void* device, const char* key) {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    if (!board->isPresent()) return OrvoSimHalBoardGone;
    if (!key) return OrvoSimHalBadArgument;
    const std::string_view name = key;
    const auto& info = board->configuration();
    if (name == "ports/gige") return static_cast<int>(info.ports);
    if (name == "firmware/major") return static_cast<int>(info.firmware.major);
    if (name == "firmware/minor") return static_cast<int>(info.firmware.minor);
    if (name == "board/serial") return static_cast<int>(info.serial);
    if (name == "board/type") return info.type;
    return OrvoSimHalBadArgument;
}

const char* OHalGetBoardInfoString(void* device, const char* key) {
    Board* const board = boardOf(device);
    if (!board || !board->isPresent() || !key) return nullptr;
    const std::string_view name = key;
    if (name == "board/caminterface") return board->configuration().cameraInterface.c_str();
    if (name == "board/name") return board->configuration().name.c_str();
    return nullptr;
}
