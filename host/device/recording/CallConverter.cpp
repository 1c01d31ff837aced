// SPDX-License-Identifier: MIT
#include "device/recording/CallConverter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace orvo::host {
namespace {

using Json = nlohmann::json;

constexpr std::size_t mostKeptBytes = 256; // of a call: frames hardly come twice
constexpr std::size_t leadFields = 4;      // entry, thread, begin, duration

/// The kinds of CBOR's values, in the upper three bits of their first byte.
enum Major : std::uint8_t { Unsigned = 0x00, Negative = 0x20, Bytes = 0x40, Characters = 0x60, Array = 0x80 };
constexpr std::uint8_t null = 0xF6, fraction = 0xFB;
constexpr std::size_t mostHeadBytes = 9;

/// The lowest `count` bytes of a number, the highest first. Returns where the next byte goes.
std::uint8_t* putBytes(std::uint8_t* to, std::uint64_t number, std::size_t count) noexcept {
    while (count-- > 0) *to++ = static_cast<std::uint8_t>(number >> (8 * count));
    return to;
}

std::uint8_t* putHead(std::uint8_t* to, Major major, std::uint64_t number) noexcept {
    constexpr std::uint8_t inByte = 24; // a number below stands in the first byte itself
    if (number < inByte) return putBytes(to, major + number, 1);
    const int log = number < 1U << 8U ? 0 : number < 1U << 16U ? 1 : number <= 0xFFFF'FFFF ? 2 : 3;
    *to++ = static_cast<std::uint8_t>(major + inByte + log);
    return putBytes(to, number, std::size_t{1} << log);
}

std::uint8_t* putInteger(std::uint8_t* to, std::int64_t number) noexcept {
    return number < 0 ? putHead(to, Negative, ~static_cast<std::uint64_t>(number))
                      : putHead(to, Unsigned, static_cast<std::uint64_t>(number));
}

void appendInteger(ByteString& fields, std::int64_t number) {
    std::uint8_t head[mostHeadBytes];
    fields.insert(fields.end(), head, putInteger(head, number));
}

void appendFraction(ByteString& fields, std::uint64_t bits) {
    std::uint8_t value[mostHeadBytes] = {fraction};
    fields.insert(fields.end(), value, putBytes(value + 1, bits, sizeof bits));
}

void appendPiece(ByteString& fields, ValueKind kind, RawPiece piece) {
    const auto* const bytes = static_cast<const std::uint8_t*>(piece.bytes);
    if (piece.length == nullPiece) {
        fields.push_back(null);
    } else if (kind == ValueKind::NumberOut) {
        std::int64_t number = 0;
        std::memcpy(&number, bytes, sizeof number);
        appendInteger(fields, number);
    } else {
        std::uint8_t head[mostHeadBytes];
        fields.insert(fields.end(), head,
                      putHead(head, kind == ValueKind::Text ? Characters : Bytes, piece.length));
        fields.insert(fields.end(), bytes, bytes + piece.length);
    }
}

/// Where a call is kept: 6 bits of a hash.
std::size_t placeOf(RawReader reader) {
    auto hash = static_cast<std::uint64_t>(reader.call.entry);
    for (std::size_t i = 0; i < reader.call.argumentCount; ++i)
        hash = (hash ^ reader.argument()) * 0x9E37'79B9'7F4A'7C15;
    return hash >> 58U;
}

} // namespace

void CallConverter::add(const std::byte* record, unsigned thread) {
    const RawReader reader(record);
    switch (reader.call.kind) {
    case RawKind::Padding:
        return;
    case RawKind::Gap:
        lost_ += reader.call.times;
        return;
    case RawKind::Call:
    case RawKind::Run:
        addCall(record, thread);
    }
}

void CallConverter::addCall(const std::byte* record, unsigned thread) {
    const auto call = RawReader(record).call;
    addLead(call, thread);
    addFields(record);
    ++count_;
}

void CallConverter::addLead(const RawCall& call, unsigned thread) {
    const auto begin = clock_.sinceBegin(call.begin);
    if (count_ == 0) beginBlock(begin);
    std::uint8_t lead[(1 + leadFields) * mostHeadBytes];
    auto* end = putHead(lead, Array, leadFields + 2 + call.argumentCount);
    end = putInteger(end, static_cast<std::int64_t>(call.entry));
    end = putInteger(end, thread);
    end = putInteger(end, begin - begin_);
    end = putInteger(end, std::max<std::int64_t>(0, clock_.sinceBegin(call.end) - begin));
    block_.insert(block_.end(), lead, end);
}

/// The other fields, which are encoded only where no call that is kept says the same.
void CallConverter::addFields(const std::byte* record) {
    const RawReader reader(record);
    const auto& call = reader.call;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(record);
    const std::span raw(bytes + offsetof(RawCall, times), bytes + call.bytes);
    if (raw.size() > mostKeptBytes) return encodeFields(reader, block_);
    auto& kept = kept_[placeOf(reader)];
    if (kept.entry != call.entry || kept.kind != call.kind || !std::ranges::equal(kept.raw, raw)) {
        kept.entry = Entry::Count; // until it is complete
        kept.raw.assign(raw.begin(), raw.end());
        kept.encoded.clear();
        encodeFields(reader, kept.encoded);
        kept.entry = call.entry;
        kept.kind = call.kind;
    }
    block_.insert(block_.end(), kept.encoded.begin(), kept.encoded.end());
}

void CallConverter::encodeFields(RawReader reader, ByteString& fields) {
    const auto& call = reader.call;
    const auto& row = rowOf(call.entry);
    auto kinds = row.kinds;
    if (call.kind == RawKind::Run) kinds[call.argumentCount - 1U] = ValueKind::WordsIn;
    std::array<std::uint64_t, mostArguments> arguments{};
    for (std::size_t i = 0; i < call.argumentCount; ++i) arguments[i] = reader.argument();
    std::array<RawPiece, mostArguments> pieces;
    for (std::size_t i = 0; i < call.argumentCount; ++i)
        if (kinds[i] > ValueKind::Handle) pieces[i] = reader.piece();
    appendInteger(fields, static_cast<std::int64_t>(call.times));
    encode(fields, row.result, call.result,
           row.result == ValueKind::Text ? reader.piece() : RawPiece{}); // behind those of the arguments
    for (std::size_t i = 0; i < call.argumentCount; ++i) encode(fields, kinds[i], arguments[i], pieces[i]);
    if (call.entry == Entry::KivGetRegisterByName && static_cast<std::int64_t>(call.result) > 0 &&
        pieces[1].bytes)
        registers_[call.result].assign(static_cast<const char*>(pieces[1].bytes), pieces[1].length);
}

void CallConverter::encode(ByteString& fields, ValueKind kind, std::uint64_t value, RawPiece piece) {
    if (kind == ValueKind::Number)
        appendInteger(fields, static_cast<std::int64_t>(value));
    else if (kind == ValueKind::Fraction)
        appendFraction(fields, value);
    else if (kind == ValueKind::Handle)
        appendInteger(fields, handle(value));
    else
        appendPiece(fields, kind, piece); // none for no result: null
}

std::int64_t CallConverter::handle(std::uint64_t pointer) {
    if (pointer == 0) return 0;
    if (pointer != lastHandle_.first)
        lastHandle_ = {
            pointer,
            handles_.try_emplace(pointer, static_cast<std::int64_t>(handles_.size()) + 1).first->second};
    return lastHandle_.second;
}

/// A map of four, whose calls come first, as an array of indefinite length: all else is known only at the
/// end.
void CallConverter::beginBlock(std::int64_t begin) {
    constexpr std::uint8_t mapOfFour = 0xA4, array = 0x9F;
    begin_ = begin;
    block_.assign(1, mapOfFour);
    Json::to_cbor("calls", block_);
    block_.push_back(array);
}

std::span<const std::uint8_t> CallConverter::takeBlock() {
    constexpr std::uint8_t endOfArray = 0xFF;
    if (count_ == 0) beginBlock(begin_);
    block_.push_back(endOfArray);
    auto registers = Json::array();
    for (const auto& [address, name] : registers_) registers.push_back({address, name});
    for (const auto& value : {Json("begin"), Json(begin_), Json("registers"), registers, Json("lost"),
                              Json(std::exchange(lost_, 0))})
        Json::to_cbor(value, block_);
    count_ = 0;
    return block_;
}

} // namespace orvo::host
