// Wires that play and record capture files.
#include "SimulatedBoard.h"

#include <pcap/pcap.h>

#include <sys/resource.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

using testing::HasSubstr;
using testing::Optional;
namespace fs = std::filesystem;

class CaptureWireTest : public SimulatedBoard {
protected:
    void SetUp() override {
        SimulatedBoard::SetUp();
        folder = fs::temp_directory_path() / ("simulator-captures-" + std::to_string(getpid()));
        fs::create_directories(folder);
    }
    void TearDown() override {
        setWire(0, 0, "loopback");
        setWire(3, 0, "loopback");
        fs::remove_all(folder);
        SimulatedBoard::TearDown();
    }

    /// A pcap file of the frames; each is recorded with `cutBytes` bytes less than it had.
    fs::path record(const char* name, const std::vector<Bytes>& frames, int linkType = DLT_EN10MB,
                    unsigned cutBytes = 0) const {
        const fs::path path = folder / name;
        pcap_t* const format = pcap_open_dead(linkType, 65535);
        pcap_dumper_t* const file = pcap_dump_open(format, path.c_str());
        for (const auto& frame : frames) {
            pcap_pkthdr header{};
            header.caplen = static_cast<bpf_u_int32>(frame.size());
            header.len = header.caplen + cutBytes;
            pcap_dump(reinterpret_cast<u_char*>(file), &header, frame.data());
        }
        pcap_dump_close(file);
        pcap_close(format);
        return path;
    }

    /// Plugs a wire into port 0 of a board, and waits for its link.
    static void plug(unsigned board, const std::string& wire) {
        setWire(board, 0, wire);
        passMs(500);
    }

    static std::string refusal(const std::string& wire) {
        std::array<char, 4096> error{};
        EXPECT_EQ(orvoSimSetWire(0, 0, wire.c_str(), error.data(), error.size()), OrvoSimBadValue);
        EXPECT_EQ(wireOf(0, 0), "loopback");
        return error.data();
    }

    const Device device{0};
    fs::path folder;
};

struct Recorded {
    std::vector<Bytes> frames;
    std::vector<std::int64_t> nanoseconds;
};

Recorded readBack(const fs::path& path) {
    Recorded recorded;
    char error[PCAP_ERRBUF_SIZE] = "";
    pcap_t* const file =
        pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_NANO, error);
    if (!file) {
        ADD_FAILURE() << error;
        return recorded;
    }
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    while (pcap_next_ex(file, &header, &bytes) == 1) {
        recorded.frames.emplace_back(bytes, bytes + header->caplen);
        recorded.nanoseconds.push_back(header->ts.tv_sec * 1'000'000'000LL + header->ts.tv_usec);
    }
    pcap_close(file);
    return recorded;
}

TEST_F(CaptureWireTest, PlaysEveryFrameOnceWhenTheHostReads) {
    std::vector<Bytes> frames;
    for (unsigned i = 0; i < 100; ++i)
        frames.push_back(frameOf(20 + i * 15, i)); // odd ones, and up to 1505 bytes
    plug(0, "pcap:" + record("in.pcap", frames).string());
    EXPECT_EQ(OHalDataQueueGetNrOfWords(device.handle(), 0), 0);
    EXPECT_EQ(OHalDataQueueClear(device.handle(), 0), 0); // loses nothing, since nothing was read yet
    device.send(0, frameOf(60));                          // goes nowhere
    for (const auto& frame : frames) EXPECT_EQ(device.receive(0), padded(frame));
    EXPECT_EQ(device.receive(0), std::nullopt);
}

TEST_F(CaptureWireTest, PlaysOnlyTowardsAPortThatIsUpAndHasRoom) {
    const auto path = record("in.pcap", std::vector<Bytes>(5, frameOf(60)));
    plug(3, "pcap:" + path.string()); // room for two of the frames
    const Device small(3);
    small.write("GigE_RxEnable", 0);
    EXPECT_EQ(small.receive(0), std::nullopt);
    small.write("GigE_RxEnable", 1);
    orvoSimSetPartner(3, 0, OrvoSimPartnerDown);
    EXPECT_EQ(small.receive(0), std::nullopt);
    orvoSimSetPartner(3, 0, OrvoSimPartner1000);
    const auto before = portState(3, 0);
    for (int i = 0; i < 5; ++i) EXPECT_THAT(small.receive(0), Optional(frameOf(60))) << i;
    EXPECT_EQ(small.receive(0), std::nullopt);
    EXPECT_EQ(portState(3, 0).overflowFrames, before.overflowFrames);
}

TEST_F(CaptureWireTest, CountsFramesThatCannotHaveBeenOnAWire) {
    const auto before = device.read("GigeRecvErrCnt0");
    plug(0, "pcap:" + record("long.pcap", {frameOf(1515), frameOf(9000), frameOf(1514)}).string());
    EXPECT_THAT(device.receive(0), Optional(frameOf(1514)));
    plug(0, "pcap:" + record("cut.pcap", {frameOf(60)}, DLT_EN10MB, 4).string());
    EXPECT_EQ(device.receive(0), std::nullopt);
    EXPECT_EQ(device.read("GigeRecvErrCnt0") - before, 3U);
}

TEST_F(CaptureWireTest, RecordsWhatThePortSends) {
    const auto in = record("in.pcap", {});
    const auto out = folder / "out.pcap";
    std::ofstream(out) << std::string(5000, 'x'); // replaced
    const std::string wire = "pcap:" + in.string() + "," + out.string();
    plug(0, wire);
    EXPECT_EQ(wireOf(0, 0), wire);
    device.send(0, frameOf(14));
    passMs(1);
    orvoSimAdvanceTime(3);
    device.send(0, frameOf(1514));
    EXPECT_EQ(orvoSimFlushWires(), 0);
    auto recorded = readBack(out);
    EXPECT_THAT(recorded.frames, testing::ElementsAre(padded(frameOf(14)), frameOf(1514)));
    EXPECT_EQ(recorded.nanoseconds.at(1) - recorded.nanoseconds.at(0), 1'003'000);
    device.send(0, frameOf(100));
    plug(0, wire); // the same file again: it begins anew
    EXPECT_THAT(readBack(out).frames, testing::ElementsAre());
    device.send(0, frameOf(100));
    std::array<char, 4096> error{};
    EXPECT_EQ(orvoSimSetWire(0, 1, wire.c_str(), error.data(), error.size()), OrvoSimBadValue);
    EXPECT_THAT(error.data(), HasSubstr("out.pcap' is written by port 0/0 already"));
    setWire(0, 0, "loopback");
    EXPECT_THAT(readBack(out).frames, testing::ElementsAre(frameOf(100)));
}

TEST_F(CaptureWireTest, ReportsARecordingThatIsIncomplete) {
    const auto out = folder / "out.pcap";
    plug(0, "pcap:" + record("in.pcap", {}).string() + "," + out.string());
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{500, before.rlim_max}; // as on a full disk
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    testing::internal::CaptureStderr();
    device.send(0, frameOf(1000));
    EXPECT_EQ(orvoSimFlushWires(), OrvoSimNotWritten);
    EXPECT_EQ(orvoSimFlushWires(), OrvoSimNotWritten);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        testing::MatchesRegex("simulated board: capture file '[^\n]*' is incomplete: File too large\n"));
}

TEST_F(CaptureWireTest, RefusesWhatIsNoEthernetCapture) {
    const auto in = record("in.pcap", {frameOf(60)}).string();
    std::ofstream(folder / "text") << "no capture at all, though long enough to be one";
    std::ofstream(folder / "empty");
    const std::string at = folder.string() + "/";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"pcap:" + at + "absent", "absent' cannot be played: No such file"},
        {"pcap:" + at + "text", "text' is no pcap or pcapng file: "},
        {"pcap:" + at + "empty", "empty' is no pcap or pcapng file: "},
        {"pcap:" + folder.string(), "' cannot be played: it is not a regular file"},
        {"pcap:" + record("raw.pcap", {}, DLT_RAW).string(),
         "raw.pcap' holds no Ethernet frames: its link type is RAW"},
        {"pcap:" + in + "," + at + "no/such/folder", "folder' cannot be written: No such file"},
        {"pcap:" + in + ",/dev/null", "/dev/null' cannot be written: it is not a regular file"},
        {"pcap:" + in + "," + in, "in.pcap' cannot be played and written at once"},
    };
    for (const auto& [wire, reason] : cases) {
        SCOPED_TRACE(wire);
        EXPECT_THAT(refusal(wire), HasSubstr(reason));
    }
    EXPECT_THAT(readBack(in).frames, testing::ElementsAre(frameOf(60))); // was not written
}

TEST_F(CaptureWireTest, StopsAtADamagedRecord) {
    const auto path = record("in.pcap", {frameOf(60), frameOf(60)});
    fs::resize_file(path, fs::file_size(path) - 10);
    plug(0, "pcap:" + path.string());
    testing::internal::CaptureStderr();
    EXPECT_THAT(device.receive(0), Optional(frameOf(60)));
    EXPECT_EQ(device.receive(0), std::nullopt);
    EXPECT_EQ(device.receive(0), std::nullopt);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::ContainsRegex("in.pcap' is damaged.*: .+"));
}

} // namespace
