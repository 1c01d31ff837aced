// SPDX-License-Identifier: MIT
// The table.
#include "device/CounterTable.h"

#include "base/Output.h"

#include <nlohmann/json.hpp>

#include <string_view>
#include <vector>

namespace orvo::host {
namespace {

constexpr double shortestFrames = 1e9 / 8 / 84; // a second: 64 bytes, preamble and gap at 1 Gbit/s
constexpr double bytesPerSecond = 1e9 / 8;
constexpr unsigned firstActionQueue = 8;

const char* textOf(CounterKind kind) {
    switch (kind) {
    case CounterKind::State:
        return "state";
    case CounterKind::TroubleFlag:
        return "flag of trouble";
    case CounterKind::Count:
        return "count";
    case CounterKind::TroubleCount:
        return "count of trouble";
    }
    return "";
}

} // namespace

using enum CounterKind;
using enum CounterSource;

// clang-format off
const std::array<CounterRow, counterCount> counterRows = {{
    {"board present", "present", "orvo_gige_board_present", "", State, HardwareAccess, "",
     "1 while the board answers, 0 while it is gone"},
    {"link up", "linkUp", "orvo_gige_link_up", "", State, Phy, "register 1",
     "1 while the link is up, 0 while it is down"},
    {"link speed", "linkBitsPerSecond", "orvo_gige_link_speed", "bit/s", State, Phy, "registers 0 to 10",
     "what the two ends of the cable agreed on; 0 while the link is down"},
    {"received packets", "receivedPackets", "orvo_gige_received_packets_total", "frames", Count, FirmwareRegister,
     "GigeRecvPktCnt", "good frames that arrived"},
    {"receive errors", "receiveErrors", "orvo_gige_receive_errors_total", "frames", TroubleCount, FirmwareRegister,
     "GigeRecvErrCnt", "frames that arrived damaged or with an impossible length, and were dropped"},
    {"control packets received", "controlPacketsReceived", "orvo_gige_control_packets_received_total", "frames", Count,
     FirmwareRegister, "CtrlPktReceivedCnt", "good frames meant for the host"},
    {"control packets queued", "controlPacketsQueued", "orvo_gige_control_packets_queued_total", "frames", Count,
     FirmwareRegister, "CtrlPktSendUiqCnt", "those of them that entered the receive queue"},
    {"stream FIFO overflow", "streamFifoOverflow", "orvo_gige_stream_fifo_overflow", "", TroubleFlag, FirmwareRegister,
     "GvspFiFoOverflow_GigeTransceiver", "not 0 once frames arrived that the board had no room for"},
    {"control FIFO not empty", "controlFifoNotEmpty", "orvo_gige_control_fifo_not_empty", "", State, FirmwareRegister,
     "GvcpFiFoNotEmpty_GigeTransceiver", "not 0 while received frames wait for the host"},
    {"lost words", "lostWords", "orvo_gige_lost_words_total", "words", TroubleCount, LostWordsOfQueue, "",
     "words that the receive queue dropped, being full; each has 2 bytes of a received frame"},
    {"lost action words", "lostActionWords", "orvo_gige_lost_action_words_total", "words", TroubleCount,
     LostWordsOfQueue, " + 8", "reports of action commands that their queue dropped, being full",
     nullptr, firstActionQueue},
    {"idle errors", "idleErrors", "orvo_gige_idle_errors_total", "errors", TroubleCount, Phy, "register 10, bits 7:0",
     "disturbances between frames at 1000BASE-T, since the watching began; 255 at most from one look to the next"},
    {"wire received frames", "wireReceivedFrames", "orvo_gige_wire_received_frames_total", "frames", Count,
     SimulatedBoard, "receivedFrames", "good frames from the wire", &OrvoSimPort::receivedFrames},
    {"wire received bytes", "wireReceivedBytes", "orvo_gige_wire_received_bytes_total", "bytes", Count,
     SimulatedBoard, "receivedBytes", "their bytes, frame check sequence included", &OrvoSimPort::receivedBytes},
    {"wire sent frames", "wireSentFrames", "orvo_gige_wire_sent_frames_total", "frames", Count,
     SimulatedBoard, "sentFrames", "frames that left by the wire", &OrvoSimPort::sentFrames},
    {"wire sent bytes", "wireSentBytes", "orvo_gige_wire_sent_bytes_total", "bytes", Count,
     SimulatedBoard, "sentBytes", "their bytes, padding and frame check sequence included", &OrvoSimPort::sentBytes},
    {"wire unsent frames", "wireUnsentFrames", "orvo_gige_wire_unsent_frames_total", "frames", TroubleCount,
     SimulatedBoard, "unsentFrames", "frames that could not leave: no link, or a wire that did not take them",
     &OrvoSimPort::unsentFrames},
    {"wire ignored frames", "wireIgnoredFrames", "orvo_gige_wire_ignored_frames_total", "frames", TroubleCount,
     SimulatedBoard, "ignoredFrames", "frames that came while the receiver was off, in reset or without link",
     &OrvoSimPort::ignoredFrames},
    {"wire overflow frames", "wireOverflowFrames", "orvo_gige_wire_overflow_frames_total", "frames", TroubleCount,
     SimulatedBoard, "overflowFrames", "good frames that the receive queue had no room for", &OrvoSimPort::overflowFrames},
}};
// clang-format on

const char* textOf(CounterSource source) {
    switch (source) {
    case HardwareAccess:
        return "hardware access layer";
    case Phy:
        return "PHY";
    case FirmwareRegister:
        return "firmware register";
    case LostWordsOfQueue:
        return "data queue";
    case SimulatedBoard:
        return "simulated board";
    }
    return "";
}

unsigned CounterRow::bits() const {
    return source == FirmwareRegister ? 32 : 64;
}

double CounterRow::mostPerSecond() const {
    const std::string_view counted = unit;
    return counted == "frames" ? shortestFrames : bytesPerSecond;
}

std::string CounterRow::sourceOf(const std::string& port) const {
    const std::string text = textOf(source);
    if (source == FirmwareRegister) return text + " " + place + port;
    if (source == LostWordsOfQueue) return text + " " + port + place;
    return *place ? text + " " + place : text;
}

std::string textOfCounterTable() {
    std::vector<std::vector<std::string>> rows = {{"NAME", "UNIT", "KIND", "SOURCE", "MEANING"}};
    for (const auto& row : counterRows)
        rows.push_back(
            {row.name, *row.unit ? row.unit : "-", textOf(row.kind), row.sourceOf("<port>"), row.meaning});
    return table(rows);
}

nlohmann::ordered_json jsonOfCounterTable() {
    auto list = nlohmann::ordered_json::array();
    for (const auto& row : counterRows)
        list.push_back({{"name", row.name},
                        {"key", row.key},
                        {"metric", row.metric},
                        {"unit", row.unit},
                        {"kind", textOf(row.kind)},
                        {"source", row.sourceOf("<port>")},
                        {"meaning", row.meaning}});
    return list;
}

} // namespace orvo::host
