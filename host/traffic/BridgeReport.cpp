// SPDX-License-Identifier: MIT
#include "traffic/BridgeReport.h"

#include "frames/FrameOutput.h"
#include "frames/streams/StreamText.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

/// Frames handed over that the plug-in did not send; its log names each of them.
std::uint64_t unsentByPlugin(const BridgeReport& report) {
    const auto& statistics = report.account.statistics;
    const auto sent = statistics.empty() ? std::nullopt : statistics.front().frames("Send");
    const auto handed = report.totals.toPort.frames;
    return sent && *sent < handed ? handed - *sent : 0;
}

/// One metric of a bridge.
class Metric {
public:
    Metric(const BridgeReport& report, const char* name, const char* meaning)
        : name_(name), port_(report.request.port.address),
          text_(fmt::format("# HELP {} {}\n# TYPE {} counter\n", name, meaning, name)) {}

    Metric& add(const char* label, const std::string& value, std::uint64_t number) {
        const auto escaped = nlohmann::json(value).dump(); // a label is quoted as a JSON text is
        text_ += fmt::format("{}{{board=\"{}\",port=\"{}\",{}={}}} {}\n", name_, port_.board, port_.port,
                             label, escaped, number);
        return *this;
    }
    const std::string& text() const noexcept { return text_; }

private:
    const char* const name_;
    const PortAddress port_;
    std::string text_;
};

} // namespace

void BridgeReport::addOwnDrops() {
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        drops.add(std::string("from the TAP: ") + dropReasonText(static_cast<DropReason>(i)),
                  totals.unsendable[i]);
    drops.add("from the TAP: joined frame that cannot be cut", totals.uncuttable);
    drops.add("from the TAP: device was released", totals.whileReleased);
    drops.add("from the TAP: plug-in did not send it", unsentByPlugin(*this));
    for (std::size_t i = 0; i < tapDropCount; ++i)
        drops.add(tapDropText(static_cast<TapDrop>(i)), totals.undelivered[i]);
}

std::string bridgeText(const BridgeReport& report) {
    const auto port = report.request.port.address.text();
    const auto& tap = report.request.tap;
    auto text = countLine("to port", report.totals.toPort, "from " + tap + " to port " + port) +
                countLine("to TAP", report.totals.toTap, "from port " + port + " to " + tap) +
                report.drops.lines();
    if (const auto& recording = report.recording) {
        text += framesLine("recorded", recording->recordedFrames,
                           "in " + FrameOutput::nameText(report.request.recording));
        if (recording->omittedFrames != 0)
            text += framesLine("omitted", recording->omittedFrames, "from the recording, which was too slow");
    }
    return text + durationLine(report.duration) + streamsSection(report.streams, report.troubles) +
           report.account.text();
}

nlohmann::ordered_json bridgeJson(const BridgeReport& report) {
    nlohmann::ordered_json document = {{"port", report.request.port.address.text()},
                                       {"tap", report.request.tap},
                                       {"toPort", countJson(report.totals.toPort)},
                                       {"toTap", countJson(report.totals.toTap)},
                                       {"dropped", report.drops.json()},
                                       {"seconds", report.duration.count()}};
    if (report.recording)
        document["recording"] = {{"file", report.request.recording},
                                 {"frames", report.recording->recordedFrames},
                                 {"omitted", report.recording->omittedFrames}};
    document["gigeVision"] = streamsSectionJson(report.streams, report.troubles);
    report.account.addTo(document);
    return document;
}

std::string metricsOfBridge(const BridgeReport& report) {
    const auto& [toPort, toTap, unsendable, undelivered, uncuttable, released] = report.totals;
    Metric dropped(report, "orvo_gige_bridge_dropped_frames_total",
                   "frames that the bridge dropped, by reason");
    const auto drops = report.drops.json();
    for (const auto& entry : drops["reasons"]) dropped.add("reason", entry["reason"], entry["frames"]);
    Metric events(report, "orvo_gige_events_total", "events of the plug-in: action command time-outs");
    for (const auto& entry : report.account.events)
        events.add("type", "action command time-out", entry.events);
    const auto frames = Metric(report, "orvo_gige_bridge_frames_total", "frames carried")
                            .add("direction", "to_port", toPort.frames)
                            .add("direction", "to_tap", toTap.frames);
    const auto bytes = Metric(report, "orvo_gige_bridge_bytes_total", "bytes of those frames")
                           .add("direction", "to_port", toPort.bytes)
                           .add("direction", "to_tap", toTap.bytes);
    const auto port = report.request.port.address;
    return frames.text() + bytes.text() + dropped.text() + events.text() +
           streamsMetrics(report.streams, fmt::format("board=\"{}\",port=\"{}\"", port.board, port.port));
}

} // namespace orvo::host
