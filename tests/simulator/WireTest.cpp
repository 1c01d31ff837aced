// SPDX-License-Identifier: MIT
// Wires: cables and how they are changed, and captures that are played and recorded.
#include "SimulatedBoard.h"

#include <pcap/pcap.h>

#include <sys/resource.h>

#include <csignal>
#include <fstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class WireTest : public SimulatedBoard {
protected:
    std::string at(const char* name) const { return folder.path / name; }
    /// A pcap file of the frames; each is recorded with `cutBytes` bytes less than it had.
    std::string record(const char* name, const std::vector<Bytes>& frames, int linkType = DLT_EN10MB,
                       unsigned cutBytes = 0) const {
        pcap_t* const format = pcap_open_dead(linkType, 65535);
        pcap_dumper_t* const file = pcap_dump_open(format, at(name).c_str());
        for (const auto& frame : frames) {
            const auto bytes = static_cast<bpf_u_int32>(frame.size());
            const pcap_pkthdr header{{}, bytes, bytes + cutBytes};
            pcap_dump(reinterpret_cast<u_char*>(file), &header, frame.data());
        }
        pcap_dump_close(file);
        pcap_close(format);
        return at(name);
    }
    /// Plugs a capture into port 0 of a board, and waits for its link.
    static void plug(unsigned board, const std::string& files) {
        setWire(board, 0, "pcap:" + files);
        passMs(500);
    }
    TemporaryFolder folder;
    const Device device{0}, cabled{4};
};

TEST_F(WireTest, FramesTakeTheCableThatIsPlugged) {
    const auto wires = [] { return std::vector{wireOf(4, 0), wireOf(4, 1), wireOf(3, 3)}; };
    EXPECT_THAT(wires(), ElementsAre("port:4/1", "port:4/0", "loopback"));
    for (unsigned port : {0U, 1U}) {
        cabled.send(port, frameOf(60, port));
        EXPECT_EQ(cabled.receive(1 - port), frameOf(60, port));
    }
    setWire(4, 0, "port:3/3");
    EXPECT_THAT(wires(), ElementsAre("port:3/3", "none", "port:4/0"));
    EXPECT_EQ(portState(4, 0).linkUp, 0) << "negotiation takes its time";
    passMs(400);
    cabled.send(0, frameOf(60));
    EXPECT_EQ(Device(3).receive(3), frameOf(60));
    const auto before = portState(4, 1);
    cabled.send(1, frameOf(60));
    EXPECT_EQ(inject(4, 1, frameOf(60)), 0);
    EXPECT_EQ(portState(4, 1).unsentFrames, before.unsentFrames + 1);
    EXPECT_EQ(portState(4, 1).ignoredFrames, before.ignoredFrames + 1);
    setWire(3, 3, "loopback");
    EXPECT_THAT(wires(), ElementsAre("none", "none", "loopback"));
    setWire(4, 1, "port:4/0"); // from the other end
    EXPECT_THAT(wires(), ElementsAre("port:4/1", "port:4/0", "loopback"));
    for (const char* wire : {"none", "loopback"}) setWire(1, 0, wire);
    EXPECT_EQ(portState(1, 0).linkUp, 1) << "at once, since this PHY was never reset";
}

TEST_F(WireTest, RefusedWiresLeaveTheOldOneInPlace) {
    const auto in = "pcap:" + record("in.pcap", {frameOf(60)});
    std::ofstream(at("text")) << "no capture at all, though long enough to be one";
    const std::pair<std::string, const char*> cases[] = {
        {"loopback:1", "wire 'loopback:1' is unknown; use loopback, port:BOARD/PORT, "},
        {"port:1/0x", "wire 'port:1/0x' names no port; write port:BOARD/PORT"},
        {"port:1/2", "there is no port 1/2"},
        {"port:0/0", "port 0/0 cannot be cabled to itself; use loopback"},
        {"pcap:", "wire 'pcap:' names no file to play"},
        {"pcap:x,", "wire 'pcap:x,' names no file after the comma"},
        {"pcap:" + at("absent"), "absent' cannot be played: No such file"},
        {"pcap:" + at("text"), "text' is not a pcap or pcapng file: "},
        {"pcap:" + at(""), "' cannot be played: it is not a regular file"},
        {"pcap:" + record("raw.pcap", {}, DLT_RAW),
         "raw.pcap' holds no Ethernet frames: its link type is RAW"},
        {in + "," + at("no/folder"), "folder' cannot be written: No such file"},
        {in + ",/dev/null", "/dev/null' cannot be written: it is not a regular file"},
        {in + "," + at("in.pcap"), "in.pcap' cannot be played and written at once"},
    };
    for (const auto& [wire, reason] : cases)
        EXPECT_THAT(setWire(0, 0, wire, OrvoSimBadValue), HasSubstr(reason));
    EXPECT_THAT(setWire(0, 4, "loopback", OrvoSimNoSuchPlace), HasSubstr("there is no port 0/4"));
    char cut[] = "xxxx";
    EXPECT_EQ(orvoSimGetWire(0, 0, cut, sizeof cut), 0);
    EXPECT_STREQ(cut, "loop");
    plug(0, at("in.pcap")); // was not written
    EXPECT_EQ(device.receive(0), frameOf(60));
}

TEST_F(WireTest, PlaysEveryFrameOnceWhenTheHostReads) {
    std::vector<Bytes> frames;
    for (unsigned i = 0; i < 100; ++i) frames.push_back(frameOf(20 + i * 15, i));
    auto recorded = frames; // odd ones, and up to 1505 bytes
    for (std::size_t bytes : {1515U, 9000U, 60U}) recorded.push_back(frameOf(bytes));
    const auto file = record("in.pcap", recorded);
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 10); // the last record is damaged
    const auto errors = device.read("GigeRecvErrCnt0");
    plug(0, file);
    EXPECT_EQ(OHalDataQueueClear(device.handle, 0), 0); // loses nothing, since nothing was read yet
    device.send(0, frameOf(60));                        // goes nowhere
    testing::internal::CaptureStderr();
    for (const auto& frame : frames) EXPECT_EQ(device.receive(0), padded(frame));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(device.receive(0), std::nullopt);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::ContainsRegex("in.pcap' is damaged.*: .+"));
    plug(0, record("cut.pcap", {frameOf(60)}, DLT_EN10MB, 4));
    EXPECT_EQ(device.receive(0), std::nullopt);
    EXPECT_EQ(device.read("GigeRecvErrCnt0") - errors, 3U) << "too long, or cut off by the recording";
}

TEST_F(WireTest, PlaysOnlyTowardsAPortThatIsUpAndHasRoom) {
    const Device small(3);
    plug(3, record("in.pcap", std::vector<Bytes>(5, frameOf(60)))); // room for two of the frames
    small.write("GigE_RxEnable", 0);
    EXPECT_EQ(small.receive(0), std::nullopt);
    small.write("GigE_RxEnable", 1);
    orvoSimSetPartner(3, 0, OrvoSimPartnerDown);
    EXPECT_EQ(small.receive(0), std::nullopt);
    orvoSimSetPartner(3, 0, OrvoSimPartner1000);
    passMs(500);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(small.receive(0), frameOf(60)) << i;
    EXPECT_EQ(small.receive(0), std::nullopt);
    EXPECT_EQ(portState(3, 0).overflowFrames, 0U);
}

TEST_F(WireTest, RecordsWhatThePortSends) {
    const auto out = at("out.pcap");
    std::ofstream(out) << std::string(5000, 'x'); // replaced
    const auto files = record("in.pcap", {}) + "," + out;
    plug(0, files);
    EXPECT_EQ(wireOf(0, 0), "pcap:" + files);
    device.send(0, frameOf(14));
    orvoSimAdvanceTime(1003);
    device.send(0, frameOf(1514));
    EXPECT_EQ(orvoSimFlushWires(), 0);
    // 6 words of the file's header, 4 of each record's (seconds, nanoseconds, lengths), 15 of the frame.
    Words words(27);
    std::ifstream(out).read(reinterpret_cast<char*>(words.data()), std::streamsize{4} * 27);
    EXPECT_EQ(words[0], 0xA1B2'3C4DU) << "time stamps in nanoseconds";
    EXPECT_EQ((words[25] - words[6]) * 1'000'000'000U + words[26] - words[7], 1'003'000U);
    EXPECT_THAT(setWire(0, 1, "pcap:" + files, OrvoSimBadValue),
                HasSubstr("out.pcap' is written by port 0/0 already"));
    plug(0, out);
    for (const auto& frame : {padded(frameOf(14)), frameOf(1514)}) EXPECT_EQ(device.receive(0), frame);
    EXPECT_EQ(device.receive(0), std::nullopt);
    plug(0, files);
    EXPECT_EQ(orvoSimFlushWires(), 0);
    EXPECT_EQ(std::filesystem::file_size(out), 24U + 16 + 60 + 16 + 1514) << "kept until there is another";
    device.send(0, frameOf(60));
    EXPECT_EQ(orvoSimFlushWires(), 0);
    EXPECT_EQ(std::filesystem::file_size(out), 24U + 16 + 60);
}

TEST_F(WireTest, ReportsARecordingThatIsIncomplete) {
    plug(0, record("in.pcap", {}) + "," + at("out.pcap"));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{500, before.rlim_max}; // as on a full disk
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    testing::internal::CaptureStderr();
    device.send(0, frameOf(1000));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(orvoSimFlushWires(), OrvoSimNotWritten);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex("[^\n]* capture file '[^\n]*' is incomplete: File too large\n"));
}

} // namespace
