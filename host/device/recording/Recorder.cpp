// SPDX-License-Identifier: MIT
#include "device/recording/Recorder.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <bit>

namespace orvo::host {
namespace {

using Json = nlohmann::json;

constexpr auto drainInterval = std::chrono::milliseconds{5}; // a ring fills in 15 ms at the most
constexpr auto blockInterval = std::chrono::seconds{1};      // a crash loses as much

Json entriesJson(const EntryTable& originals) {
    auto rows = Json::array();
    for (std::size_t i = 0; i < entryCount; ++i)
        rows.push_back({{"name", boardEntries[i].name},
                        {"parameters", boardEntries[i].parameters},
                        {"library", boardEntries[i].isHal ? "orvo_hal" : "kivrt"},
                        {"present", originals[i] != nullptr}});
    return rows;
}

Json withEntries(Json header, const EntryTable& originals) {
    header["entries"] = entriesJson(originals);
    return header;
}

std::span<const std::uint8_t> bytesOf(RawPiece piece) {
    return {static_cast<const std::uint8_t*>(piece.bytes), piece.length};
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
        bytes_ += reader.call.bytes;
        addCall(reader, thread);
    }
}

void CallConverter::addCall(RawReader& reader, unsigned thread) {
    const auto& call = reader.call;
    const auto& row = rowOf(call.entry);
    const auto begin = clock_.sinceBegin(call.begin);
    if (calls_.empty()) begin_ = begin;
    Json::array_t fields;
    fields.reserve(6U + call.argumentCount);
    for (const auto number : {static_cast<std::int64_t>(call.entry), static_cast<std::int64_t>(thread),
                              begin - begin_, std::max<std::int64_t>(0, clock_.sinceBegin(call.end) - begin),
                              static_cast<std::int64_t>(call.times)})
        fields.emplace_back(number);
    fields.push_back(valueOf(row.result, call.result));
    for (std::size_t i = 0; i < call.argumentCount; ++i)
        fields.push_back(valueOf(row.kinds[i], reader.argument()));
    for (std::size_t i = 0; i < call.argumentCount; ++i)
        if (row.kinds[i] > ValueKind::Handle) fields[6 + i] = pieceOf(row.kinds[i], reader.piece());
    if (row.result == ValueKind::Text) fields[5] = pieceOf(ValueKind::Text, reader.piece());
    if (call.kind == RawKind::Run) fields.back() = pieceOf(ValueKind::WordsIn, reader.piece());
    if (call.entry == Entry::KivGetRegisterByName) noteRegister(fields);
    calls_.emplace_back(std::move(fields));
}

void CallConverter::noteRegister(const Json::array_t& fields) {
    const auto address = fields[5].get<std::int64_t>();
    const auto& name = fields[7];
    if (address > 0 && name.is_string())
        registers_.insert_or_assign(static_cast<std::uint64_t>(address), name);
}

Json CallConverter::handle(std::uint64_t pointer) {
    return pointer == 0 ? std::uint64_t{0} : handles_.try_emplace(pointer, handles_.size() + 1).first->second;
}

Json CallConverter::valueOf(ValueKind kind, std::uint64_t argument) {
    switch (kind) {
    case ValueKind::Number:
        return static_cast<std::int64_t>(argument);
    case ValueKind::Fraction:
        return std::bit_cast<double>(argument);
    case ValueKind::Handle:
        return handle(argument);
    default:
        return nullptr; // a piece tells it
    }
}

Json CallConverter::pieceOf(ValueKind kind, RawPiece piece) {
    if (piece.length == nullPiece) return nullptr;
    const auto bytes = bytesOf(piece);
    if (kind == ValueKind::Text) return std::string(bytes.begin(), bytes.end());
    if (kind == ValueKind::WordsOut) return Json::binary(packedWords(bytes));
    if (kind == ValueKind::WordsIn) return Json::binary(ByteString(bytes.begin(), bytes.end()));
    std::int64_t number = 0;
    std::memcpy(&number, piece.bytes, sizeof number);
    return number;
}

Json CallConverter::takeBlock() {
    auto names = Json::array();
    for (const auto& [address, name] : registers_) names.push_back({address, name});
    Json block = {{"begin", begin_}, {"registers", std::move(names)}, {"lost", std::exchange(lost_, 0)}};
    block["calls"] = std::exchange(calls_, {});
    bytes_ = 0;
    return block;
}

Recorder::Recorder(const std::string& path, const EntryTable& originals, Json header)
    : path_(path), file_(path), collector_(originals) {
    file_.add(withEntries(std::move(header), originals));
    const SignalShield handledElsewhere; // the thread inherits it
    thread_ = std::jthread([this](const std::stop_token& stop) {
        std::unique_lock guard(mutex_);
        for (auto due = std::chrono::steady_clock::now() + blockInterval; !stop.stop_requested();) {
            ended_.wait_for(guard, stop, drainInterval, [] { return false; });
            drain();
            if (std::chrono::steady_clock::now() < due) continue;
            writeBlock();
            due = std::chrono::steady_clock::now() + blockInterval;
        }
    });
}

Recorder::~Recorder() {
    thread_.request_stop();
    thread_.join();
    finish();
    if (lost_ != 0)
        notice("the recording " + quoted(path_) + " is incomplete: " + counted(lost_, "call") +
               " could not be kept" +
               (failure_.empty() ? ", because the writing was too slow" : "; " + failure_));
}

void Recorder::drain() {
    converter_.measureClock();
    for (const auto& thread : collector_.threads()) {
        const bool hasEnded = thread->hasEnded.load(std::memory_order_acquire); // before its last calls
        thread->ring.drain([&](const std::byte* record) {
            converter_.add(record, thread->number);
            if (converter_.isFull()) writeBlock();
        });
        if (!hasEnded) continue;
        converter_.lose(thread->ring.untoldLoss());
        collector_.forget(*thread);
    }
}

void Recorder::writeBlock() {
    if (converter_.isEmpty()) return;
    const auto calls = converter_.callsOfBlock();
    try {
        const auto block = converter_.takeBlock();
        lost_ += block["lost"].get<std::uint64_t>();
        if (!failure_.empty()) throw Failure(failure_);
        file_.add(block);
        kept_ += calls;
    } catch (const std::exception& error) { // a full disk, or no memory: the port goes on
        failure_ = error.what();
        lost_ += calls;
    }
}

/// The other threads have ended by now.
void Recorder::finish() {
    for (const auto& thread : collector_.threads()) {
        if (!thread->hasEnded.load(std::memory_order_acquire)) thread->release(ticks());
        thread->hasEnded.store(true, std::memory_order_release);
    }
    drain();
    writeBlock();
    if (!failure_.empty()) return;
    try {
        file_.add({{"closing", {{"calls", kept_}, {"lost", lost_}}}});
    } catch (const std::exception& error) {
        notice(error.what());
    }
}

} // namespace orvo::host
