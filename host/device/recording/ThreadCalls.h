// SPDX-License-Identifier: MIT
// The calls of one thread on their way into a recording.
#pragma once

#include "device/recording/CallRing.h"
#include "device/recording/PackedWords.h"
#include "device/recording/Ticks.h"

#include <algorithm>
#include <array>

namespace orvo::host {

/// Successful writes in a row to one register, of 16 bits. The words of frames come here, so this
/// has all that a word needs, and no more.
struct WriteRun {
    static constexpr std::uint32_t mostUnits = 1024; ///< a frame has up to 759
    static constexpr std::uint32_t none = mostUnits + 1;

    std::uint32_t count = none;
    std::uint32_t address = 0;
    const void* device = nullptr;
    std::array<std::uint16_t, mostUnits> units{};

    /// Takes a write before it is made, if it continues the run.
    bool append(const void* ofDevice, std::uint32_t to, std::uint64_t value) noexcept {
        if (device != ofDevice || address != to || value > 0xFFFF || count >= mostUnits) return false;
        units[count++] = static_cast<std::uint16_t>(value);
        return true;
    }
};

/// Notes calls without a lock or an allocation. Calls that say the same in a row are held back and become one
/// record: identical reads of a register, empty reads of a queue, and writes to one register.
/// Threads: its own thread notes, until it has ended; `ring` may be drained meanwhile.
class ThreadCalls {
public:
    using Arguments = std::array<std::uint64_t, mostArguments>;

    explicit ThreadCalls(unsigned place) noexcept : number(place) {}

    const unsigned number; ///< in the order of the threads' first calls
    CallRing ring;
    std::atomic<bool> hasEnded{false}; ///< its last call has been noted
    std::atomic<bool> isInside{false}; ///< in a call that will be noted; not for the words of a run

    /// What the thread's writes continue.
    WriteRun& run() noexcept { return run_; }

    /// The write that was appended has failed: it is no part of the run.
    [[gnu::noinline]] void splitRun(RawCall call) noexcept {
        if (run_.count > WriteRun::mostUnits) return; // closed meanwhile
        const auto value = run_.units[--run_.count];
        holdWrite(call, heldArguments_[0], run_.address, value);
    }

    /// Hands over what is held back: nothing more will be noted. Once; the thread itself, or, while it is in
    /// no call, another one.
    void close(std::uint64_t now) noexcept {
        if (isClosed_.exchange(true)) return;
        release(now);
        hasEnded.store(true, std::memory_order_release);
    }
    /// As above, for a thread that stays in a call: what it holds back is lost.
    void abandon() noexcept { isClosed_.store(true); }

    /// A call that is kept as it is.
    void note(RawCall call, const Arguments& arguments, std::span<const RawPiece> pieces) noexcept {
        release(call.begin);
        put(call, arguments, pieces);
    }

    /// A read of a queue, which delivered these words.
    void noteWords(RawCall call, const Arguments& arguments, std::span<const std::byte> words) noexcept {
        release(call.begin);
        std::byte* const room = reserve(call, arguments, sizeof(std::uint32_t) + words.size());
        if (!room) return;
        std::byte* const piece = piecesOf(room, call);
        const auto kept = static_cast<std::uint32_t>(packWords(words, piece + sizeof(std::uint32_t)));
        append(piece, &kept, sizeof kept);
        publish(room, call, sizeof kept + kept);
    }

    /// A call that is held back while the next ones are identical. `out` is a value that it wrote; null:
    /// none.
    void hold(const RawCall& call, const Arguments& arguments, const std::uint64_t* out) noexcept {
        if (isRepeated(call, arguments, out)) {
            ++held_.times;
            held_.end = call.end;
            return;
        }
        release(call.begin);
        held_ = call;
        heldArguments_ = arguments;
        hasOut_ = out != nullptr;
        if (out) out_ = *out;
    }

    /// The first write of what may become a run.
    void holdWrite(const RawCall& call, std::uint64_t device, std::uint32_t address,
                   std::uint64_t value) noexcept {
        release(call.begin);
        held_ = call;
        heldArguments_ = {device, address, value};
        if (call.result != 0 || value > 0xFFFF || isClosed_.load(std::memory_order_relaxed)) return;
        run_.device = reinterpret_cast<const void*>(device);
        run_.address = address;
        run_.units[0] = static_cast<std::uint16_t>(value);
        run_.count = 1;
    }

private:
    /// Hands over what is held back; `now` ends a run of writes.
    void release(std::uint64_t now) noexcept {
        if (held_.times == 0) return;
        if (held_.entry == Entry::OHalRegisterWrite)
            putWrites(now);
        else if (held_.entry == Entry::OHalRegisterRead)
            put(held_, heldArguments_, std::array{hasOut_ ? RawPiece{&out_, sizeof out_} : RawPiece{}});
        else
            put(held_, heldArguments_, std::array{RawPiece{}}); // an empty read of a queue
        held_.times = 0;
        run_.count = WriteRun::none;
    }

    bool isRepeated(const RawCall& call, const Arguments& arguments,
                    const std::uint64_t* out) const noexcept {
        return held_.times != 0 && held_.entry == call.entry && held_.result == call.result &&
               heldArguments_ == arguments && hasOut_ == (out != nullptr) && (!out || *out == out_) &&
               call.end - held_.begin < longestHold;
    }

    void putWrites(std::uint64_t now) noexcept {
        if (run_.count == 1 || run_.count == WriteRun::none) return put(held_, heldArguments_, {});
        held_.kind = RawKind::Run;
        held_.times = run_.count;
        held_.end = now;
        put(held_, heldArguments_, std::array{RawPiece{run_.units.data(), 2 * run_.count}});
    }

    void put(const RawCall& call, const Arguments& arguments, std::span<const RawPiece> pieces) noexcept {
        std::size_t pieceBytes = 0;
        for (const auto& piece : pieces)
            pieceBytes += sizeof piece.length + (piece.length == nullPiece ? 0 : piece.length);
        std::byte* const room = reserve(call, arguments, pieceBytes);
        if (!room) return;
        std::byte* next = piecesOf(room, call);
        for (const auto& piece : pieces) {
            next = append(next, &piece.length, sizeof piece.length);
            if (piece.length != nullPiece) next = append(next, piece.bytes, piece.length);
        }
        publish(room, call, pieceBytes);
    }

    /// Room for a record, with its head and arguments. All arguments, because copying a fixed number takes no
    /// call of a function: pieces are written over those that the call lacks.
    std::byte* reserve(const RawCall& call, const Arguments& arguments, std::size_t pieceBytes) noexcept {
        std::byte* const room = ring.reserve(recordBytes(call, pieceBytes) + sizeof arguments);
        if (room) append(append(room, &call, sizeof call), arguments.data(), sizeof arguments);
        return room;
    }

    static std::byte* piecesOf(std::byte* room, const RawCall& call) noexcept {
        return room + sizeof call + 8U * call.argumentCount;
    }

    static std::size_t recordBytes(const RawCall& call, std::size_t pieceBytes) noexcept {
        return (sizeof call + 8U * call.argumentCount + pieceBytes + 7) / 8 * 8;
    }

    void publish(std::byte* room, const RawCall& call, std::size_t pieceBytes) noexcept {
        const auto bytes = static_cast<std::uint32_t>(recordBytes(call, pieceBytes));
        append(room + offsetof(RawCall, bytes), &bytes, sizeof bytes);
        ring.publish(bytes);
    }

    static std::byte* append(std::byte* room, const void* bytes, std::size_t count) noexcept {
        std::memcpy(room, bytes, count);
        return room + count;
    }

    // One or two seconds, so that what a quiet thread does reaches the file.
    static constexpr std::uint64_t longestHold = 2'000'000'000;

    std::atomic<bool> isClosed_{false};
    RawCall held_{}; // `times` 0: nothing is held back
    Arguments heldArguments_{};
    bool hasOut_ = false;
    std::uint64_t out_ = 0;
    WriteRun run_; // of `held_`
};

} // namespace orvo::host
