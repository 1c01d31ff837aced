// The replay's report as text and as JSON.
#include "commands/ReplayReport.h"

#include "app/Output.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

double secondsOf(const ReplayReport& report) {
    return std::chrono::duration<double>(report.result.duration).count();
}

double framesPerSecond(const ReplayReport& report) {
    const auto seconds = secondsOf(report);
    return seconds > 0 ? static_cast<double>(report.result.sent.frames) / seconds : 0;
}

double megabitPerSecond(const ReplayReport& report) {
    const auto seconds = secondsOf(report);
    return seconds > 0 ? static_cast<double>(report.result.sent.bytes) * 8 / 1e6 / seconds : 0;
}

std::string line(const std::string& name, const std::string& value) {
    return fmt::format("{:<10}{}\n", name, value);
}

std::string countLine(const std::string& name, const FrameCount& count, const std::string& where) {
    return line(name, counted(count.frames, "frame") + ", " + counted(count.bytes, "byte") + " " + where);
}

std::string droppedLines(const ReplayReport& report) {
    if (report.result.droppedFrames() == 0) return line("dropped", counted(0, "frame"));
    std::string text;
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        if (const auto frames = report.result.dropped[i])
            text += line("dropped", counted(frames, "frame") + " " + textOf(static_cast<DropReason>(i)));
    return text;
}

std::string verificationLines(const Verifier::Report& found) {
    auto text =
        line("verified",
             found.passed() ? counted(found.identical, "frame") + " came back identical and in order"
                            : fmt::format("DIFFERENT: {} identical, {} changed, {} lost, {} late, {} foreign",
                                          grouped(found.identical), grouped(found.changed),
                                          grouped(found.lost), grouped(found.late), grouped(found.foreign)));
    for (const auto& difference : found.differences) text += line("", difference);
    if (found.differences.size() == Verifier::maxDifferences) text += line("", "(there may be more)");
    return text;
}

std::string statisticsLines(const ReplayReport& report) {
    std::string text;
    for (const auto& statistics : report.statistics) {
        text += fmt::format("\nport {}, as counted by the plug-in:\n", statistics.port.text());
        if (statistics.lines.empty())
            text += "  not to be had: the installation has no log dispatcher that hands it out\n";
        for (const auto& entry : statistics.lines) text += "  " + entry + "\n";
    }
    return text;
}

nlohmann::ordered_json jsonOf(const FrameCount& count) {
    return {{"frames", count.frames}, {"bytes", count.bytes}};
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

nlohmann::ordered_json droppedJson(const ReplayReport& report) {
    auto reasons = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        if (const auto frames = report.result.dropped[i])
            reasons.push_back({{"reason", textOf(static_cast<DropReason>(i))}, {"frames", frames}});
    return {{"frames", report.result.droppedFrames()}, {"reasons", std::move(reasons)}};
}

nlohmann::ordered_json statisticsJson(const ReplayReport& report) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& statistics : report.statistics)
        list.push_back({{"port", statistics.port.text()}, {"lines", statistics.lines}});
    return list;
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
    text += droppedLines(report);
    text += line("lost", counted(report.lostFrames(), "frame"));
    if (report.verification) text += verificationLines(*report.verification);
    text += line("duration", fmt::format("{:.3f} s of traffic", secondsOf(report)));
    text += line("rate", fmt::format("{} frames/s, {:.1f} Mbit/s",
                                     grouped(static_cast<std::uint64_t>(framesPerSecond(report))),
                                     megabitPerSecond(report)));
    if (!report.options.output.empty())
        text += line("written", counted(report.writtenFrames, "frame") + " to " + report.options.output);
    if (report.interrupted) text += line("ended", "early, by a signal");
    return text + statisticsLines(report);
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
        {"dropped", droppedJson(report)},
        {"lost", report.lostFrames()},
        {"seconds", secondsOf(report)},
        {"framesPerSecond", framesPerSecond(report)},
        {"megabitPerSecond", megabitPerSecond(report)},
        {"interrupted", report.interrupted},
    };
    if (!report.options.output.empty())
        document["output"] = {{"file", report.options.output}, {"frames", report.writtenFrames}};
    if (report.verification) document["verification"] = jsonOf(*report.verification);
    document["statistics"] = statisticsJson(report);
    return document;
}

} // namespace orvo::host
