// SPDX-License-Identifier: MIT
// A board of the test's own in the plug-in's entry tables: it answers as told and writes down every call in
// order.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace orvo::test {

/// Every call of the plug-in, one line each: "write GigE_Reset 0xb", "sleep 100000", "find GigeWriteData2".
using Journal = std::vector<std::string>;

/// What one read of a data queue gives: the result, and the words that it stores, after some it leaves alone.
struct QueueAnswer {
    int result;
    std::vector<std::uint32_t> words;
    std::size_t skippedWords = 0;
};

/// Fills the entry tables for as long as it lives; one at a time. The clock is held meanwhile. Any thread may
/// call the plug-in; what the board answers is set while none does.
class FakeBoard {
public:
    FakeBoard();
    ~FakeBoard();
    FakeBoard(const FakeBoard&) = delete;
    FakeBoard& operator=(const FakeBoard&) = delete;

    /// Two answers of a queue that make one transmission of this frame.
    static std::vector<QueueAnswer> transmission(const std::vector<std::uint8_t>& frame);

    /// Called inside the board for every read of a register or queue, and after every write of a register, on
    /// the calling thread, without a lock.
    std::function<void(const std::string&what)> onRead, onWrite;

    /// Everything since the last call.
    Journal takeJournal();

    // What it answers.
    std::map<std::string, int> infoInts{
        {"ports/gige", 3}, {"firmware/major", 0x101}, {"firmware/minor", 0xFF02}};
    std::map<std::string, std::string> infoTexts{{"board/caminterface", "GigE"}};
    std::map<int, int> deviceSerials{{0, 0x1234}}; // what OHalGetDevice finds, by index
    int deviceCount = 1;
    bool opens = true;
    bool hasApplet = true;
    int configureResult = 0;
    int lostWords = 0;
    std::set<std::string> lacking;                               // registers that the firmware does not have
    std::set<std::string> failing;                               // registers that cannot be read
    std::map<std::string, std::vector<std::uint64_t>> registers; // the next readings, the last for good; or 0
    std::map<std::uint32_t, std::vector<QueueAnswer>> queues;    // the next readings; nothing arrives after

    // What the entries call. `note` returns the call's result.
    int note(std::string line, int result = 0);
    int find(const std::string& name);
    int readRegister(std::uint32_t address, std::uint64_t* value);
    int readQueue(std::uint32_t queue, void* buffer, std::uint64_t bytes, std::uint32_t timeoutMs);
    std::string nameOf(std::uint32_t address);

private:
    std::mutex lock_; // of what follows and of the readings left
    Journal journal_;
    std::vector<std::string> names_; // of the addresses 8, 16, ...; every lookup gets one of its own
};

} // namespace orvo::test
