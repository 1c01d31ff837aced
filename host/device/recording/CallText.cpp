// SPDX-License-Identifier: MIT
#include "device/recording/CallText.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "device/recording/PackedWords.h"

#include <fmt/format.h>

#include <orvo/hal/orvo_hal.h>

#include <cstring>

namespace orvo::host {
namespace {

constexpr std::size_t shownBytes = 16;

bool accessesRegister(const RecordedCall& call) {
    return call.entry == Entry::OHalRegisterRead || call.entry == Entry::OHalRegisterWrite;
}

std::string bytesText(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const auto byte : bytes.first(std::min(bytes.size(), shownBytes)))
        text += fmt::format("{:02x} ", byte);
    if (!text.empty()) text.pop_back();
    return text + (bytes.size() > shownBytes ? " ..." : "");
}

std::string wordsText(const RecordedCall& call, const ByteString& kept) {
    const auto words = unpackedWords(kept, call.deliveredBytes());
    if (words.size() != sizeof(std::uint32_t)) return bytesText(words);
    std::uint32_t word = 0;
    std::memcpy(&word, words.data(), sizeof word);
    return fmt::format("{:#x}", word);
}

std::string valueText(const nlohmann::json& value, ValueKind kind) {
    if (value.is_null()) return "null";
    if (value.is_string()) return quoted(value.get_ref<const std::string&>());
    if (value.is_binary()) return bytesText(value.get_binary());
    if (kind == ValueKind::Fraction) return fmt::format("{}", value.get<double>());
    return std::to_string(value.get<std::int64_t>());
}

/// The name of the register at an address, otherwise the address in hexadecimal.
std::string registerText(const RegisterNames& registers, std::uint64_t address) {
    const auto found = registers.find(address);
    return found != registers.end() ? oneLine(found->second) : fmt::format("{:#x}", address);
}

std::string argumentText(const RecordedCall& call, std::size_t index, const RegisterNames& registers) {
    const auto& row = rowOf(call.entry);
    const auto& value = call.arguments[index];
    if (accessesRegister(call) && index == 1) return registerText(registers, value.get<std::uint64_t>());
    if (call.isRun() && index == 2) return bytesText(value.get_binary());
    if (call.entry == Entry::OHalRegisterWrite && index == 2)
        return fmt::format("{:#x}", value.get<std::uint64_t>());
    const auto text = valueText(value, row.kinds[index]);
    return row.kinds[index] == ValueKind::Text ? text : row.argumentName(index) + " " + text;
}

std::string resultText(const RecordedCall& call) {
    const auto& row = rowOf(call.entry);
    if (call.result.is_null() && row.result != ValueKind::Text)
        return ""; // nothing, or a call that was not answered
    if (call.isQueueRead() && call.result == static_cast<int>(HalTimeout)) return " = nothing";
    if (call.entry == Entry::KivGetRegisterByName && call.result > 0) // an address, otherwise an error
        return fmt::format(" = {:#x}", call.result.get<std::int64_t>());
    if (row.result == ValueKind::Handle && call.result != 0)
        return " = handle " + valueText(call.result, row.result);
    return " = " + valueText(call.result, row.result);
}

std::string writtenText(const RecordedCall& call) {
    std::string text;
    const auto& row = rowOf(call.entry);
    for (std::size_t i = 0; i < row.argumentCount; ++i) {
        const auto& value = call.arguments[i];
        if (value.is_null()) continue;
        if (row.kinds[i] == ValueKind::NumberOut)
            text += fmt::format(", read {:#x}", value.get<std::int64_t>());
        if (row.kinds[i] == ValueKind::WordsOut) text += ", read " + wordsText(call, value.get_binary());
    }
    return text;
}

} // namespace

std::string registerOf(const RecordedCall& call, const RegisterNames& registers) {
    if (accessesRegister(call)) return registerText(registers, call.arguments[1].get<std::uint64_t>());
    if (call.entry != Entry::KivGetRegisterByName || !call.arguments[1].is_string()) return "";
    return call.arguments[1].get<std::string>();
}

std::string callText(const RecordedCall& call, const RegisterNames& registers) {
    const auto& row = rowOf(call.entry);
    std::string arguments;
    for (std::size_t i = 0; i < row.argumentCount; ++i) {
        if (row.kinds[i] == ValueKind::NumberOut || row.kinds[i] == ValueKind::WordsOut) continue;
        arguments += (arguments.empty() ? "" : ", ") + argumentText(call, i, registers);
    }
    std::string text = std::string(row.name) + "(" + arguments + ")" + resultText(call) + writtenText(call);
    if (call.times != 1) text += ", " + grouped(call.times) + (call.isRun() ? " words" : " times");
    return text;
}

} // namespace orvo::host
