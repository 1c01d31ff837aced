// SPDX-License-Identifier: MIT
// Entries of the hardware access layer: devices and their FPGA.
#include "entries/OwnEntries.h"
#include "process/Process.h"

#include <string_view>

using namespace orvo::sim;

namespace {

Board* presentBoard(int index) {
    reportConfigurationError();
    Board* const board = index < 0 ? nullptr : simulation().board(static_cast<unsigned>(index));
    if (board) board->passScript();
    return board && board->isPresent() ? board : nullptr;
}

int closeHandle(void* device) {
    return withHandle(device, [device](Board& board) -> int {
        return board.handles().close(reinterpret_cast<HandleBits>(device)) ? 0 : OrvoSimHalBadHandle;
    });
}

int infoOf(const BoardConfiguration& info, std::string_view key) {
    if (key == "ports/gige") return static_cast<int>(info.ports);
    if (key == "firmware/major") return static_cast<int>(info.firmware.major);
    if (key == "firmware/minor") return static_cast<int>(info.firmware.minor);
    if (key == "board/serial") return static_cast<int>(info.serial);
    if (key == "board/type") return info.type;
    return OrvoSimHalBadArgument;
}

} // namespace

namespace orvo::sim::own {

int OHalInitLibraries() {
    reportConfigurationError();
    return configurationError().empty() ? 0 : OrvoSimHalBadArgument;
}

int OHalFreeLibraries() {
    return 0; // the boards live as long as the process
}

int OHalGetMaxDevices() {
    return static_cast<int>(maxBoards);
}

void* OHalInitDevice(int boardIndex) {
    Board* const board = presentBoard(boardIndex);
    return board && !board->accessFaults().take(openings) ? board->handles().open() : nullptr;
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
    return withHandle(device, [](Board& board) { return static_cast<int>(board.configuration().index); });
}

int OHalConfigureFpga(void* device, void* applet) {
    return withHandle(device, [applet](Board& board) {
        return board.configureFpga(static_cast<const OrvoSimRegisterMap*>(applet));
    });
}

int OHalUnloadFpga(void* device) {
    return withHandle(device, [](Board& board) -> int {
        if (!board.isPresent()) return OrvoSimHalBoardGone;
        board.unloadFpga();
        return 0;
    });
}

int OHalGetBoardInfoInt(void* device, const char* key) {
    return withHandle(device, [key](Board& board) -> int {
        if (!board.isPresent()) return OrvoSimHalBoardGone;
        return key ? infoOf(board.configuration(), key) : static_cast<int>(OrvoSimHalBadArgument);
    });
}

const char* OHalGetBoardInfoString(void* device, const char* key) {
    Board* const board = boardOf(device);
    if (!board || !board->isPresent() || !key) return nullptr;
    const std::string_view name = key;
    if (name == "board/caminterface") return board->configuration().cameraInterface.c_str();
    if (name == "board/name") return board->configuration().name.c_str();
    return nullptr;
}

} // namespace orvo::sim::own
