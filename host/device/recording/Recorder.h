// SPDX-License-Identifier: MIT
// Writes every board call of this process into a file.
#pragma once

#include "device/recording/CallCollector.h"
#include "device/recording/RecordingFile.h"

#include <condition_variable>
#include <thread>
#include <unordered_map>

namespace orvo::host {

/// Turns what threads note into a block's calls. One thread.
class CallConverter {
public:
    /// Adds a record to the present block.
    void add(const std::byte* record, unsigned thread);

    bool isEmpty() const noexcept { return calls_.empty() && lost_ == 0; }
    /// Whether the block has grown as large as blocks should be.
    bool isFull() const noexcept { return bytes_ >= blockBytes; }
    std::uint64_t callsOfBlock() const noexcept { return calls_.size(); }

    void lose(std::uint64_t calls) noexcept { lost_ += calls; }

    /// The block's content; begins the next one.
    nlohmann::json takeBlock();

    void measureClock() noexcept { clock_.measure(); }

private:
    static constexpr std::size_t blockBytes = 1U << 20U;

    nlohmann::json handle(std::uint64_t pointer);
    nlohmann::json valueOf(ValueKind kind, std::uint64_t argument);
    nlohmann::json pieceOf(ValueKind kind, RawPiece piece);
    void addCall(RawReader& reader, unsigned thread);
    void noteRegister(const nlohmann::json::array_t& fields);

    TickClock clock_;
    std::int64_t begin_ = 0; // of the block, in nanoseconds
    nlohmann::json::array_t calls_;
    std::uint64_t lost_ = 0;
    std::size_t bytes_ = 0;
    RegisterNames registers_;
    std::unordered_map<std::uint64_t, std::uint64_t> handles_;
};

/// Records while it lives. A thread of its own compresses and writes; threads that call the board never wait
/// for it. What could not be kept is counted, and the user is told in the end.
class Recorder {
public:
    /// `header` becomes the file's first block; this adds the entries. Errors: Failure when the file cannot
    /// be written.
    Recorder(const std::string& path, const EntryTable& originals, nlohmann::json header);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

private:
    void write();
    void drain();
    void writeBlock();
    void finish();

    const std::string path_;
    RecordingWriter file_;
    CallCollector collector_;
    CallConverter converter_;
    std::uint64_t kept_ = 0, lost_ = 0;
    std::string failure_; // why nothing more is written
    std::mutex mutex_;
    std::condition_variable_any ended_;
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
