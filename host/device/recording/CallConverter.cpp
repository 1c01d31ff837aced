// SPDX-License-Identifier: MIT
#include "device/recording/CallConverter.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace orvo::host {
namespace {

using Json = nlohmann::json;

constexpr std::uint8_t arrayOf = 0x80; // CBOR: plus a number of values below 24

constexpr std::size_t mostKeptBytes = 256; // of a call: frames hardly come twice

// Of the fields of a form.
constexpr std::size_t resultField = 1, firstArgument = 2;

// Not through a temporary value, as an assignment would.
void setNumber(Json& field, std::int64_t number) {
    if (auto* const place = field.get_ptr<std::int64_t*>())
        *place = number;
    else
        field = number;
}

/// The byte string of a value, which keeps its memory.
ByteString& bytesIn(Json& field) {
    if (!field.is_binary()) field = Json::binary(ByteString());
    return field.get_binary();
}

void setPiece(Json& field, ValueKind kind, RawPiece piece) {
    if (piece.length == nullPiece) {
        field = nullptr;
        return;
    }
    const std::span bytes(static_cast<const std::uint8_t*>(piece.bytes), piece.length);
    if (kind == ValueKind::Text) {
        field = std::string(bytes.begin(), bytes.end());
    } else if (kind == ValueKind::WordsOut || kind == ValueKind::WordsIn) {
        bytesIn(field).assign(bytes.begin(), bytes.end());
    } else {
        std::int64_t number = 0;
        std::memcpy(&number, piece.bytes, sizeof number);
        setNumber(field, number);
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
    const auto& encoded = encodedFields(record);
    const auto begin = clock_.sinceBegin(call.begin);
    if (count_++ == 0) beginBlock(begin);
    auto& lead = lead_.get_ref<Json::array_t&>();
    setNumber(lead[0], static_cast<std::int64_t>(call.entry));
    setNumber(lead[1], thread);
    setNumber(lead[2], begin - begin_);
    setNumber(lead[3], std::max<std::int64_t>(0, clock_.sinceBegin(call.end) - begin));
    const auto head = block_.size();
    Json::to_cbor(lead_, blockOutput_);
    block_[head] = static_cast<std::uint8_t>(arrayOf + lead.size() + firstArgument + call.argumentCount);
    block_.insert(block_.end(), encoded.begin() + 1, encoded.end());
}

/// Fields of the call, behind a byte; valid until the next call.
const ByteString& CallConverter::encodedFields(const std::byte* record) {
    RawReader reader(record);
    const auto& call = reader.call;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(record);
    const std::span raw(bytes + offsetof(RawCall, times), bytes + call.bytes);
    auto& kept = kept_[placeOf(reader)];
    if (kept.entry == call.entry && kept.kind == call.kind && kept.raw.size() == raw.size() &&
        std::memcmp(kept.raw.data(), raw.data(), raw.size()) == 0)
        return kept.encoded;
    auto& form = forms_[2 * static_cast<std::size_t>(call.entry) + (call.kind == RawKind::Run ? 1 : 0)];
    if (form.is_null()) form = Json::array_t(firstArgument + call.argumentCount);
    setFields(form.get_ref<Json::array_t&>(), reader);
    encoded_.clear();
    Json::to_cbor(form, encodedOutput_);
    if (raw.size() > mostKeptBytes) return encoded_;
    kept.entry = call.entry;
    kept.kind = call.kind;
    kept.raw.assign(raw.begin(), raw.end());
    return kept.encoded = encoded_;
}

void CallConverter::setFields(Json::array_t& fields, RawReader& reader) {
    const auto& call = reader.call;
    const auto& row = rowOf(call.entry);
    setNumber(fields[0], static_cast<std::int64_t>(call.times));
    setValue(fields[resultField], row.result, call.result);
    for (std::size_t i = 0; i < call.argumentCount; ++i)
        setValue(fields[firstArgument + i], row.kinds[i], reader.argument());
    for (std::size_t i = 0; i < call.argumentCount; ++i)
        if (row.kinds[i] > ValueKind::Handle)
            setPiece(fields[firstArgument + i], row.kinds[i], reader.piece());
    if (row.result == ValueKind::Text) setPiece(fields[resultField], ValueKind::Text, reader.piece());
    if (call.kind == RawKind::Run) setPiece(fields.back(), ValueKind::WordsIn, reader.piece());
    if (call.entry == Entry::KivGetRegisterByName) noteRegister(fields);
}

void CallConverter::noteRegister(const Json::array_t& fields) {
    const auto address = fields[resultField].get<std::int64_t>();
    const auto& name = fields[firstArgument + 1];
    if (address > 0 && name.is_string())
        registers_.insert_or_assign(static_cast<std::uint64_t>(address), name);
}

std::int64_t CallConverter::handle(std::uint64_t pointer) {
    if (pointer == 0) return 0;
    if (pointer != lastHandle_.first)
        lastHandle_ = {
            pointer,
            handles_.try_emplace(pointer, static_cast<std::int64_t>(handles_.size()) + 1).first->second};
    return lastHandle_.second;
}

void CallConverter::setValue(Json& field, ValueKind kind, std::uint64_t argument) {
    if (kind == ValueKind::Number)
        setNumber(field, static_cast<std::int64_t>(argument));
    else if (kind == ValueKind::Fraction)
        field = std::bit_cast<double>(argument);
    else if (kind == ValueKind::Handle)
        setNumber(field, handle(argument));
    else if (kind == ValueKind::None)
        field = nullptr; // the others have a piece, which tells it
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
