// The recording board and its entries.
#include "support/FakeBoard.h"

#include "hal/KivRuntime.h"
#include "hal/OrvoHal.h"
#include "support/Pacing.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

namespace orvo::test {
namespace {

FakeBoard* board = nullptr;
int deviceTag = 0; // handles are addresses of these
int appletTag = 0;

/// Counts a call for its length.
class Inside {
public:
    explicit Inside(std::atomic<int>& count) : count_(count) { ++count_; }
    ~Inside() { --count_; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    std::atomic<int>& count_;
};

std::string hex(std::uint64_t value) {
    std::ostringstream text;
    text << std::hex << std::showbase << value;
    return text.str();
}

void* initDevice(int index) {
    board->note("open " + std::to_string(index));
    return board->opens ? &deviceTag : nullptr;
}
int freeDevice(void*) {
    board->freeDevice();
    return 0;
}
int getDeviceCount() {
    board->note("count devices");
    return board->deviceCount;
}
void* getDevice(int index) {
    board->note("get device " + std::to_string(index));
    const auto found = board->deviceSerials.find(index);
    return found == board->deviceSerials.end() ? nullptr : &found->second;
}
int putDevice(void*) {
    board->note("put device");
    return 0;
}
int configureFpga(void*, void*) {
    board->note("configure");
    return board->configureResult;
}
int getInfoInt(void* device, const char* key) {
    board->note(std::string("info ") + key);
    if (device != &deviceTag) return *static_cast<int*>(device);
    const auto found = board->infoInts.find(key);
    return found == board->infoInts.end() ? -1 : found->second;
}
const char* getInfoString(void*, const char* key) {
    board->note(std::string("info ") + key);
    const auto found = board->infoTexts.find(key);
    return found == board->infoTexts.end() ? nullptr : found->second.c_str();
}
int registerRead(void*, std::uint32_t address, std::uint64_t* value) {
    return board->readRegister(address, value);
}
int registerWrite(void*, std::uint32_t address, std::uint64_t value) {
    board->writeRegister(address, value);
    return 0;
}
int readBufferLong(void*, std::uint32_t queue, void* buffer, std::uint64_t bytes, std::uint32_t timeoutMs) {
    return board->readQueue(queue, buffer, bytes, timeoutMs);
}
int getLostWords(void*, std::uint32_t queue) {
    board->note("lost words of " + std::to_string(queue));
    return board->lostWords;
}
int clearQueue(void*, std::uint32_t queue) {
    board->note("clear " + std::to_string(queue));
    return 0;
}
void* trampoline(std::uint32_t major, std::uint32_t minor) {
    board->note("applet " + std::to_string(major) + "." + std::to_string(minor));
    return board->hasApplet ? &appletTag : nullptr;
}
int unloadApplet(void*) {
    board->note("unload applet");
    return 0;
}
int registerByName(void*, const char* name) {
    return static_cast<int>(board->find(name));
}
void* loadKivFile(const char*, std::uint32_t, std::uint32_t) {
    return nullptr; // the probe: there, but never called
}

void fillTables(bool fill) {
    m_POHalFreeDevice = fill ? freeDevice : nullptr;
    m_POHalGetDeviceCount = fill ? getDeviceCount : nullptr;
    m_POHalGetDevice = fill ? getDevice : nullptr;
    m_POHalPutDevice = fill ? putDevice : nullptr;
    m_POHalConfigureFpga = fill ? configureFpga : nullptr;
    m_POHalGetBoardInfoInt = fill ? getInfoInt : nullptr;
    m_POHalGetBoardInfoString = fill ? getInfoString : nullptr;
    m_POHalRegisterRead = fill ? registerRead : nullptr;
    m_POHalRegisterWrite = fill ? registerWrite : nullptr;
    m_POHalDataQueueReadBufferLong = fill ? readBufferLong : nullptr;
    m_POHalDataQueueGetNrOfLostWords = fill ? getLostWords : nullptr;
    m_POHalDataQueueClear = fill ? clearQueue : nullptr;
    m_POHalInitDevice = fill ? initDevice : nullptr;
    m_PKivFirmwareTrampoline = fill ? trampoline : nullptr;
    m_PKivUnloadKivFile = fill ? unloadApplet : nullptr;
    m_PKivGetRegisterByName = fill ? registerByName : nullptr;
    m_PKivLoadKivFileWithType = fill ? loadKivFile : nullptr;
}

} // namespace

FakeBoard::FakeBoard() {
    board = this;
    fillTables(true);
    onSleep([this](std::chrono::microseconds length) { note("sleep " + std::to_string(length.count())); });
}

FakeBoard::~FakeBoard() {
    restorePacing();
    fillTables(false);
    board = nullptr;
}

void FakeBoard::lack(const std::string& name) {
    const std::lock_guard guard(lock_);
    lacking_.insert(name);
}

void FakeBoard::answer(const std::string& name, std::vector<std::uint64_t> values) {
    const std::lock_guard guard(lock_);
    answers_[name] = std::move(values);
}

void FakeBoard::failReads(const std::string& name, bool fail) {
    const std::lock_guard guard(lock_);
    if (fail)
        failing_.insert(name);
    else
        failing_.erase(name);
}

void FakeBoard::queue(std::uint32_t queue, std::vector<QueueAnswer> answers) {
    const std::lock_guard guard(lock_);
    auto& pending = queues_[queue];
    pending.insert(pending.end(), answers.begin(), answers.end());
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

void FakeBoard::note(std::string line) {
    const std::lock_guard guard(lock_);
    journal_.push_back(std::move(line));
}

std::uint32_t FakeBoard::find(const std::string& name) {
    note("find " + name);
    const std::lock_guard guard(lock_);
    if (lacking_.contains(name)) return 0;
    auto found = std::find(names_.begin(), names_.end(), name);
    if (found == names_.end()) found = names_.insert(names_.end(), name);
    return 8 * static_cast<std::uint32_t>(found - names_.begin() + 1);
}

std::string FakeBoard::nameOf(std::uint32_t address) const {
    return address == 0 ? "register 0" : names_.at(address / 8 - 1);
}

void FakeBoard::freeDevice() {
    note("free device");
    if (onRelease) onRelease();
}

int FakeBoard::readRegister(std::uint32_t address, std::uint64_t* value) {
    const Inside inside(callsInside_);
    std::unique_lock guard(lock_);
    const std::string name = nameOf(address);
    const bool fails = failing_.contains(name);
    if (!fails) {
        auto& values = answers_[name];
        *value = values.empty() ? 0 : values.front();
        if (values.size() > 1) values.erase(values.begin());
    }
    journal_.push_back("read " + name + (fails ? " fails" : " " + hex(*value)));
    guard.unlock();
    if (onRead) onRead(name);
    return fails ? -1 : 0;
}

void FakeBoard::writeRegister(std::uint32_t address, std::uint64_t value) {
    const Inside inside(callsInside_);
    const std::lock_guard guard(lock_);
    journal_.push_back("write " + nameOf(address) + " " + hex(value));
}

int FakeBoard::readQueue(std::uint32_t queue, void* buffer, std::uint64_t bytes, std::uint32_t timeoutMs) {
    const Inside inside(callsInside_);
    if (onRead) onRead("queue " + std::to_string(queue));
    const std::lock_guard guard(lock_);
    journal_.push_back("queue " + std::to_string(queue) + " " + std::to_string(bytes) + " bytes " +
                       std::to_string(timeoutMs) + " ms");
    auto& pending = queues_[queue];
    if (pending.empty()) return HalTimeout;
    const QueueAnswer next = pending.front();
    pending.erase(pending.begin());
    if (!next.words.empty())
        std::memcpy(buffer, next.words.data(), std::min<std::size_t>(bytes, 4 * next.words.size()));
    return next.result;
}

} // namespace orvo::test
