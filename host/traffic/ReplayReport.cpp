// SPDX-License-Identifier: MIT
// The replay's report as text and as JSON.
#include "traffic/ReplayRun.h"

#include "base/Output.h"
#include "frames/FrameReport.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

double secondsOf(std::chrono::nanoseconds time) {
    return std::chrono::duration<double>(time).count();
}

double perSecond(std::uint64_t amount, const ReplayReport& report) {
    const auto seconds = secondsOf(report.result.duration);
    return seconds > 0 ? static_cast<double>(amount) / seconds : 0;
}

double megabitPerSecond(const ReplayReport& report) {
    return perSecond(report.result.sent.bytes, report) * 8 / 1e6;
}

Drops dropsOf(const ReplayReport& report) {
    Drops drops;
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        drops.add(dropReasonText(static_cast<DropReason>(i)), report.result.dropped[i]);
    return drops;
}

std::string verificationLines(const ReplayReport& report) {
    const auto& found = *report.verification;
    const auto unsent = report.result.droppedFrames(), spoiled = report.result.spoiled;
    auto text = reportLine(
        "verified", report.passed()
                        ? counted(found.identical, "frame") + " came back identical and in order" +
                              (spoiled == 0 ? "" : ", those with a wrong check sequence did not")
                        : fmt::format("DIFFERENT: {} identical, {} changed, {} lost, {} late, {} foreign{}",
                                      grouped(found.identical), grouped(found.changed), grouped(found.lost),
                                      grouped(found.late), grouped(found.foreign),
                                      unsent == 0 ? "" : ", " + grouped(unsent) + " not sent"));
    for (const auto& difference : found.differences) text += reportLine("", difference);
    if (found.differences.size() == Verifier::maxDifferences) text += reportLine("", "(there may be more)");
    return text;
}

nlohmann::ordered_json verificationJson(const ReplayReport& report) {
    const auto& found = *report.verification;
    return {{"passed", report.passed()},
            {"identical", found.identical},
            {"changed", found.changed},
            {"lost", found.lost},
            {"late", found.late},
            {"foreign", found.foreign},
            {"unsent", report.result.droppedFrames()},
            {"differences", found.differences}};
}

} // namespace

bool ReplayReport::passed() const noexcept {
    return !verification || (verification->passed() && result.droppedFrames() == 0);
}

std::uint64_t ReplayReport::lostFrames() const noexcept {
    return verification ? verification->lost : result.missingFrames();
}

std::string replayText(const ReplayReport& report) {
    const auto& result = report.result;
    auto text = countLine("read", result.read, "from " + report.request.inputName());
    text += countLine("sent", result.sent, "through port " + report.request.port.address.text());
    if (report.request.sending.spoiledEvery != 0)
        text += framesLine("spoiled", result.spoiled, "of these, with a wrong check sequence");
    text += countLine("received", result.received, "at port " + report.receivingPort.text());
    text += dropsOf(report).lines();
    text += framesLine("lost", report.lostFrames());
    if (report.verification) text += verificationLines(report);
    text += reportLine("duration", fmt::format("{:.3f} s of traffic", secondsOf(result.duration)));
    text += reportLine("rate",
                       fmt::format("{} frames/s, {:.1f} Mbit/s",
                                   grouped(static_cast<std::uint64_t>(perSecond(result.sent.frames, report))),
                                   megabitPerSecond(report)));
    if (report.request.sending.pace.kind != Pace::Kind::Max)
        text += reportLine("pace",
                           fmt::format("{}, no frame more than {:.1f} µs late",
                                       report.request.sending.pace.text(), 1e6 * secondsOf(result.latest)));
    if (!report.request.output.empty())
        text +=
            framesLine("written", report.writtenFrames, "to " + FrameOutput::nameText(report.request.output));
    if (report.interrupted) text += reportLine("ended", "early, by a signal");
    return text + report.account.text();
}

nlohmann::ordered_json replayJson(const ReplayReport& report) {
    const auto& result = report.result;
    nlohmann::ordered_json document = {
        {"input", report.request.input},
        {"sendingPort", report.request.port.address.text()},
        {"receivingPort", report.receivingPort.text()},
        {"read", countJson(result.read)},
        {"sent", countJson(result.sent)},
        {"checkSequence",
         {{"madeBy", report.request.hostMakesFcs ? "host" : "board"}, {"wrong", result.spoiled}}},
        {"received", countJson(result.received)},
        {"dropped", dropsOf(report).json()},
        {"lost", report.lostFrames()},
        {"seconds", secondsOf(result.duration)},
        {"framesPerSecond", perSecond(result.sent.frames, report)},
        {"megabitPerSecond", megabitPerSecond(report)},
        {"pace", report.request.sending.pace.text()},
        {"latestMicroseconds", 1e6 * secondsOf(result.latest)},
        {"interrupted", report.interrupted},
    };
    if (!report.request.output.empty())
        document["output"] = {{"file", report.request.output}, {"frames", report.writtenFrames}};
    if (report.verification) document["verification"] = verificationJson(report);
    report.account.addTo(document);
    return document;
}

} // namespace orvo::host
