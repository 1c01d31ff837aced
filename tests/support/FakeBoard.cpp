// SPDX-License-Identifier: MIT
// The recording board and its entries.
#include "support/FakeBoard.h"

#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"
#include "support/Pacing.h"

#include <boost/format.hpp>

#include <algorithm>
#include <cstring>
#include <locale>
#include <utility>

namespace orvo::test {
namespace {

FakeBoard* board = nullptr;
int deviceTag = 0; // handles are addresses of these, or of a serial for a device that was only looked at
int appletTag = 0;

std::string hex(std::uint64_t value) {
    return (boost::format("%#x", std::locale::classic()) % value).str();
}

int infoInt(void* device, const char* key) {
    board->note(std::string("info ") + key);
    if (device != &deviceTag) return *static_cast<int*>(device);
    return board->infoInts.contains(key) ? board->infoInts[key] : -1;
}

const char* infoText(void*, const char* key) {
    board->note(std::string("info ") + key);
    return board->infoTexts.contains(key) ? board->infoTexts[key].c_str() : nullptr;
}

void fillDeviceEntries() {
    m_POHalInitDevice = [](int index) -> void* {
        return board->note("open " + std::to_string(index), board->opens) ? &deviceTag : nullptr;
    };
    m_POHalFreeDevice = [](void*) { return board->note("free device"); };
    m_POHalConfigureFpga = [](void*, void*) { return board->note("configure", board->configureResult); };
    m_POHalGetDeviceCount = [] { return board->note("count devices", board->deviceCount); };
    m_POHalGetDevice = [](int index) -> void* {
        board->note("get device " + std::to_string(index));
        return board->deviceSerials.contains(index) ? &board->deviceSerials[index] : nullptr;
    };
    m_POHalPutDevice = [](void*) { return board->note("put device"); };
    m_POHalGetBoardInfoInt = infoInt;
    m_POHalGetBoardInfoString = infoText;
}

void fillTrafficEntries() {
    m_POHalRegisterRead = [](void*, std::uint32_t address, std::uint64_t* value) {
        return board->readRegister(address, value);
    };
    m_POHalRegisterWrite = [](void*, std::uint32_t address, std::uint64_t value) {
        const auto name = board->nameOf(address);
        board->note("write " + name + " " + hex(value));
        if (board->onWrite) board->onWrite(name);
        return 0;
    };
    m_POHalDataQueueReadBufferLong = [](void*, std::uint32_t queue, void* buffer, std::uint64_t bytes,
                                        std::uint32_t timeoutMs) {
        return board->readQueue(queue, buffer, bytes, timeoutMs);
    };
    m_POHalDataQueueGetNrOfLostWords = [](void*, std::uint32_t queue) {
        return board->note("lost words of " + std::to_string(queue), board->lostWords);
    };
    m_POHalDataQueueClear = [](void*, std::uint32_t queue) {
        return board->note("clear " + std::to_string(queue));
    };
}

void fillAppletEntries() {
    m_PKivFirmwareTrampoline = [](std::uint32_t major, std::uint32_t minor) -> void* {
        const std::string version = std::to_string(major) + "." + std::to_string(minor);
        return board->note("applet " + version, board->hasApplet) ? &appletTag : nullptr;
    };
    m_PKivUnloadKivFile = [](void*) { return board->note("unload applet"); };
    m_PKivGetRegisterByName = [](void*, const char* name) { return board->find(name); };
    // The runtime counts as bound when this one is.
    m_PKivLoadKivFileWithType = [](const char*, std::uint32_t, std::uint32_t) -> void* { return nullptr; };
}

void clearEntries() {
#define ENTRY(Result, name, unbound, parameters, arguments) m_P##name = nullptr;
#define LIBRARY_ENTRY(Result, name, unbound, parameters, arguments) m_p##name = nullptr;
#include "hal/OrvoHalEntries.def"
#define ENTRY(Result, name, unbound, parameters, arguments) m_P##name = nullptr;
#include "hal/KivRuntimeEntries.def"
}

} // namespace

FakeBoard::FakeBoard() {
    board = this;
    fillDeviceEntries();
    fillTrafficEntries();
    fillAppletEntries();
    holdClock();
    onSleep([this](std::chrono::microseconds length) { note("sleep " + std::to_string(length.count())); });
}

FakeBoard::~FakeBoard() {
    restorePacing();
    clearEntries();
    board = nullptr;
}

std::vector<QueueAnswer> FakeBoard::transmission(const std::vector<std::uint8_t>& frame) {
    std::vector<std::uint32_t> words;
    for (std::size_t i = 0; i + 1 < frame.size(); i += 2) words.push_back(frame[i] + 256U * frame[i + 1]);
    words.back() |= 0x10000;
    return {{4, {static_cast<std::uint32_t>(frame.size())}}, {static_cast<int>(4 * words.size()), words}};
}

Journal FakeBoard::takeJournal() {
    const std::lock_guard guard(lock_);
    return std::exchange(journal_, {});
}

int FakeBoard::note(std::string line, int result) {
    const std::lock_guard guard(lock_);
    journal_.push_back(std::move(line));
    return result;
}

int FakeBoard::find(const std::string& name) {
    note("find " + name);
    if (lacking.contains(name)) return 0;
    const std::lock_guard guard(lock_);
    names_.push_back(name);
    return 8 * static_cast<int>(names_.size());
}

std::string FakeBoard::nameOf(std::uint32_t address) {
    const std::lock_guard guard(lock_);
    return address == 0 ? "register 0" : names_.at(address / 8 - 1);
}

int FakeBoard::readRegister(std::uint32_t address, std::uint64_t* value) {
    const std::string name = nameOf(address);
    if (onRead) onRead(name);
    if (failing.contains(name)) return note("read " + name + " fails", -1);
    const std::lock_guard guard(lock_);
    auto& values = registers[name];
    *value = values.empty() ? 0 : values.front();
    if (values.size() > 1) values.erase(values.begin());
    journal_.push_back("read " + name + " " + hex(*value));
    return 0;
}

int FakeBoard::readQueue(std::uint32_t queue, void* buffer, std::uint64_t bytes, std::uint32_t timeoutMs) {
    if (onRead) onRead("queue " + std::to_string(queue));
    const std::lock_guard guard(lock_);
    journal_.push_back("queue " + std::to_string(queue) + " " + std::to_string(bytes) + " bytes " +
                       std::to_string(timeoutMs) + " ms");
    auto& pending = queues[queue];
    if (pending.empty()) return HalTimeout;
    const QueueAnswer next = pending.front();
    pending.erase(pending.begin());
    const std::uint64_t skipped = std::min<std::uint64_t>(bytes, 4 * next.skippedWords);
    if (!next.words.empty())
        std::memcpy(static_cast<char*>(buffer) + skipped, next.words.data(),
                    std::min<std::size_t>(bytes - skipped, 4 * next.words.size()));
    return next.result;
}

} // namespace orvo::test
