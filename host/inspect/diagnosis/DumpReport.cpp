// SPDX-License-Identifier: MIT
// Reading of the report's lines by their labels; the blanks that align them do not matter here.
#include "inspect/diagnosis/DumpReport.h"

#include "base/Failure.h"

#include <charconv>

namespace orvo::host {

const std::array<FirmwareValueRow, firmwareValueCount> firmwareValueRows = {{
    {"Hardware Packet Count", Counter::ReceivedPackets},
    {"Hardware Packet Errors", Counter::ReceiveErrors},
    {"Ctrl Packet Recv Count", Counter::ControlPacketsReceived},
    {"Ctrl Packet Send UIQ Count", Counter::ControlPacketsQueued},
    {"GVSP FIFO overflow", Counter::StreamFifoOverflow},
    {"GVCP FIFO not empty", Counter::ControlFifoNotEmpty},
}};

namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" :'");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \n") - first + 1);
}

/// A number in decimal, or in hexadecimal after "0x"; what follows it is left.
template <class T> std::optional<T> numberIn(std::string_view text) {
    const bool isHex = text.starts_with("0x");
    if (isHex) text.remove_prefix(2);
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, isHex ? 16 : 10);
    if (error != std::errc() || end == text.data()) return std::nullopt;
    return value;
}

/// One report in the making.
class Reader {
public:
    Reader(DumpReport& report, const std::string& interfaceId)
        : report_(report), prefix_("|PHY Id '" + interfaceId + "'") {}

    void read(const std::string& message) {
        const auto found = message.find(prefix_);
        if (found != std::string::npos)
            readLine(trimmed(std::string_view(message).substr(found + prefix_.size())));
        else
            readSkippedDevice(message);
    }

    bool isWhole() const {
        return started_ && stopped_ && snapshots_ == 2 && phyRegisters_ == dumpedPhyRegisters;
    }

private:
    void readLine(std::string_view line) {
        if (line.starts_with("[START]")) started_ = true;
        if (line.starts_with("[STOP ]")) stopped_ = true;
        if (line.starts_with("Firmware Debug Registers")) ++snapshots_;
        if (const auto value = after(line, "[MDIO] ...... Register ")) readPhy(*value);
        if (const auto value = after(line, "[REGISTER] ")) readFirmwareValue(trimmed(*value));
        if (const auto value = after(line, "[STORED  ] ")) readLabelled(trimmed(*value));
        if (const auto value = after(line, "[HAL     ] ")) readLabelled(trimmed(*value));
    }

    static std::optional<std::string_view> after(std::string_view line, std::string_view beginning) {
        if (!line.starts_with(beginning)) return std::nullopt;
        return line.substr(beginning.size());
    }

    void readLabelled(std::string_view line) {
        const auto take = [line](std::string_view label, auto& value) {
            if (const auto text = after(line, label))
                value = numberIn<std::decay_t<decltype(value)>>(trimmed(*text)).value_or(0);
        };
        take("Board Index:", report_.boardIndex);
        take("Board Serial:", report_.serial);
        take("Board Type:", report_.type);
        take("Devices Count:", report_.deviceCount);
        if (const auto text = after(line, "Board Name:")) report_.name = trimmed(*text);
        if (const auto text = after(line, "Device Found: Index ")) readDevice(*text, ", Serial ");
    }

    void readDevice(std::string_view text, std::string_view separator) {
        const auto index = numberIn<unsigned>(text);
        const auto at = text.find(separator);
        if (!index || at == std::string_view::npos) return;
        report_.devices.push_back(
            {*index, numberIn<std::uint64_t>(text.substr(at + separator.size())).value_or(0)});
    }

    void readSkippedDevice(std::string_view message) {
        constexpr std::string_view text = "Found device with serial '0' on device index ";
        const auto found = message.find(text);
        if (found != std::string_view::npos) readDevice(message.substr(found + text.size()), ", ");
    }

    void readFirmwareValue(std::string_view line) {
        if (snapshots_ != 1 && snapshots_ != 2) return;
        auto& snapshot = snapshots_ == 1 ? report_.first : report_.second;
        for (std::size_t i = 0; i < firmwareValueCount; ++i)
            if (const auto text = after(line, firmwareValueRows[i].label))
                snapshot[i] = numberIn<std::uint64_t>(trimmed(*text));
    }

    void readPhy(std::string_view text) {
        const auto number = numberIn<std::size_t>(text);
        const auto colon = text.find(": ");
        if (!number || *number >= dumpedPhyRegisters || colon == std::string_view::npos) return;
        const auto content = numberIn<std::uint16_t>(text.substr(colon + 2));
        if (!content) return;
        report_.phy[*number] = *content;
        ++phyRegisters_;
    }

    DumpReport& report_;
    const std::string prefix_;
    bool started_ = false;
    bool stopped_ = false;
    int snapshots_ = 0;
    std::size_t phyRegisters_ = 0;
};

} // namespace

DumpReport DumpReport::parse(const std::vector<std::string>& messages, const std::string& interfaceId) {
    DumpReport report;
    Reader reader(report, interfaceId);
    for (const auto& message : messages) reader.read(message);
    if (!reader.isWhole())
        throw Failure("the plug-in's diagnostic report about port " + interfaceId +
                      " is incomplete; the installation's plug-in or log dispatcher is not ours");
    return report;
}

} // namespace orvo::host
