// SPDX-License-Identifier: MIT
// Telling messages apart.
#include "device/MessageCounter.h"

#include <algorithm>

namespace orvo::host {
namespace {

constexpr std::uint32_t informationLevel = 3;

struct MessageRow {
    CountedMessage message;
    const char* begin;  // of the text about an interface
    bool isOfFaultOnly; // and thus the ledger's to tell
};

constexpr MessageRow messageRows[] = {
    {CountedMessage::TooLarge, "Packet is too large", false},
    {CountedMessage::UnexpectedValue, "Unexpected value in OHalRegisterRead", true},
    {CountedMessage::StillBusy, "Transmitter still busy after", true},
    {CountedMessage::Released, "Packet is dropped, the device is released", false},
    {CountedMessage::KeptBusy, "Packet is dropped, the device is kept busy", false},
    {CountedMessage::ActionReport, "Action command timeout detected", true},
};

const MessageRow* rowOf(std::string_view text) {
    const auto* const found =
        std::find_if(std::begin(messageRows), std::end(messageRows),
                     [text](const MessageRow& row) { return text.starts_with(row.begin); });
    return found != std::end(messageRows) ? found : nullptr;
}

} // namespace

MessageCounter::MessageCounter(const PluginLog& log, const std::vector<PortAddress>& ports) : log_(log) {
    for (const auto port : ports) {
        auto& entry = ports_.emplace_back();
        entry.address = port;
        entry.id = port.text();
        entry.phy = "|GigE PHY " + std::to_string(port.port) + " on board " + std::to_string(port.board) +
                    " still in reset";
    }
    subscription_ = log.subscribe(informationLevel, take, this);
}

MessageCounter::~MessageCounter() {
    log_.unsubscribe(subscription_);
}

std::uint64_t MessageCounter::count(PortAddress port, CountedMessage message) const {
    const auto found = std::find_if(ports_.begin(), ports_.end(),
                                    [port](const Port& entry) { return entry.address == port; });
    return found != ports_.end() ? found->counts[static_cast<std::size_t>(message)].load() : 0;
}

int MessageCounter::take(void* context, const char*, std::uint32_t, const char* message) {
    for (auto& port : static_cast<MessageCounter*>(context)->ports_) {
        const auto count = [&port](CountedMessage which) {
            port.counts[static_cast<std::size_t>(which)].fetch_add(1);
        };
        if (std::string_view(message).find(port.phy) != std::string_view::npos) {
            count(CountedMessage::StillInReset);
            return 1;
        }
        const auto text = textAbout(port.id, message);
        if (!text) continue;
        const auto* const row = rowOf(*text);
        if (!row) return 0;
        count(row->message);
        return row->isOfFaultOnly ? 1 : 0;
    }
    return 0;
}

} // namespace orvo::host
