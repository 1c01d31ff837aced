// SPDX-License-Identifier: MIT
// What a camera's stream lost, doubled and reordered is found exactly, named by image and packet, and put in
// its place.
#include "frames/streams/StreamAccount.h"
#include "CameraFrames.h"
#include "Process.h"
#include "frames/streams/StreamText.h"
#include "inspect/streams/LossPlace.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <random>
#include <set>

namespace orvo::host {
namespace {

using namespace testing_support;

using Lost = std::set<std::pair<std::uint64_t, std::uint32_t>>; // image and packet

/// Sends the images of a camera through faults, and keeps what they did.
class FaultyLine {
public:
    enum Place { BeforePort, InCable, InQueue, places };

    FaultyLine(unsigned seed, bool isMixed)
        : random_(seed), place_(isMixed ? places : static_cast<Place>(seed % places)),
          account_([this](const StreamEnds&, const EndedImage& image) { note(image); }) {
        camera_.hasExtendedIds = seed % 2 == 1;
        camera_.payloads = 3 + seed % 70;
        first_ = camera_.hasExtendedIds ? 0xFFFF'FFF0 : 65'520; // numbers wrap around, or need 64 bits
    }

    void run() {
        constexpr std::uint64_t images = 40;
        for (std::uint64_t image = 0; image < images; ++image) {
            const bool isWhole = image != 0 && image + 1 != images && happens(30);
            const auto place = nextPlace();
            for (std::uint32_t packet = 0; packet <= camera_.trailer(); ++packet)
                if (isWhole)
                    lose(image, packet, place);
                else
                    pass(image, packet, image == 0 || image + 1 == images);
            if (happens(3)) askAgain();
        }
        flush();
        account_.finish();
        wire_.finish();
    }

    void check() const {
        const auto report = account_.report();
        ASSERT_EQ(report.streams.size(), 1u);
        const auto& figures = report.streams[0].figures;
        EXPECT_EQ(named_, missing_);
        EXPECT_EQ(figures.missing, missing_.size());
        EXPECT_EQ(figures.recovered, recovered_);
        EXPECT_EQ(figures.resent, recovered_);
        EXPECT_EQ(figures.doubled, doubled_);
        EXPECT_EQ(figures.outOfOrder, reordered_);
        EXPECT_EQ(figures.unavailable, refused_);
        EXPECT_EQ(figures.askedAgain, asked_);
        EXPECT_EQ(figures.neverAnswered, unanswered_);
        EXPECT_EQ(figures.late + figures.beyond + figures.unreadable + figures.restarts, 0u);
        EXPECT_EQ(figures.whole() + figures.damaged(), 40u);
        const PortTroubles troubles{lost_[InQueue], lost_[InQueue] * 800, lost_[InCable], 0};
        EXPECT_EQ(lossSentence(report, troubles), sentence());
        checkWire();
    }

private:
    /// Where frames are seen to die, their places need no counters.
    void checkWire() const {
        const auto report = wire_.report();
        const auto& figures = report.streams.at(0).figures;
        EXPECT_EQ(figures.missing, missing_.size());
        EXPECT_EQ(figures.recovered, recovered_);
        EXPECT_EQ(figures.died, (decltype(figures.died){lost_[InQueue], lost_[InCable]}));
        EXPECT_EQ(report.damagedOthers, 0u);
        EXPECT_EQ(lossSentence(report, troublesOf(report, 0)), sentence());
    }

    bool happens(unsigned oneIn) { return random_() % oneIn == 0; }
    Place nextPlace() { return place_ == places ? static_cast<Place>(random_() % places) : place_; }
    std::uint64_t idOf(std::uint64_t image) const {
        const auto id = first_ + image;
        return camera_.hasExtendedIds || id <= 65'535 ? id : id - 65'535;
    }

    void pass(std::uint64_t image, std::uint32_t packet, bool isSafe) {
        if (!isSafe && happens(25)) return lose(image, packet, nextPlace());
        const auto frame = camera_.packet(idOf(image), packet);
        if (!isSafe && waiting_.empty() && happens(25)) {
            waiting_ = frame; // until the next one has passed
            return;
        }
        latest_ = image;
        send(frame);
        if (!isSafe && happens(25)) {
            ++doubled_;
            send(frame);
        }
        if (!waiting_.empty()) {
            ++reordered_;
            flush();
        }
    }
    void flush() {
        if (!waiting_.empty()) send(std::exchange(waiting_, {}));
    }
    void send(const ByteVector& frame) {
        account_.add(frame, time_ += 10'000);
        wire_.add(frame, time_);
    }

    void lose(std::uint64_t image, std::uint32_t packet, Place place) {
        ++lost_[place];
        missing_.insert({idOf(image), packet});
        lossy_.insert(image);
        fresh_.emplace_back(image, packet);
        if (place == BeforePort) return;
        const auto death = place == InQueue ? DeathPlace::ReceiveQueue : DeathPlace::DamagedFrame;
        wire_.addDead(camera_.packet(idOf(image), packet), death, time_);
    }

    /// The client asks for what was lost since it last asked, of images that have begun and are not closed;
    /// the camera sends it, refuses, or is silent.
    void askAgain() {
        flush();
        for (const auto& [image, packet] : std::exchange(fresh_, {})) {
            if (image > latest_ || latest_ - image >= Stream::openImages) continue;
            const auto id = idOf(image);
            send(camera_.resend(id, packet, packet));
            ++asked_;
            const auto choice = random_() % 3;
            if (choice == 0) {
                send(camera_.packet(id, packet, 0x0100));
                ++recovered_;
                missing_.erase({id, packet});
            } else if (choice == 1) {
                send(camera_.packet(id, packet, 0x800C));
                ++refused_;
            } else {
                ++unanswered_;
            }
        }
    }

    void note(const EndedImage& image) {
        ASSERT_EQ(image.unnamed, 0u);
        for (std::size_t i = 0; i < image.rangeCount; ++i)
            for (auto packet = image.ranges[i].first; packet <= image.ranges[i].last; ++packet)
                EXPECT_TRUE(named_.insert({image.block, packet}).second);
    }

    std::string sentence() const {
        const auto all = lost_[0] + lost_[1] + lost_[2];
        if (all == 0) return "no packet was lost";
        const auto what =
            fmt::format("{} packet{} of {} image{} {} lost", all, all == 1 ? "" : "s", lossy_.size(),
                        lossy_.size() == 1 ? "" : "s", all == 1 ? "was" : "were");
        if (lost_[BeforePort] == all)
            return what + " before the port: the board counted no error and no overflow";
        if (lost_[InQueue] == all) return what + " in the port's receive queue: the host reads too slowly";
        if (lost_[InCable] == all) return what + " as damaged frames: CRC errors: cable";
        auto text = what + ": ";
        const char* between = "";
        const auto add = [&](std::uint64_t count, const char* where) {
            if (count == 0) return;
            text += fmt::format("{}{} {}", between, count, where);
            between = ", ";
        };
        add(lost_[InQueue], "in the port's receive queue (the host reads too slowly)");
        add(lost_[InCable], "as damaged frames (CRC errors: cable)");
        add(lost_[BeforePort], "before the port");
        return text;
    }

    std::mt19937 random_;
    const Place place_;
    Camera camera_;
    std::uint64_t first_;
    StreamTime time_ = 0;
    StreamAccount account_;
    StreamAccount wire_; // sees packets die, too
    ByteVector waiting_;
    std::uint64_t latest_ = 0; // image of which a packet came
    std::vector<std::pair<std::uint64_t, std::uint32_t>> fresh_;
    Lost missing_, named_;
    std::set<std::uint64_t> lossy_;
    std::uint64_t lost_[places] = {};
    std::uint64_t doubled_ = 0, reordered_ = 0, recovered_ = 0, refused_ = 0, asked_ = 0, unanswered_ = 0;
};

TEST(StreamAccountTest, NamesEveryLostPacketAndItsPlaceAfter200Scripts) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        FaultyLine line(seed, seed % 4 == 3);
        line.run();
        line.check();
        if (HasFailure()) return;
    }
}

/// An account, and what is sent to it with 1 ms between frames.
struct Line {
    StreamAccount account;
    StreamTime time = 0;

    void send(const ByteVector& frame) { account.add(frame, time += 1'000'000); }
    void send(const Camera& camera, std::uint64_t block, std::uint32_t first, std::uint32_t last) {
        for (auto packet = first; packet <= last; ++packet) send(camera.packet(block, packet));
    }
    void sendTagged(ByteVector frame) {
        const ByteVector tag = {0x81, 0x00, 0x00, 0x05};
        frame.insert(frame.begin() + 12, tag.begin(), tag.end());
        send(frame);
    }
};

TEST(StreamAccountTest, FollowsWhatTheClientWrites) {
    using enum GigeCommand;
    Line line;
    const Camera camera{.payloads = 3};
    const auto answered = [&](const ByteVector& command, GigeCommand code, std::uint16_t status = 0) {
        line.send(command);
        line.send(camera.answer(code, status));
    };
    answered(camera.command(WriteRegister, {GigeControlPrivilege, 2}), WriteRegister);
    answered(camera.command(WriteRegister, {GigeHeartbeat, 3000}), WriteRegister);
    answered(camera.command(WriteRegister, {gigeStreamRegisters, camera.port}), WriteRegister);
    line.send(camera, 5, 2, 4); // the leader is missing: only the commands show that this is a stream
    answered(camera.command(ReadRegister, {0xABCD}), ReadRegister, 0x8003);
    line.send(camera.command(ReadRegister, {0xABCD}));
    line.send(camera.command(ReadRegister, {0xABCD})); // again, for want of an answer
    line.time += 500'000'000;
    answered(camera.command(WriteRegister, {gigeStreamRegisters, 0}, 1, 2), WriteRegister);
    line.send(camera.answer(static_cast<GigeCommand>(0x0088), 0, 2)); // pending
    answered(camera.command(WriteRegister, {gigeStreamRegisters, camera.port}), WriteRegister);
    line.send(camera, 1, 0, 4); // numbers begin anew, which is no loss
    line.send(camera.command(WriteRegister, {gigeStreamRegisters, camera.port}, 0));
    line.send(camera, 1, 0, 4); // opened again without having been closed

    const auto text = streamsText(line.account.report());
    EXPECT_THAT(text, testing::HasSubstr("images    2 complete, 1 incomplete\n"));
    EXPECT_THAT(text, testing::HasSubstr("missing   image 5 incomplete: packets 0 to 1 of 5\n"));
    EXPECT_THAT(text, testing::HasSubstr(
                          "control   192.168.7.2 to 192.168.7.1: 9 commands, 7 answers, privilege control, "
                          "heartbeat 3000 ms, longest silence 501 ms, 1 repeated, 2 unanswered, 1 put off, "
                          "1 error (last: read register 0x0000abcd: invalid address)\n"));
}

TEST(StreamAccountTest, FollowsAChannelToAnotherPort) {
    using enum GigeCommand;
    Line line;
    Camera camera{.payloads = 3};
    const auto open = [&](std::uint32_t port) {
        line.send(camera.command(WriteRegister, {gigeStreamRegisters, port}));
    };
    line.send(camera, 1, 0, 4); // seen before the client opens it
    open(camera.port);
    line.send(camera, 1, 0, 2); // the same number and time, another image
    open(0);
    line.send(camera, 1, 3, 4); // the rest was on its way
    open(++camera.port);
    line.send(camera, 1, 0, 1);
    line.send(camera, 1, 3, 3);
    line.send(camera.resend(1, 2, 2)); // the channel's number is that of the closed stream
    Camera other = camera;
    other.hasExtendedIds = true;
    line.send(other.resend(65'536, 0, 4)); // no number of this stream, though 65,535 before it is one
    line.send(camera.packet(1, 2, 0x0100));
    line.send(camera, 1, 4, 4);
    const auto report = line.account.report();
    ASSERT_EQ(report.streams.size(), 2u);
    const auto &closed = report.streams[0].figures, &opened = report.streams[1].figures;
    EXPECT_EQ(closed.of(ImageEnd::Complete), 1u);
    EXPECT_EQ(closed.damaged(), 1u);
    EXPECT_EQ(closed.missing, 0u);
    EXPECT_EQ(closed.late, 2u);
    EXPECT_EQ(closed.requests, 0u);
    EXPECT_EQ(opened.requests, 2u);
    EXPECT_EQ(opened.askedAgain, 1u);
    EXPECT_EQ(opened.of(ImageEnd::Recovered), 1u);
}

TEST(StreamAccountTest, TellsOutagesFromRestartsWhereNumbersWrapAround) {
    Line line;
    const Camera camera{.payloads = 3};
    line.send(camera, 65'500, 0, 4);
    line.send(camera, 100, 0, 4); // 135 numbers later
    EXPECT_EQ(endedImageText(line.account.report().streams.at(0).damaged.front()),
              "images 65501 to 84 absent: 595 packets");
    line.send(camera, 60'000, 0, 0); // back
    line.send(camera, 1, 0, 4);      // 5536 numbers later, but the camera has started anew
    line.account.finish();
    const auto figures = line.account.report().streams.at(0).figures;
    EXPECT_EQ(figures.of(ImageEnd::Absent), 134u);
    EXPECT_EQ(figures.restarts, 2u);
}

TEST(StreamAccountTest, TellsRestartsOutagesAndEndsApart) {
    Line line;
    Camera camera{.hasExtendedIds = true, .payloads = 3};
    line.send(camera, 7, 0, 4);
    line.send(camera, 1007, 0, 4); // 999 images later
    camera.startedAt = 5;
    line.send(camera, 1007, 0, 4); // the same number, another image
    line.send(camera, 1, 0, 2);    // a smaller number, and the end of the recording
    line.account.finish();
    const auto stream = line.account.report().streams.at(0);
    EXPECT_EQ(stream.figures.restarts, 2u);
    EXPECT_EQ(stream.figures.of(ImageEnd::Complete), 3u);
    EXPECT_EQ(stream.figures.of(ImageEnd::Absent), 999u);
    EXPECT_EQ(stream.figures.of(ImageEnd::NeverEnded), 1u);
    EXPECT_EQ(stream.figures.missing, 999u * 5); // behind the last packet, nothing is missing
    EXPECT_EQ(endedImageText(stream.damaged.front()), "images 8 to 991 absent: 4,920 packets");
    EXPECT_EQ(stream.figures.longestPause, 1'000'000);
    EXPECT_EQ(stream.figures.gaps.median(), 5'000'000);
}

TEST(StreamAccountTest, KnowsAPacketThatDiedByItsFirstCopyAndItsNumbersIfTheyCanBeRead) {
    using enum DeathPlace;
    Line line;
    const Camera camera{.payloads = 3};
    const auto die = [&](std::uint64_t image, std::uint32_t packet, DeathPlace place,
                         std::uint16_t status = 0) {
        line.account.addDead(camera.packet(image, packet, status), place, line.time);
    };
    die(1, 0, ReceiverOff); // the stream is known from it
    line.send(camera, 1, 1, 4);
    die(2, 0, NoLink);
    line.send(camera, 2, 1, 3);
    die(2, 4, ReceiveQueue); // the trailer
    line.send(camera.resend(2, 4, 4));
    die(2, 4, NoLink, 0x0100); // sent again, in vain
    line.send(camera, 3, 0, 1);
    die(3, 2, DamagedFrame); // its number was wrong: the packet comes
    die(900, 3, DamagedFrame);
    line.send(camera, 3, 2, 4);
    die(4, 0, ReceiveQueue); // the last image dies, and the recording ends
    die(4, 1, ReceiveQueue);
    line.account.addDead(camera.command(GigeCommand::ReadRegister, {GigeControlPrivilege}), NotSent,
                         line.time);
    line.account.finish();
    const auto report = line.account.report();
    const auto& figures = report.streams.at(0).figures;
    EXPECT_EQ(figures.died, (decltype(figures.died){3, 0, 1, 1, 0}));
    EXPECT_EQ(figures.missing, 5u);
    EXPECT_EQ(figures.packets, 12u);
    EXPECT_EQ(figures.of(ImageEnd::Complete), 1u);
    EXPECT_EQ(figures.of(ImageEnd::Incomplete), 1u);
    EXPECT_EQ(figures.of(ImageEnd::NeverEnded), 1u);
    EXPECT_EQ(figures.of(ImageEnd::Absent), 1u);
    EXPECT_EQ(figures.longestImage, 4'000'000);
    EXPECT_EQ(report.damagedOthers, 2u);
    EXPECT_EQ(report.control.at(0).commands, 1u); // the request, which was sent
    EXPECT_EQ(
        lossSentence(report, troublesOf(report, 7)),
        "5 packets of 3 images were lost: 3 in the port's receive queue (the host reads too slowly), 1 while "
        "the port had no link (look at cable and camera), 1 while the port's receiver was off (the port was "
        "closed or being reset)");
}

TEST(StreamAccountTest, Follows64StreamsAndCountsWhatItGivesUp) {
    Line line;
    constexpr std::uint16_t all = StreamAccount::mostStreams;
    const auto camera = [](std::uint16_t number) {
        return Camera{.port = static_cast<std::uint16_t>(4000 + number), .payloads = 2};
    };
    for (std::uint16_t number = 0; number < all; ++number) line.send(camera(number), 1, 0, 0); // no image
    line.send(camera(all), 1, 0, 0); // takes the place of the first
    for (std::uint32_t packet = 0; packet <= 3; ++packet)
        for (std::uint16_t number = 1; number <= all; ++number)
            if (number % 2 == 0)
                line.sendTagged(camera(number).packet(2, packet));
            else
                line.send(camera(number), 2, packet, packet);
    line.send(camera(all + 1), 1, 0, 3); // now all have whole images
    Camera vast = camera(1);
    vast.payloads = 1u << 20;
    line.send(vast, 3, 0, 1);
    line.send(vast, 3, 1u << 19, 1u << 19);
    line.account.finish();
    const auto report = line.account.report();
    EXPECT_EQ(report.givenUp.streams, 1u);
    EXPECT_EQ(report.givenUp.packets, 1u);
    ASSERT_EQ(report.streams.size(), std::size_t{all});
    for (const auto& stream : report.streams) EXPECT_EQ(stream.figures.whole(), 1u);
    EXPECT_EQ(report.streams[0].figures.of(ImageEnd::TooLarge), 1u);
    EXPECT_EQ(report.streams[0].figures.beyond, 1u);
}

TEST(StreamsCommandTest, CountsInACaptureWhatItCountsAtAPort) {
    const std::string capture = ORVO_TEST_DATA "/gige-vision.pcapng";
    const auto ofFile = runTool({"streams", capture});
    const auto ofPort = runTool({"streams", "--no-reset", "--wire", "0=pcap:" + capture, "-c", "1400"});
    const auto images = runTool({"streams", "--images", capture});
    EXPECT_EQ(
        images.out,
        "10.99.0.2 to 10.99.0.1:53055 image 65407 never ended: 86 packets came, none of these is missing\n");
    for (const auto& text : {ofFile.out, ofPort.out, images.err}) {
        EXPECT_THAT(text, testing::HasSubstr("images    6 complete, 1 never ended\n"));
        EXPECT_THAT(text, testing::HasSubstr(
                              "packets   1,256 received, 0 missing, 0 doubled, 0 out of order, 0 resent\n"));
        EXPECT_THAT(text, testing::HasSubstr("losses    no packet was lost\n"));
    }

    const TemporaryFolder folder;
    const auto cut = folder.file("cut");
    writeFile(cut, contentOf(capture).substr(0, 1'000'000));
    const auto early = runTool({"streams", cut});
    EXPECT_EQ(early.exitCode, 3);
    EXPECT_THAT(early.out, testing::HasSubstr("images    "));
    EXPECT_THAT(early.err, testing::MatchesRegex("orvo-gige: cannot read '[^\n]* beyond frame [^\n]*used\n"));
}

TEST(StreamsCommandTest, AgreesWithTheFieldsOfAnAnalyser) {
    const std::string capture = ORVO_TEST_DATA "/gige-vision.pcapng";
    if (Process({"sh", "-c", "command -v tshark"}).wait().exitCode != 0)
        GTEST_SKIP() << "tshark is not installed";
    const auto fields = "tshark -r " + capture + " -Y gvsp -T fields -e gvsp.blockid16 -e gvsp.format " +
                        "-e gvsp.packetid24 -e gvsp.payloaddata 2>/dev/null";
    const auto counted =
        Process({"sh", "-c", fields + R"( | awk -F '\t' '{ ++packets; ++of[$1]; bytes += length($4) / 2 }
            $2 == "0x02" { trailer[$1] = $3 }
            END { for (image in of) image in trailer && of[image] == trailer[image] + 1 ? ++whole : ++others
                  printf "%d %d %d %d", packets, whole, others, bytes }')"})
            .wait();
    const auto stream = nlohmann::json::parse(runTool({"streams", "--json", capture}).out)["streams"].at(0);
    const auto& images = stream["images"];
    EXPECT_EQ(counted.out,
              fmt::format("{} {} {} {}", stream["packets"]["received"].dump(), images["complete"].dump(),
                          images["neverEnded"].dump(), stream["bytes"].dump()));
}

TEST(StreamsCommandTest, NamesThePlaceOfALossAtTheSimulatedBoard) {
    const TemporaryFolder folder;
    const auto capture = writeImages(folder.file("camera.pcap"), 10), script = folder.file("faults.toml");
    const std::pair<const char*, const char*> cases[] = {
        {"kind = \"loss\"\ndirection = \"received\"\nat = 30",
         "before the port: the board counted no error and no overflow"},
        {"kind = \"overflow\"\nat = 30", "in the port's receive queue: the host reads too slowly"},
        {"kind = \"fcs-flip\"\ndirection = \"received\"\nat = 30", "as damaged frames: CRC errors: cable"}};
    for (const auto& [fault, place] : cases) {
        SCOPED_TRACE(fault);
        writeFile(script, std::string("[[fault]]\n") + fault + "\n");
        const auto outcome = runTool(
            {"streams", "--no-reset", "--wire", "0=pcap:" + capture, "--faults", script, "-c", "119"});
        EXPECT_THAT(outcome.out, testing::HasSubstr("missing   image 3 incomplete: packets 5 of 12\n"));
        EXPECT_THAT(outcome.out, testing::HasSubstr(std::string("losses    1 packet of 1 image was lost ") +
                                                    place + "\n"));
    }
}

} // namespace
} // namespace orvo::host
