// SPDX-License-Identifier: MIT
#include "device/CounterTable.h"

#include "base/Output.h"

#include <nlohmann/json.hpp>

#include <cctype>
#include <string_view>
#include <vector>

namespace orvo::host {
namespace {

constexpr double shortestFrames = 1e9 / 8 / 84; // a second: 64 bytes, preamble and gap at 1 Gbit/s
constexpr double bytesPerSecond = 1e9 / 8;
constexpr unsigned firstActionQueue = 8;

// In the order of CounterKind and CounterSource.
constexpr const char* kindNames[] = {"state", "error flag", "count", "error counter"};
constexpr const char* sourceNames[] = {"hardware access layer", "PHY", "firmware register", "data queue",
                                       "simulated board"};

const char* nameOf(CounterKind kind) {
    return kindNames[static_cast<std::size_t>(kind)];
}

} // namespace

using enum CounterKind;
using enum CounterSource;

// clang-format off
const std::array<CounterRow, counterCount> counterRows = {{
    {"board present", "present", "", State, HardwareAccess, "",
     "1 while the board answers, 0 while it is gone"},
    {"link up", "linkUp", "", State, Phy, "register 1", "1 while the link is up, 0 while it is down"},
    {"link speed", "linkBitsPerSecond", "bit/s", State, Phy, "registers 0 to 10",
     "the speed that the two ends negotiated; 0 while the link is down"},
    {"received packets", "receivedPackets", "frames", Count, FirmwareRegister, "GigeRecvPktCnt",
     "good frames that arrived"},
    {"receive errors", "receiveErrors", "frames", TroubleCount, FirmwareRegister, "GigeRecvErrCnt",
     "frames that arrived damaged or with an impossible length, and were dropped"},
    {"control packets received", "controlPacketsReceived", "frames", Count, FirmwareRegister,
     "CtrlPktReceivedCnt", "good frames meant for the host"},
    {"control packets queued", "controlPacketsQueued", "frames", Count, FirmwareRegister, "CtrlPktSendUiqCnt",
     "good frames meant for the host that entered the receive queue"},
    {"stream FIFO overflow", "streamFifoOverflow", "", TroubleFlag, FirmwareRegister,
     "GvspFiFoOverflow_GigeTransceiver", "not 0 after a frame arrived that the board had no room for"},
    {"control FIFO not empty", "controlFifoNotEmpty", "", State, FirmwareRegister,
     "GvcpFiFoNotEmpty_GigeTransceiver", "not 0 while received frames wait for the host"},
    {"lost words", "lostWords", "words", TroubleCount, LostWordsOfQueue, "",
     "words that the full receive queue dropped; each holds 2 bytes of a received frame"},
    {"lost action words", "lostActionWords", "words", TroubleCount, LostWordsOfQueue, " + 8",
     "words of action command reports that their full queue dropped", nullptr, firstActionQueue},
    {"idle errors", "idleErrors", "errors", TroubleCount, Phy, "register 10, bits 7:0",
     "errors between frames at 1000BASE-T since watching began; at most 255 per reading"},
    {"wire received frames", "wireReceivedFrames", "frames", Count, SimulatedBoard, "receivedFrames",
     "good frames from the wire", &OrvoSimPort::receivedFrames},
    {"wire received bytes", "wireReceivedBytes", "bytes", Count, SimulatedBoard, "receivedBytes",
     "bytes of good frames from the wire, frame check sequence included", &OrvoSimPort::receivedBytes},
    {"wire sent frames", "wireSentFrames", "frames", Count, SimulatedBoard, "sentFrames",
     "frames sent on the wire", &OrvoSimPort::sentFrames},
    {"wire sent bytes", "wireSentBytes", "bytes", Count, SimulatedBoard, "sentBytes",
     "bytes of frames sent on the wire, padding and frame check sequence included",
     &OrvoSimPort::sentBytes},
    {"wire unsent frames", "wireUnsentFrames", "frames", TroubleCount, SimulatedBoard, "unsentFrames",
     "frames that could not be sent: no link, or the wire refused them", &OrvoSimPort::unsentFrames},
    {"wire ignored frames", "wireIgnoredFrames", "frames", TroubleCount, SimulatedBoard, "ignoredFrames",
     "frames that arrived while the receiver was off, in reset or without link", &OrvoSimPort::ignoredFrames},
    {"wire overflow frames", "wireOverflowFrames", "frames", TroubleCount, SimulatedBoard, "overflowFrames",
     "good frames that the receive queue had no room for", &OrvoSimPort::overflowFrames},
}};
// clang-format on

std::string CounterRow::metric() const {
    std::string text = "orvo_gige_";
    for (const char* c = name; *c; ++c)
        text += *c == ' ' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
    return text + (isCount() ? "_total" : "");
}

double CounterRow::mostPerSecond() const {
    const std::string_view counted = unit;
    return counted == "frames" ? shortestFrames : bytesPerSecond;
}

std::string CounterRow::sourceOf(const std::string& port) const {
    const std::string text = sourceNames[static_cast<std::size_t>(source)];
    if (source == FirmwareRegister) return text + " " + place + port;
    if (source == LostWordsOfQueue) return text + " " + port + place;
    return *place ? text + " " + place : text;
}

std::string counterTableText() {
    std::vector<std::vector<std::string>> rows = {{"NAME", "UNIT", "KIND", "SOURCE", "MEANING"}};
    for (const auto& row : counterRows)
        rows.push_back(
            {row.name, *row.unit ? row.unit : "-", nameOf(row.kind), row.sourceOf("<port>"), row.meaning});
    return table(rows);
}

nlohmann::ordered_json counterTableJson() {
    auto list = nlohmann::ordered_json::array();
    for (const auto& row : counterRows)
        list.push_back({{"name", row.name},
                        {"key", row.key},
                        {"metric", row.metric()},
                        {"unit", row.unit},
                        {"kind", nameOf(row.kind)},
                        {"source", row.sourceOf("<port>")},
                        {"meaning", row.meaning}});
    return list;
}

} // namespace orvo::host
