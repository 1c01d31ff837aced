// SPDX-License-Identifier: MIT
// A board that answers whatever the input says, under the whole of an interface: setup, receive, send, the
// leecher's passes, reset, report, reinitialisation, statistics.
#include "fuzz/FuzzInput.h"
#include "gige/OrvoGbePhysicalNetworkInterface.h"
#include "gige/ReceivedWords.h"
#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"
#include "support/RecordedLog.h"

#include <boost/make_shared.hpp>

#include <memory>

namespace orvo::test {
namespace {

using namespace core::zume;

constexpr int portId = 2;

FuzzInput* answers = nullptr; // the rest of the input
int openDevices = 0, openApplets = 0;
char handle = 0;
std::string boardText;

int smallResult() {
    return answers->take<std::int8_t>();
}

/// One answer in four is an error, one a few bytes more or less than wanted, the rest what was wanted.
int readQueue(void*, std::uint32_t, void* buffer, std::uint64_t bytes, std::uint32_t) {
    if (answers->isEmpty()) return HalTimeout;
    const auto kind = answers->take<std::uint8_t>();
    const auto words = answers->takeBytes(bytes);
    if (!words.empty()) std::memcpy(buffer, words.data(), words.size());
    if (kind % 4 == 0) return -std::int32_t{answers->take<std::uint16_t>()};
    if (kind % 4 == 1) return static_cast<int>(bytes) + answers->take<std::int8_t>();
    return static_cast<int>(bytes);
}

void fillDeviceEntries() {
    m_POHalInitDevice = [](int) -> void* {
        if (answers->take<std::uint8_t>() == 1) return nullptr;
        ++openDevices;
        return &handle;
    };
    m_POHalFreeDevice = [](void*) { return --openDevices, smallResult(); };
    m_POHalConfigureFpga = [](void*, void*) { return answers->take<std::uint8_t>() == 1 ? -1 : 0; };
    m_POHalGetDeviceCount = [] { return smallResult(); };
    m_POHalGetDevice = [](int) -> void* { return answers->take<std::uint8_t>() % 2 ? &handle : nullptr; };
    m_POHalPutDevice = [](void*) { return smallResult(); };
    m_POHalGetBoardInfoInt = [](void*, const char* key) {
        // Few inputs have an answer that lets the setup go on: here it is the first one.
        const int value = answers->take<std::int32_t>();
        return std::string_view(key) == "ports/gige" && value == 0 ? 4 : value;
    };
    m_POHalGetBoardInfoString = [](void*, const char*) -> const char* {
        boardText = answers->takeText();
        if (boardText.empty()) boardText = "GigE";
        return boardText == "null" ? nullptr : boardText.c_str();
    };
    m_PKivFirmwareTrampoline = [](std::uint32_t, std::uint32_t) -> void* {
        if (answers->take<std::uint8_t>() == 1) return nullptr;
        ++openApplets;
        return &handle;
    };
    m_PKivUnloadKivFile = [](void*) { return --openApplets, smallResult(); };
    m_PKivLoadKivFileWithType = [](const char*, std::uint32_t, std::uint32_t) -> void* { return nullptr; };
}

void fillTrafficEntries() {
    m_PKivGetRegisterByName = [](void*, const char*) { return answers->take<std::uint8_t>() == 1 ? 0 : 8; };
    m_POHalRegisterRead = [](void*, std::uint32_t, std::uint64_t* value) {
        if (answers->take<std::uint8_t>() == 1) return -1;
        *value = answers->take<std::uint64_t>();
        return 0;
    };
    m_POHalRegisterWrite = [](void*, std::uint32_t, std::uint64_t) { return 0; };
    m_POHalDataQueueReadBufferLong = readQueue;
    m_POHalDataQueueGetNrOfLostWords = [](void*, std::uint32_t) { return smallResult(); };
    m_POHalDataQueueClear = [](void*, std::uint32_t) { return smallResult(); };
}

void step(OrvoGbePhysicalNetworkInterface& port) {
    boost::shared_ptr<PhysicalNetworkInterfaceEvent> event;
    switch (answers->take<std::uint8_t>() % 16) {
    case 0:
        port.addToSendQueue(
            boost::make_shared<EthernetFrame>(QByteArray(answers->take<std::uint16_t>() % 2000, 'x')));
        break;
    case 1:
        port.enableCustomChecksum(answers->take<std::uint8_t>() % 2);
        break;
    case 2:
        port.triggerDebugOutput();
        break;
    case 3:
        port.forceReset();
        break;
    case 4:
        demand(port.reinitialize(ReleaseDevice) && openDevices == 0);
        break;
    case 5:
        demand(port.reinitialize(ReopenDevice) <= (openDevices == 1));
        break;
    case 6:
        port.waitForTermination();
        break;
    case 7:
    case 8:
    case 9:
        port.monitorActionCommandTimeoutEvents();
        port.eventQueue()->queue->tryPop(event, std::chrono::milliseconds{0});
        break;
    default:
        bool received = false;
        const auto frame = port.receive(&received);
        demand(received == (frame != nullptr));
        demand(!frame || frame->length() <= static_cast<int>(maxTransmissionBytes));
    }
}

void live() {
    OrvoGbePhysicalNetworkInterface port;
    port.injectDependency("id", std::string("gige"));
    port.injectDependency("portId", portId);
    if (answers->take<std::uint8_t>() % 4) port.injectDependency("resetBoard", std::string("false"));
    const bool ready = port.setup();
    demand(openDevices == ready && openApplets == ready);
    port.eventQueue()->enabled = true;
    while (ready && !answers->isEmpty()) step(port);
    port.stop();
    port.waitForTermination();
}

} // namespace
} // namespace orvo::test

// Nobody sleeps here. Pacing of the other tests gives the processor up instead, which costs a fuzzer most of
// its runs.
extern "C" __attribute__((visibility("default"))) int usleep(useconds_t) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    using namespace orvo::test;
    FuzzInput input(bytes, count);
    answers = &input;
    static const bool isFilled = [] {
        fillDeviceEntries();
        fillTrafficEntries();
        return true;
    }();
    demand(isFilled);
    orvo::core::zume::c_MONITOR_CRC_ERRORS = input.take<std::uint8_t>() % 2;
    live();
    demand(openDevices == 0 && openApplets == 0);
    takeRecords();
    return 0;
}
