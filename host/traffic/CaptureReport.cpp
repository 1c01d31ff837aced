// SPDX-License-Identifier: MIT
// The capture's report as text and as JSON.
#include "traffic/CaptureRun.h"

#include "base/Output.h"
#include "frames/FrameReport.h"

#include <fmt/format.h>

#include <numeric>

namespace orvo::host {
namespace {

std::string filesOf(const CaptureReport& report) {
    std::string text;
    for (const auto& file : report.files)
        text += (text.empty() ? "" : ", ") +
                (file.path == CaptureOutput::standardOutput ? "standard output" : file.path);
    return text;
}

} // namespace

std::uint64_t CaptureReport::writtenFrames() const noexcept {
    return std::accumulate(
        files.begin(), files.end(), std::uint64_t{0},
        [](std::uint64_t sum, const CaptureOutput::File& file) { return sum + file.frames; });
}

std::uint64_t CaptureReport::unwrittenFrames() const noexcept {
    return result.totals.received.frames - result.totals.filteredOut - writtenFrames() - overwrittenFrames;
}

std::string textOfCapture(const CaptureReport& report) {
    const auto& [totals, end, failure] = report.result;
    const auto& request = report.request;
    auto text = countLine("received", totals.received, "at port " + request.port.address.text());
    if (!request.filter.empty())
        text += framesLine("filtered", totals.filteredOut, "out by " + request.filter);
    text += framesLine("written", report.writtenFrames(), "to " + filesOf(report));
    if (request.ring) text += framesLine("dropped", report.overwrittenFrames, "with the oldest files");
    if (const auto frames = report.lostFrames())
        text += framesLine("lost", frames, "that could not be written");
    if (const auto frames = report.unreadFrames())
        text += framesLine("unread", frames, "that the reader did not take any more");
    return text + durationLine(report.duration) + reportLine("ended", textOfCaptureEnd(end)) +
           textOf(report.account.statistics);
}

nlohmann::ordered_json jsonOfCapture(const CaptureReport& report) {
    const auto& [totals, end, failure] = report.result;
    auto files = nlohmann::ordered_json::array();
    for (const auto& file : report.files) files.push_back({{"file", file.path}, {"frames", file.frames}});
    nlohmann::ordered_json document = {{"port", report.request.port.address.text()},
                                       {"received", jsonOfCount(totals.received)},
                                       {"filteredOut", totals.filteredOut},
                                       {"written", report.writtenFrames()},
                                       {"overwritten", report.overwrittenFrames},
                                       {"lost", report.lostFrames()},
                                       {"unread", report.unreadFrames()},
                                       {"files", std::move(files)},
                                       {"seconds", report.duration.count()},
                                       {"ended", textOfCaptureEnd(end)}};
    report.account.addTo(document);
    return document;
}

} // namespace orvo::host
