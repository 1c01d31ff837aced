// SPDX-License-Identifier: MIT
// The content of a recording's blocks, from what threads note.
#pragma once

#include "device/recording/RawCall.h"
#include "device/recording/RecordedCall.h"
#include "device/recording/Ticks.h"

#include <unordered_map>

namespace orvo::host {

/// Encodes each call at once, and only its times where it says the same as the last one of its kind: a port
/// at line rate makes ten million calls a second. One thread.
class CallConverter {
public:
    CallConverter() = default;
    CallConverter(const CallConverter&) = delete;
    CallConverter& operator=(const CallConverter&) = delete;

    /// Adds a record to the present block.
    void add(const std::byte* record, unsigned thread);

    bool isEmpty() const noexcept { return count_ == 0 && lost_ == 0; }
    /// Whether the block has grown as large as blocks should be.
    bool isFull() const noexcept { return block_.size() >= mostBytes || count_ >= mostCalls; }
    std::uint64_t callsOfBlock() const noexcept { return count_; }
    std::uint64_t lostInBlock() const noexcept { return lost_; }

    void lose(std::uint64_t calls) noexcept { lost_ += calls; }

    /// The block's content in CBOR, valid until the next call is added; begins the next one.
    std::span<const std::uint8_t> takeBlock();

    void measureClock() noexcept { clock_.measure(); }

private:
    static constexpr std::size_t mostBytes = 1U << 20U;
    static constexpr std::uint64_t mostCalls = 16'384; // a reader needs half a kilobyte for each
    /// A call without its times.
    struct Kept {
        Entry entry = Entry::Count;
        RawKind kind = RawKind::Call;
        ByteString raw;     ///< what a thread noted
        ByteString encoded; ///< its fields
    };

    void beginBlock(std::int64_t begin);
    std::int64_t handle(std::uint64_t pointer);
    void addCall(const std::byte* record, unsigned thread);
    void addLead(const RawCall& call, unsigned thread);
    void addFields(const std::byte* record);
    void encodeFields(RawReader reader, ByteString& fields);
    void encode(ByteString& fields, ValueKind kind, std::uint64_t value, RawPiece piece);

    TickClock clock_;
    std::int64_t begin_ = 0; // of the block, in nanoseconds
    std::uint64_t count_ = 0, lost_ = 0;
    ByteString block_;          // as far as it is encoded
    std::array<Kept, 64> kept_; // by a hash of entry and arguments
    RegisterNames registers_;
    std::unordered_map<std::uint64_t, std::int64_t> handles_;
    std::pair<std::uint64_t, std::int64_t> lastHandle_{};
};

} // namespace orvo::host
