// SPDX-License-Identifier: MIT
#include "device/recording/CallConverter.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace orvo::host {
namespace {

using Json = nlohmann::json;

constexpr std::size_t leadingFields = 6; // before the arguments

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
    } else if (kind == ValueKind::WordsOut) {
        packWords(bytes, bytesIn(field));
    } else if (kind == ValueKind::WordsIn) {
        bytesIn(field).assign(bytes.begin(), bytes.end());
    } else {
        std::int64_t number = 0;
        std::memcpy(&number, piece.bytes, sizeof number);
        setNumber(field, number);
    }
}

} // namespace

void CallConverter::add(const std::byte* record, unsigned thread) {
    RawReader reader(record);
    switch (reader.call.kind) {
    case RawKind::Padding:
        return;
    case RawKind::Gap:
        lost_ += reader.call.times;
        return;
    case RawKind::Call:
    case RawKind::Run:
        addCall(reader, thread);
    }
}

void CallConverter::addCall(RawReader& reader, unsigned thread) {
    const auto& call = reader.call;
    const auto& row = rowOf(call.entry);
    const bool isRun = call.kind == RawKind::Run;
    const auto begin = clock_.sinceBegin(call.begin);
    if (count_++ == 0) beginBlock(begin);
    auto& form = forms_[2 * static_cast<std::size_t>(call.entry) + (isRun ? 1 : 0)];
    if (form.is_null()) form = Json::array_t(leadingFields + call.argumentCount);
    auto& fields = form.get_ref<Json::array_t&>();
    setNumber(fields[0], static_cast<std::int64_t>(call.entry));
    setNumber(fields[1], thread);
    setNumber(fields[2], begin - begin_);
    setNumber(fields[3], std::max<std::int64_t>(0, clock_.sinceBegin(call.end) - begin));
    setNumber(fields[4], static_cast<std::int64_t>(call.times));
    setValue(fields[5], row.result, call.result);
    for (std::size_t i = 0; i < call.argumentCount; ++i)
        setValue(fields[leadingFields + i], row.kinds[i], reader.argument());
    for (std::size_t i = 0; i < call.argumentCount; ++i)
        if (row.kinds[i] > ValueKind::Handle)
            setPiece(fields[leadingFields + i], row.kinds[i], reader.piece());
    if (row.result == ValueKind::Text) setPiece(fields[5], ValueKind::Text, reader.piece());
    if (isRun) setPiece(fields.back(), ValueKind::WordsIn, reader.piece());
    if (call.entry == Entry::KivGetRegisterByName) noteRegister(fields);
    Json::to_cbor(form, output_);
}

void CallConverter::noteRegister(const Json::array_t& fields) {
    const auto address = fields[5].get<std::int64_t>();
    const auto& name = fields[7];
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
