// SPDX-License-Identifier: MIT
// The board of the benchmarks.
#include "NullBoard.h"

#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"

#include <cstring>
#include <vector>

namespace orvo::bench {
namespace {

int handle = 0;
std::uint32_t queueWithFrames = 0;
std::vector<std::uint32_t> words; // the frame's data words; the size word is twice their number
bool sizeIsNext = true;

void* initDevice(int) {
    return &handle;
}
int succeed(void*) {
    return 0;
}
int succeedTwo(void*, void*) {
    return 0;
}
int infoInt(void*, const char*) {
    return 4;
}
const char* infoString(void*, const char*) {
    return "GigE";
}
int registerRead(void*, std::uint32_t, std::uint64_t* value) {
    *value = 0;
    return 0;
}
int registerWrite(void*, std::uint32_t, std::uint64_t) {
    return 0;
}
int clear(void*, std::uint32_t) {
    return 0;
}
int readQueue(void*, std::uint32_t queue, void* buffer, std::uint64_t bytes, std::uint32_t) {
    if (queue != queueWithFrames) return HalTimeout;
    if (sizeIsNext) {
        const auto frameBytes = static_cast<std::uint32_t>(2 * words.size());
        std::memcpy(buffer, &frameBytes, sizeof frameBytes);
    } else {
        std::memcpy(buffer, words.data(), bytes);
    }
    sizeIsNext = !sizeIsNext;
    return static_cast<int>(bytes);
}
void* trampoline(std::uint32_t, std::uint32_t) {
    return &handle;
}
int registerByName(void*, const char*) {
    return 8;
}
void* loadKivFile(const char*, std::uint32_t, std::uint32_t) {
    return nullptr;
}

} // namespace

void useNullBoard(std::uint32_t receiveQueue, std::uint32_t frameBytes) {
    queueWithFrames = receiveQueue;
    words.assign(frameBytes / 2, 0x1234);
    words.back() |= 0x10000;
    sizeIsNext = true;
    m_POHalInitDevice = initDevice;
    m_POHalFreeDevice = succeed;
    m_POHalConfigureFpga = succeedTwo;
    m_POHalGetBoardInfoInt = infoInt;
    m_POHalGetBoardInfoString = infoString;
    m_POHalRegisterRead = registerRead;
    m_POHalRegisterWrite = registerWrite;
    m_POHalDataQueueClear = clear;
    m_POHalDataQueueReadBufferLong = readQueue;
    m_PKivFirmwareTrampoline = trampoline;
    m_PKivUnloadKivFile = succeed;
    m_PKivGetRegisterByName = registerByName;
    m_PKivLoadKivFileWithType = loadKivFile;
}

} // namespace orvo::bench
