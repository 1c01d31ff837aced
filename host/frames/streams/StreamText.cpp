// SPDX-License-Identifier: MIT
#include "frames/streams/StreamText.h"

#include "base/Output.h"
#include "frames/FrameReport.h"

#include <fmt/format.h>

#include <algorithm>

namespace orvo::host {
namespace {

constexpr std::size_t mostLines = 20; // of damaged images; JSON has more

double msOf(StreamTime time) {
    return static_cast<double>(time) / 1e6;
}

std::string rangeText(const PacketRange& range) {
    return range.first == range.last ? std::to_string(range.first)
                                     : fmt::format("{} to {}", range.first, range.last);
}

/// ", N WHAT", where there are any.
std::string also(std::uint64_t number, const char* what) {
    return number == 0 ? "" : fmt::format(", {} {}", grouped(number), what);
}

/// ", 1 THING" or ", N THINGs", where there are any.
std::string alsoCounted(std::uint64_t number, const char* thing) {
    return number == 0 ? "" : ", " + counted(number, thing);
}

std::string imagesText(const StreamFigures& figures) {
    using enum ImageEnd;
    std::string text = grouped(figures.whole()) + " complete";
    if (const auto recovered = figures.of(Recovered); recovered != 0)
        text += fmt::format(", {} of them after resend", grouped(recovered));
    for (const auto end : {Incomplete, NeverEnded, Absent, TooLarge})
        text += also(figures.of(end), imageEndText(end));
    return text;
}

std::string packetsText(const StreamFigures& figures) {
    return fmt::format("{} received, {} missing, {} doubled, {} out of order, {} resent",
                       grouped(figures.packets), grouped(figures.missing), grouped(figures.doubled),
                       grouped(figures.outOfOrder), grouped(figures.resent)) +
           also(figures.recovered, "recovered") + also(figures.unavailable, "no longer available") +
           also(figures.late, "too late to count") + also(figures.unreadable, "unreadable") +
           also(figures.beyond, "with impossible numbers");
}

std::string streamLines(const StreamReport& stream) {
    const auto& figures = stream.figures;
    auto text = reportLine(
        "stream",
        streamEndsText(stream.ends) +
            (figures.width != 0 ? fmt::format(", {} x {} pixels", figures.width, figures.height) : ""));
    text += reportLine("images", imagesText(figures) + alsoCounted(figures.restarts, "restart") +
                                     (figures.restarts != 0 ? " of the numbering" : ""));
    text += reportLine("rate", fmt::format("{:.1f} images/s, {} of image data", figures.imagesPerSecond(),
                                           counted(figures.bytes, "byte")));
    text += reportLine("packets", packetsText(figures));
    if (figures.requests != 0)
        text += reportLine("resend",
                           fmt::format("{} for {}, {} never answered", counted(figures.requests, "request"),
                                       counted(figures.askedAgain, "missing packet"),
                                       grouped(figures.neverAnswered)));
    const auto& gaps = figures.gaps;
    if (gaps.count() != 0)
        text += reportLine("gaps",
                           fmt::format("{:.3f} to {:.3f} ms between images, median {:.3f} ms; longest pause "
                                       "inside one {:.3f} ms",
                                       msOf(gaps.least()), msOf(gaps.greatest()), msOf(gaps.median()),
                                       msOf(figures.longestPause)));
    if (figures.longestImage != 0)
        text += reportLine("longest", fmt::format("{:.3f} ms from the first packet of a complete image to "
                                                  "its last",
                                                  msOf(figures.longestImage)));
    const auto shown = std::min(stream.damaged.size(), mostLines);
    for (auto i = stream.damaged.size() - shown; i < stream.damaged.size(); ++i)
        text += reportLine("missing", endedImageText(stream.damaged[i]));
    if (const auto all = figures.damaged(); shown != 0 && all > shown)
        text += reportLine("missing", fmt::format("the newest of {} such images are listed", grouped(all)));
    return text;
}

std::string errorText(const ControlError& error) {
    return gigeCommandName(error.command) +
           (error.address != 0 ? fmt::format(" {:#010x}", error.address) : "") + ": " +
           gigeStatusName(error.status);
}

std::string controlLine(const ControlFigures& control) {
    auto text = fmt::format("{} to {}: {}, {}", ipv4Text(control.client), ipv4Text(control.camera),
                            counted(control.commands, "command"), counted(control.answers, "answer"));
    if (control.privilege != Privilege::Unknown)
        text += fmt::format(", privilege {}", privilegeText(control.privilege));
    if (control.heartbeatMs) text += fmt::format(", heartbeat {} ms", *control.heartbeatMs);
    if (control.longestSilence != 0)
        text += fmt::format(", longest silence {:.0f} ms", msOf(control.longestSilence));
    text += also(control.repeated, "repeated") + also(control.unanswered, "unanswered") +
            also(control.pending, "put off") + alsoCounted(control.events, "event");
    if (control.lastError)
        text +=
            fmt::format(", {} (last: {})", counted(control.errors, "error"), errorText(*control.lastError));
    return reportLine("control", text);
}

std::string givenUpLine(const GivenUp& givenUp) {
    if (givenUp.streams + givenUp.packets + givenUp.control == 0) return {};
    return reportLine("given up",
                      fmt::format("{}, {} of other streams, {}: there was no room to follow them",
                                  counted(givenUp.streams, "stream"), counted(givenUp.packets, "leader"),
                                  counted(givenUp.control, "control datagram")));
}

nlohmann::ordered_json rangesJson(const EndedImage& image) {
    auto ranges = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < image.rangeCount; ++i)
        ranges.push_back({{"first", image.ranges[i].first}, {"last", image.ranges[i].last}});
    return ranges;
}

nlohmann::ordered_json imageJson(const EndedImage& image) {
    return {{"image", image.block},           {"images", image.images},   {"state", imageEndText(image.end)},
            {"packets", image.packets},       {"missing", image.missing}, {"ranges", rangesJson(image)},
            {"unnamedPackets", image.unnamed}};
}

nlohmann::ordered_json streamJson(const StreamReport& stream) {
    using enum ImageEnd;
    const auto& f = stream.figures;
    auto damaged = nlohmann::ordered_json::array();
    for (const auto& image : stream.damaged) damaged.push_back(imageJson(image));
    return {
        {"camera", ipv4Text(stream.ends.camera)},
        {"host", ipv4Text(stream.ends.host)},
        {"port", stream.ends.port},
        {"announced", stream.isAnnounced},
        {"width", f.width},
        {"height", f.height},
        {"images",
         {{"complete", f.of(Complete)},
          {"afterResend", f.of(Recovered)},
          {"incomplete", f.of(Incomplete)},
          {"neverEnded", f.of(NeverEnded)},
          {"absent", f.of(Absent)},
          {"tooLarge", f.of(TooLarge)}}},
        {"packets",
         {{"received", f.packets},
          {"missing", f.missing},
          {"recovered", f.recovered},
          {"doubled", f.doubled},
          {"outOfOrder", f.outOfOrder},
          {"resent", f.resent},
          {"unavailable", f.unavailable},
          {"late", f.late},
          {"unreadable", f.unreadable},
          {"beyond", f.beyond}}},
        {"resend", {{"requests", f.requests}, {"packets", f.askedAgain}, {"neverAnswered", f.neverAnswered}}},
        {"restarts", f.restarts},
        {"bytes", f.bytes},
        {"imagesPerSecond", f.imagesPerSecond()},
        {"gapsMs",
         {{"least", msOf(f.gaps.least())},
          {"median", msOf(f.gaps.median())},
          {"greatest", msOf(f.gaps.greatest())}}},
        {"longestPauseMs", msOf(f.longestPause)},
        {"longestImageMs", msOf(f.longestImage)},
        {"damaged", std::move(damaged)}};
}

nlohmann::ordered_json controlJson(const ControlFigures& control) {
    nlohmann::ordered_json document = {{"camera", ipv4Text(control.camera)},
                                       {"client", ipv4Text(control.client)},
                                       {"privilege", privilegeText(control.privilege)},
                                       {"heartbeatMs", nullptr},
                                       {"longestSilenceMs", msOf(control.longestSilence)},
                                       {"commands", control.commands},
                                       {"answers", control.answers},
                                       {"repeated", control.repeated},
                                       {"unanswered", control.unanswered},
                                       {"pending", control.pending},
                                       {"events", control.events},
                                       {"errors", control.errors}};
    if (control.heartbeatMs) document["heartbeatMs"] = *control.heartbeatMs;
    if (control.lastError) document["lastError"] = errorText(*control.lastError);
    return document;
}

} // namespace

std::string ipv4Text(std::uint32_t address) {
    return fmt::format("{}.{}.{}.{}", address >> 24, address >> 16 & 0xFF, address >> 8 & 0xFF,
                       address & 0xFF);
}

std::string streamEndsText(const StreamEnds& ends) {
    return fmt::format("{} to {}:{}", ipv4Text(ends.camera), ipv4Text(ends.host), ends.port);
}

std::string endedImageText(const EndedImage& image) {
    if (image.images > 1)
        return fmt::format("images {} to {} {}: {}", image.block, image.lastBlock, imageEndText(image.end),
                           counted(image.missing, "packet"));
    auto text = fmt::format("image {} {}", image.block, imageEndText(image.end));
    constexpr std::size_t mostInLine = 8;
    auto unnamed = image.unnamed;
    for (std::size_t i = 0; i < image.rangeCount; ++i)
        if (i < mostInLine)
            text += fmt::format("{}{}", i == 0 ? ": packets " : ", ", rangeText(image.ranges[i]));
        else
            unnamed += image.ranges[i].last - image.ranges[i].first + 1;
    if (unnamed != 0) text += fmt::format(" and {} more", grouped(unnamed));
    if (image.end == ImageEnd::NeverEnded && image.missing == 0)
        return text + fmt::format(": {} came, none of these is missing", counted(image.packets, "packet"));
    return image.rangeCount == 0 ? text : text + fmt::format(" of {}", grouped(image.packets));
}

std::string streamsText(const StreamsReport& report) {
    std::string text;
    for (const auto& stream : report.streams) text += streamLines(stream);
    for (const auto& control : report.control) text += controlLine(control);
    return text + givenUpLine(report.givenUp);
}

nlohmann::ordered_json streamsJson(const StreamsReport& report) {
    nlohmann::ordered_json document;
    auto& streams = document["streams"] = nlohmann::ordered_json::array();
    for (const auto& stream : report.streams) streams.push_back(streamJson(stream));
    auto& control = document["control"] = nlohmann::ordered_json::array();
    for (const auto& channel : report.control) control.push_back(controlJson(channel));
    document["givenUp"] = {{"streams", report.givenUp.streams},
                           {"packets", report.givenUp.packets},
                           {"control", report.givenUp.control}};
    return document;
}

std::string streamsMetrics(const StreamsReport& report, const std::string& labels) {
    using Figure = std::uint64_t StreamFigures::*;
    struct Row {
        const char* name;
        Figure figure;
    };
    constexpr Row packets[] = {
        {"received", &StreamFigures::packets},        {"missing", &StreamFigures::missing},
        {"recovered", &StreamFigures::recovered},     {"doubled", &StreamFigures::doubled},
        {"out of order", &StreamFigures::outOfOrder}, {"resent", &StreamFigures::resent}};
    if (report.streams.empty()) return {};
    std::string imageLines = "# HELP orvo_gige_stream_images_total images of a stream, by how they ended\n"
                             "# TYPE orvo_gige_stream_images_total counter\n";
    std::string packetLines =
        "# HELP orvo_gige_stream_packets_total packets of a stream, by what became of them\n"
        "# TYPE orvo_gige_stream_packets_total counter\n";
    for (const auto& [ends, isAnnounced, figures, damaged] : report.streams) {
        const auto both = fmt::format("{},camera=\"{}\",host=\"{}:{}\"", labels, ipv4Text(ends.camera),
                                      ipv4Text(ends.host), ends.port);
        for (std::size_t i = 0; i < imageEnds; ++i)
            imageLines += fmt::format("orvo_gige_stream_images_total{{{},end=\"{}\"}} {}\n", both,
                                      imageEndText(static_cast<ImageEnd>(i)), figures.images[i]);
        for (const auto& [name, figure] : packets)
            packetLines += fmt::format("orvo_gige_stream_packets_total{{{},kind=\"{}\"}} {}\n", both, name,
                                       figures.*figure);
    }
    return imageLines + packetLines;
}

} // namespace orvo::host
