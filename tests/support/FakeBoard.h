// A board of the test's own in the plug-in's entry tables: it answers as told and writes down every call in
// order.
#pragma once

#include <atomic>
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

/// What one read of a data queue gives: the result, and the words that it stores.
struct QueueAnswer {
    int result;
    std::vector<std::uint32_t> words;
};

/// Fills the entry tables for as long as it lives; one at a time. Any thread may call the plug-in.
class FakeBoard {
public:
    FakeBoard();
    ~FakeBoard();
    FakeBoard(const FakeBoard&) = delete;
    FakeBoard& operator=(const FakeBoard&) = delete;

    /// The firmware has no register of this name.
    void lack(const std::string& name);
    /// The next reads of a register give these values, the last of them for good. 0 without.
    void answer(const std::string& name, std::vector<std::uint64_t> values);
    /// Reads of a register fail from now on, or do so no more.
    void failReads(const std::string& name, bool fail = true);
    /// The next reads of a queue; nothing arrives after them.
    void queue(std::uint32_t queue, std::vector<QueueAnswer> answers);
    /// Two answers that make one transmission of this frame.
    static std::vector<QueueAnswer> transmission(const std::vector<std::uint8_t>& frame);

    /// Called inside the board for every read of a register or queue, on the calling thread, without a lock.
    std::function<void(const std::string& what)> onRead;

    /// Called while the plug-in frees its device handle.
    std::function<void()> onRelease;
    /// How many calls with a device handle are going on.
    int callsInside() const { return callsInside_; }

    Journal takeJournal();

    // Answers of the rest.
    std::map<std::string, int> infoInts{{"ports/gige", 4}, {"firmware/major", 1}, {"firmware/minor", 2}};
    std::map<std::string, std::string> infoTexts{{"board/caminterface", "GigE"}};
    std::map<int, int> deviceSerials{{0, 0x1234}}; // what OHalGetDevice finds, by index
    int deviceCount = 1;
    bool opens = true;
    bool hasApplet = true;
    int configureResult = 0;
    int lostWords = 0;

    // What the entries call.
    void note(std::string line);
    std::uint32_t find(const std::string& name);
    int readRegister(std::uint32_t address, std::uint64_t* value);
    void writeRegister(std::uint32_t address, std::uint64_t value);
    int readQueue(std::uint32_t queue, void* buffer, std::uint64_t bytes, std::uint32_t timeoutMs);

    void freeDevice();

private:
    std::string nameOf(std::uint32_t address) const;

    std::atomic<int> callsInside_{0};
    std::mutex lock_; // of everything below
    Journal journal_;
    std::vector<std::string> names_; // address = 8 * (position + 1)
    std::set<std::string> lacking_;
    std::set<std::string> failing_;
    std::map<std::string, std::vector<std::uint64_t>> answers_;
    std::map<std::uint32_t, std::vector<QueueAnswer>> queues_;
};

} // namespace orvo::test
