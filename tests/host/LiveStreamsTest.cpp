// SPDX-License-Identifier: MIT
// The account of streams between the threads of a bridge, and its images over time.
#include "traffic/LiveStreams.h"

#include "CameraFrames.h"
#include "inspect/streams/ImageHistory.h"

#include <gmock/gmock.h>

#include <thread>

namespace orvo::host {
namespace {

using namespace testing_support;

QByteArray arrayOf(const ByteVector& frame) {
    return {reinterpret_cast<const char*>(frame.data()), static_cast<qsizetype>(frame.size())};
}

TEST(LiveStreamsTest, TakesBothDirectionsWhileOthersLook) {
    constexpr std::uint64_t images = 500, commands = 1000;
    const Camera camera;
    LiveStreams streams;
    std::thread sender([&] {
        const auto heartbeat = arrayOf(camera.command(GigeCommand::ReadRegister, {GigeControlPrivilege}));
        for (std::uint64_t i = 0; i < commands; ++i) streams.addSent(heartbeat);
        streams.addSent(arrayOf(udpFrame(1, 2, 3, 4, {}))); // no command
    });
    std::jthread reader([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) EXPECT_LE(streams.report().streams.size(), 1u);
    });
    for (std::uint64_t image = 1; image <= images; ++image) {
        for (std::uint32_t packet = 0; packet <= camera.trailer(); ++packet)
            streams.addReceived(camera.packet(image, packet));
        streams.noteSilence();
    }
    sender.join();
    reader.request_stop();
    reader.join();
    streams.finish();
    const auto report = streams.report();
    ASSERT_EQ(report.streams.size(), 1u);
    EXPECT_EQ(report.streams[0].figures.of(ImageEnd::Complete), images);
    EXPECT_EQ((report.control.empty() ? 0 : report.control[0].commands) + report.givenUp.control, commands);
}

TEST(ImageHistoryTest, HasRatesFromWhereTheyAreKnown) {
    ImageHistory history(1'000, 1'000 + 500'000'000, 500'000'000, 4);
    const auto add = [&](StreamTime begin, ImageEnd end) {
        EndedImage image;
        image.begin = begin;
        image.end = end;
        history.add(image);
    };
    EXPECT_TRUE(history.chart().series.empty());
    for (int i = 0; i < 3; ++i) add(600'000'000, ImageEnd::Complete);
    add(700'000'000, ImageEnd::Recovered);
    add(1'100'000'000, ImageEnd::Absent);
    add(9'000'000'000, ImageEnd::Complete); // too late for the chart
    const auto chart = history.chart();
    using testing::ElementsAre;
    EXPECT_THAT(chart.seconds, ElementsAre(0, 0.5, 1));
    EXPECT_THAT(chart.series.at(0).values, ElementsAre(std::nullopt, 6, 0));
    EXPECT_THAT(chart.series.at(1).values, ElementsAre(std::nullopt, 2, 0));
    EXPECT_THAT(chart.series.at(2).values, ElementsAre(std::nullopt, 0, 2));
}

} // namespace
} // namespace orvo::host
