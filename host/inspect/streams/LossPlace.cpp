// SPDX-License-Identifier: MIT
#include "inspect/streams/LossPlace.h"

#include "base/Output.h"
#include "frames/FrameReport.h"
#include "frames/streams/StreamText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

namespace orvo::host {
namespace {

/// A place where the board counted frames that did not reach the host.
struct Place {
    const char* where;
    const char* cause;
    std::uint64_t frames;
};

/// The packets that did not come at the first attempt, and the images that they belong to.
struct StreamLosses {
    std::uint64_t packets = 0;
    std::uint64_t images = 0;
};

StreamLosses lossesOf(const StreamsReport& report) noexcept {
    StreamLosses losses;
    for (const auto& stream : report.streams) {
        const auto& figures = stream.figures;
        losses.packets += figures.missing + figures.recovered;
        losses.images += figures.lossyImages;
    }
    return losses;
}

std::string were(std::uint64_t packets) {
    return packets == 1 ? "was" : "were";
}

/// The frames that the queue had no room for. A real board counts only words: one for each 2 bytes, of
/// frames that were as long as the average packet.
std::uint64_t overflows(const StreamsReport& report, const PortTroubles& troubles) {
    if (troubles.overflowFrames) return *troubles.overflowFrames;
    std::uint64_t bytes = 0, packets = 0;
    for (const auto& stream : report.streams) {
        bytes += stream.figures.bytes;
        packets += stream.figures.packets;
    }
    const auto words = troubles.lostWords.value_or(0);
    constexpr std::uint64_t headerBytes = 50; // Ethernet, IP, UDP and stream
    const auto each = packets == 0 ? 1 : std::max<std::uint64_t>((bytes / packets + headerBytes) / 2, 1);
    return (words + each - 1) / each;
}

std::vector<Place> placesOf(const StreamsReport& report, const PortTroubles& troubles) {
    std::vector<Place> places = {
        {"in the port's receive queue", "the host reads too slowly", overflows(report, troubles)},
        {"as damaged frames", "CRC errors: cable", troubles.receiveErrors.value_or(0)},
        {"while the port had no link", "look at cable and camera", troubles.ignoredFrames.value_or(0)},
        {"while the port's receiver was off", "the port was closed or being reset",
         troubles.receiverOffFrames},
        {"in the port's transmitter", "it was off, busy or without a link", troubles.unsentFrames}};
    std::erase_if(places, [](const Place& place) { return place.frames == 0; });
    return places;
}

std::string beforePort(const PortTroubles& troubles) {
    std::string text = "before the port";
    if (const auto frames = troubles.damagedOthers; frames != 0)
        text += fmt::format(" or among {} that belong to no known packet", counted(frames, "damaged frame"));
    if (const auto frames = troubles.unseenFrames; frames != 0)
        text += fmt::format(" or among {} that this program missed", counted(frames, "frame"));
    return text;
}

/// The board lost no more frames than packets are missing: each loss has its place.
std::string dividedSentence(const std::string& what, std::uint64_t packets, const std::vector<Place>& places,
                            const std::string& elsewhere) {
    std::string text;
    for (const auto& place : places) {
        text += fmt::format("{}{} {} ({})", text.empty() ? "" : ", ", grouped(place.frames), place.where,
                            place.cause);
        packets -= place.frames;
    }
    if (packets != 0) text += fmt::format(", {} {}", grouped(packets), elsewhere);
    return what + " lost: " + text;
}

/// It lost more, also frames of others, at several places.
std::string undividedSentence(const std::string& what, const std::vector<Place>& places) {
    std::string text;
    for (const auto& place : places)
        text += fmt::format("{}{} ({}: {})", text.empty() ? "" : " or ", place.where,
                            counted(place.frames, "frame"), place.cause);
    return what + " lost " + text;
}

} // namespace

PortTroubles troublesOf(const PortHistory& history) {
    const auto growth = [&](Counter counter) { return history.of(counter).sinceStart; };
    return {growth(Counter::WireOverflowFrames), growth(Counter::LostWords), growth(Counter::ReceiveErrors),
            growth(Counter::WireIgnoredFrames)};
}

PortTroubles troublesOf(const StreamsReport& report, std::uint64_t unseenFrames) {
    std::array<std::uint64_t, deathPlaces> died{};
    for (const auto& stream : report.streams)
        std::ranges::transform(died, stream.figures.died, died.begin(), std::plus());
    const auto at = [&](DeathPlace place) { return died.at(static_cast<std::size_t>(place)); };
    return {.overflowFrames = at(DeathPlace::ReceiveQueue),
            .lostWords = {},
            .receiveErrors = at(DeathPlace::DamagedFrame),
            .ignoredFrames = at(DeathPlace::NoLink),
            .receiverOffFrames = at(DeathPlace::ReceiverOff),
            .unsentFrames = at(DeathPlace::NotSent),
            .damagedOthers = report.damagedOthers,
            .unseenFrames = unseenFrames};
}

std::string lossSentence(const StreamsReport& report, const PortTroubles& troubles) {
    const auto [packets, images] = lossesOf(report);
    if (packets == 0) return "no packet was lost";
    const auto what =
        fmt::format("{} of {} {}", counted(packets, "packet"), counted(images, "image"), were(packets));
    if (!troubles.areKnown()) return what + " lost; without the port's counters, the place is unknown";
    const auto places = placesOf(report, troubles);
    const auto elsewhere = beforePort(troubles);
    if (places.empty()) return what + " lost " + elsewhere + ": the board counted no error and no overflow";
    std::uint64_t atBoard = 0;
    for (const auto& place : places) atBoard += place.frames;
    if (places.size() == 1 && atBoard >= packets)
        return fmt::format("{} lost {}: {}", what, places[0].where, places[0].cause);
    return atBoard <= packets ? dividedSentence(what, packets, places, elsewhere)
                              : undividedSentence(what, places);
}

std::string streamsSection(const StreamsReport& report, const PortTroubles& troubles) {
    if (report.streams.empty()) return streamsText(report);
    return streamsText(report) + reportLine("losses", lossSentence(report, troubles));
}

nlohmann::ordered_json streamsSectionJson(const StreamsReport& report, const PortTroubles& troubles) {
    auto document = streamsJson(report);
    const auto losses = lossesOf(report);
    auto places = nlohmann::ordered_json::array();
    for (const auto& place : placesOf(report, troubles))
        places.push_back({{"where", place.where}, {"frames", place.frames}});
    document["losses"] = {{"packets", losses.packets},
                          {"images", losses.images},
                          {"places", std::move(places)},
                          {"conclusion", lossSentence(report, troubles)}};
    return document;
}

} // namespace orvo::host
