// SPDX-License-Identifier: MIT
// The account of streams, fed by a hostile sender: datagrams of any content between a few addresses and
// ports. Its figures agree with one another, and its memory has a bound.
#include "frames/streams/StreamAccount.h"
#include "frames/streams/StreamText.h"
#include "fuzz/FuzzInput.h"
#include "host/CameraFrames.h"

#include <nlohmann/json.hpp>

#include <numeric>

using namespace orvo::host;
using orvo::test::demand;

namespace {

/// Half of the datagrams are well-formed packets with any numbers, so that streams come about.
testing_support::ByteVector nextFrame(orvo::test::FuzzInput& input) {
    const auto kind = input.take<std::uint8_t>();
    testing_support::Camera camera;
    camera.port = static_cast<std::uint16_t>(4000 + input.take<std::uint8_t>());
    camera.hasExtendedIds = (kind & 1) != 0;
    camera.payloads = 3;
    const auto block = camera.hasExtendedIds ? input.take<std::uint64_t>() : input.take<std::uint16_t>();
    const auto packet = (kind & 2) != 0 ? input.take<std::uint32_t>() : input.take<std::uint8_t>() % 8;
    if ((kind & 12) == 0) return camera.resend(block, packet, packet + input.take<std::uint16_t>());
    if ((kind & 12) == 4) return camera.command(GigeCommand::WriteRegister, {gigeStreamRegisters, packet});
    if ((kind & 12) == 8) return camera.packet(block, packet, (kind & 16) != 0 ? 0x0100 : 0);
    const auto bytes = input.takeBytes(packet % 64);
    const auto toPort = (kind & 32) != 0 ? gigeControlPort : camera.port;
    const auto fromPort = (kind & 64) != 0 ? gigeControlPort : std::uint16_t{5000};
    return testing_support::udpFrame(camera.address, fromPort, camera.host, toPort,
                                     {bytes.begin(), bytes.end()});
}

void check(const StreamReport& stream, std::uint64_t ended) {
    const auto& figures = stream.figures;
    demand(std::accumulate(figures.images.begin(), figures.images.end(), std::uint64_t{0}) == ended);
    demand(figures.neverAnswered <= figures.askedAgain);
    demand(figures.doubled + figures.outOfOrder + figures.late + figures.beyond <= figures.packets);
    demand(stream.damaged.size() <= Stream::keptImages);
    for (const auto& image : stream.damaged) {
        auto named = image.unnamed;
        for (std::size_t i = 0; i < image.rangeCount; ++i)
            named += image.ranges[i].last - image.ranges[i].first + 1;
        demand(image.images > 1 || named == image.missing);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    orvo::test::FuzzInput input(bytes, count);
    std::map<StreamEnds, std::uint64_t> ended;
    StreamAccount account(
        [&](const StreamEnds& ends, const EndedImage& image) { ended[ends] += image.images; });
    for (StreamTime time = 0; !input.isEmpty(); time += 1000) account.add(nextFrame(input), time);
    account.finish();
    const auto report = account.report();
    demand(report.streams.size() <= StreamAccount::mostStreams);
    demand(report.control.size() <= StreamAccount::mostControls);
    if (report.givenUp.streams == 0)
        for (const auto& stream : report.streams) check(stream, ended[stream.ends]);
    demand(streamsJson(report).dump().size() > 2 && (report.streams.empty() || !streamsText(report).empty()));
    return 0;
}
