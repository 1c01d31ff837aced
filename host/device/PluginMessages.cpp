// SPDX-License-Identifier: MIT
#include "device/PluginMessages.h"

#include <algorithm>
#include <charconv>

namespace orvo::host {
namespace {

struct MessageRow {
    CountedMessage message;
    std::string_view begin; // of the text about an interface
    bool byFaultsOnly;
};

constexpr MessageRow messageRows[] = {
    {CountedMessage::TooLarge, "Packet is too large", false},
    {CountedMessage::UnexpectedValue, "Unexpected value in OHalRegisterRead", true},
    {CountedMessage::StillBusy, "Transmitter still busy after", true},
    {CountedMessage::Released, "Packet is dropped, the device is released", false},
    {CountedMessage::KeptBusy, "Packet is dropped, the device is kept busy", false},
    {CountedMessage::ActionReport, "Action command timeout detected", true},
};

constexpr std::string_view overflowWords = " GVSP FIFO overflow: "; // behind them 0, or a flag in hexadecimal
constexpr std::string_view filledQueueWords[] = {"Firmware fifo debug registers",
                                                 " GVCP FIFO not empty: ", overflowWords};

constexpr struct {
    const char* key; // as in the documents of `watch` where that has the same counter
    std::string_view words;
} figureRows[] = {
    {"zeroSizeTransmissions", " zerosize transmissions : "},
    {"invalidEots", " invalid EOTs : "},
    {"invalidTransmissionSizes", " invalid transmission sizes : "},
    {"readErrors", " UIQ read errors : "},
    {"lostWords", " UIQ lost words : "},
    {"receivedPackets", " Hardware Packet Count : "},
    {"receiveErrors", " Hardware Packet Errors : "},
    {"controlPacketsReceived", " Ctrl Packet Recv Count : "},
    {"controlPacketsQueued", " Ctrl Packet Send UIQ Count : "},
    {"streamFifoOverflow", " GVSP FIFO overflow : "},
    {"controlFifoNotEmpty", " GVCP FIFO not empty : "},
};

constexpr struct {
    std::string_view reason;
    const char* advice;
} openingFailures[] = {
    {"Error in OHalInitDevice",
     "there is no such board, or another program holds it: 'orvo-gige boards' lists boards"},
    {"Error in KivFirmwareTrampoline", "the installation knows no firmware of the board's version: "
                                       "update the installation, or the firmware"},
    {"Error in OHalConfigureFpga",
     "the FPGA did not take its applet: power-cycle the board, then update its firmware"},
};

/// The number that `text` begins with: decimal, or hexadecimal behind "0x" as the plug-in writes flags.
std::optional<std::uint64_t> numberAt(std::string_view text) {
    const bool isHexadecimal = text.starts_with("0x");
    if (isHexadecimal) text.remove_prefix(2);
    std::uint64_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value, isHexadecimal ? 16 : 10);
    return read.ec == std::errc{} ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<std::string_view> textAbout(std::string_view interfaceId, std::string_view message) {
    const auto prefix = "|PHY Id '" + std::string(interfaceId) + "': ";
    const auto found = message.find(prefix);
    if (found == std::string_view::npos) return std::nullopt;
    auto text = message.substr(found + prefix.size());
    while (text.ends_with('\n')) text.remove_suffix(1);
    return text;
}

std::optional<CountedMessage> countedMessage(PortAddress port, std::string_view message) {
    // Messages of a reset name the PHY, not the interface.
    const auto stillInReset = "|GigE PHY " + std::to_string(port.port) + " on board " +
                              std::to_string(port.board) + " still in reset";
    if (message.find(stillInReset) != std::string_view::npos) return CountedMessage::StillInReset;
    if (const auto text = textAbout(port.text(), message))
        for (const auto& row : messageRows)
            if (text->starts_with(row.begin)) return row.message;
    return std::nullopt;
}

bool isCausedByFaultsOnly(CountedMessage message) noexcept {
    const auto* const row = std::ranges::find(messageRows, message, &MessageRow::message);
    return row == std::end(messageRows) || row->byFaultsOnly;
}

bool isFilledQueueWarning(std::string_view message) {
    return std::ranges::any_of(filledQueueWords, [message](std::string_view words) {
        return message.find(words) != std::string_view::npos;
    });
}

bool reportsOverflow(std::string_view message) {
    return message.find(overflowWords) != std::string_view::npos && !message.ends_with(": 0");
}

std::optional<std::uint64_t> numberBehind(const std::string& words, const std::vector<std::string>& lines) {
    for (const auto& line : lines) {
        const auto found = line.find(words);
        if (found == std::string::npos) continue;
        return numberAt(std::string_view(line).substr(found + words.size()));
    }
    return std::nullopt;
}

std::vector<NamedFigure> figuresOf(const std::vector<std::string>& lines) {
    std::vector<NamedFigure> figures;
    for (const auto& [key, words] : figureRows)
        if (const auto value = numberBehind(std::string(words), lines)) figures.push_back({key, *value});
    return figures;
}

std::string openingAdvice(const std::string& reason) {
    for (const auto& row : openingFailures)
        if (reason.find(row.reason) != std::string::npos) return row.advice;
    return "'orvo-gige boards' lists boards and ports";
}

} // namespace orvo::host
