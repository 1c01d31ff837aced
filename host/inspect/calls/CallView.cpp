// SPDX-License-Identifier: MIT
#include "inspect/calls/CallView.h"

#include "device/recording/CallText.h"
#include "device/recording/PackedWords.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

double secondsOf(std::int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) / 1e9;
}

std::string hexadecimal(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const auto byte : bytes) text += fmt::format("{:02x}", byte);
    return text;
}

nlohmann::ordered_json jsonOf(const RecordedCall& call, const nlohmann::json& value) {
    if (!value.is_binary()) return value;
    if (!call.isQueueRead()) return hexadecimal(value.get_binary());
    return hexadecimal(unpackedWords(value.get_binary(), call.deliveredBytes()));
}

} // namespace

bool CallFilter::passes(const RecordedCall& call, const RegisterNames& registers) const {
    const auto begin = secondsOf(call.begin);
    if (begin < from || begin > to || (thread && *thread != call.thread)) return false;
    if (std::string_view(rowOf(call.entry).name).find(entry) == std::string_view::npos) return false;
    if (registerName.empty()) return true;
    return registerOf(call, registers).find(registerName) != std::string::npos;
}

std::string callLine(const RecordedCall& call, const RegisterNames& registers) {
    return fmt::format("{:11.6f} s  T{:<2}  {}  ({:.1f} us)\n", secondsOf(call.begin), call.thread,
                       callText(call, registers), static_cast<double>(call.duration) / 1e3);
}

nlohmann::ordered_json callJson(const RecordedCall& call, const RegisterNames& registers) {
    const auto& row = rowOf(call.entry);
    nlohmann::ordered_json document = {{"begin", secondsOf(call.begin)},
                                       {"duration", secondsOf(call.duration)},
                                       {"thread", call.thread},
                                       {"entry", row.name},
                                       {"arguments", nlohmann::ordered_json::object()}};
    for (std::size_t i = 0; i < row.argumentCount; ++i)
        document["arguments"][row.argumentName(i)] = jsonOf(call, call.arguments[i]);
    if (const auto name = registerOf(call, registers); !name.empty()) document["register"] = name;
    document["result"] = call.result;
    document["times"] = call.times;
    return document;
}

std::string callJsonLine(const RecordedCall& call, const RegisterNames& registers) {
    return callJson(call, registers).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
           "\n";
}

} // namespace orvo::host
