// SPDX-License-Identifier: MIT
// The replay's report as text and as JSON.
#include "commands/ReplayReport.h"

#include "base/Output.h"
#include "frames/FrameReport.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

double secondsOf(const ReplayReport& report) {
    return std::chrono::duration<double>(report.result.duration).count();
}

double microsecondsOf(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::micro>(time).count();
}

double framesPerSecond(const ReplayReport& report) {
    const auto seconds = secondsOf(report);
    return seconds > 0 ? static_cast<double>(report.result.sent.frames) / seconds : 0;
}

double megabitPerSecond(const ReplayReport& report) {
    const auto seconds = secondsOf(report);
    return seconds > 0 ? static_cast<double>(report.result.sent.bytes) * 8 / 1e6 / seconds : 0;
}

Drops dropsOf(const ReplayReport& report) {
    Drops drops;
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        drops.add(textOf(static_cast<DropReason>(i)), report.result.dropped[i]);
    return drops;
}

std::string verificationLines(const Verifier::Report& found) {
    auto text = reportLine(
        "verified", found.passed()
                        ? counted(found.identical, "frame") + " came back identical and in order"
                        : fmt::format("DIFFERENT: {} identical, {} changed, {} lost, {} late, {} foreign",
                                      grouped(found.identical), grouped(found.changed), grouped(found.lost),
                                      grouped(found.late), grouped(found.foreign)));
    for (const auto& difference : found.differences) text += reportLine("", difference);
    if (found.differences.size() == Verifier::maxDifferences) text += reportLine("", "(there may be more)");
    return text;
}

nlohmann::ordered_json jsonOf(const Verifier::Report& found) {
    return {{"passed", found.passed()},
            {"identical", found.identical},
            {"changed", found.changed},
            {"lost", found.lost},
            {"late", found.late},
            {"foreign", found.foreign},
            {"differences", found.differences}};
}

} // namespace

std::uint64_t ReplayReport::lostFrames() const noexcept {
    return verification ? verification->lost : result.missingFrames();
}

std::string textOf(const ReplayReport& report) {
    const auto& result = report.result;
    auto text = countLine("read", result.read, "from " + report.options.input);
    text += countLine("sent", result.sent, "through port " + report.sendingPort.text());
    text += countLine("received", result.received, "at port " + report.receivingPort.text());
    text += dropsOf(report).lines();
    text += reportLine("lost", counted(report.lostFrames(), "frame"));
    if (report.verification) text += verificationLines(*report.verification);
    text += reportLine("duration", fmt::format("{:.3f} s of traffic", secondsOf(report)));
    text += reportLine("rate", fmt::format("{} frames/s, {:.1f} Mbit/s",
                                           grouped(static_cast<std::uint64_t>(framesPerSecond(report))),
                                           megabitPerSecond(report)));
    if (report.options.pace.kind != Pace::Kind::Max)
        text += reportLine("pace", fmt::format("{}, no frame more than {:.1f} µs late",
                                               report.options.pace.text(), microsecondsOf(result.latest)));
    if (!report.options.output.empty())
        text +=
            reportLine("written", counted(report.writtenFrames, "frame") + " to " + report.options.output);
    if (report.interrupted) text += reportLine("ended", "early, by a signal");
    return text + textOf(report.statistics);
}

nlohmann::ordered_json jsonOf(const ReplayReport& report) {
    const auto& result = report.result;
    nlohmann::ordered_json document = {
        {"input", report.options.input},
        {"sendingPort", report.sendingPort.text()},
        {"receivingPort", report.receivingPort.text()},
        {"read", jsonOf(result.read)},
        {"sent", jsonOf(result.sent)},
        {"received", jsonOf(result.received)},
        {"dropped", dropsOf(report).json()},
        {"lost", report.lostFrames()},
        {"seconds", secondsOf(report)},
        {"framesPerSecond", framesPerSecond(report)},
        {"megabitPerSecond", megabitPerSecond(report)},
        {"pace", report.options.pace.text()},
        {"latestMicroseconds", microsecondsOf(result.latest)},
        {"interrupted", report.interrupted},
    };
    if (!report.options.output.empty())
        document["output"] = {{"file", report.options.output}, {"frames", report.writtenFrames}};
    if (report.verification) document["verification"] = jsonOf(*report.verification);
    document["statistics"] = jsonOf(report.statistics);
    if (report.ledger) document["faults"] = jsonOf(*report.ledger);
    return document;
}

} // namespace orvo::host
