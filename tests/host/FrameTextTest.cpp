// SPDX-License-Identifier: MIT
// Frames as lines: what an independent analyser reads in real captures stands in them, and hostile lengths do
// no harm.
#include "frames/FrameText.h"

#include "TestFiles.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <sstream>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;

Bytes bytesOf(const Frame& frame) {
    return {reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()};
}

/// What tshark prints of each frame's fields, a line a frame.
std::vector<std::string> fieldsByTshark(const std::string& capture) {
    std::string command =
        "tshark -r " + capture + " -o ip.defragment:FALSE -T fields -E separator=/s 2>/dev/null";
    for (const char* field : {"eth.src", "eth.dst", "frame.len", "ip.src", "ip.dst", "udp.srcport",
                              "tcp.dstport", "tcp.seq_raw", "tcp.window_size_value", "tcp.len",
                              "arp.src.proto_ipv4", "icmp.seq", "gvsp.blockid16", "gvsp.packetid24"})
        command += std::string(" -e ") + field;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::vector<std::string> lines;
    char line[1000];
    while (pipe && std::fgets(line, sizeof line, pipe.get())) lines.emplace_back(line);
    return lines;
}

TEST(FrameTextTest, HasWhatAnAnalyserReads) {
    for (const auto* capture : {ORVO_TEST_DATA "/gige-vision.pcapng", ORVO_TEST_DATA "/mixed-lan.pcap"}) {
        const auto expected = fieldsByTshark(capture);
        if (expected.empty()) GTEST_SKIP() << "tshark is not installed";
        const auto frames = framesOf(capture);
        ASSERT_EQ(frames.size(), expected.size());
        FrameDescriber describer;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const auto line = " " + describer.describe(bytesOf(frames[i])) + " ";
            std::istringstream fields(expected[i]);
            for (std::string field; fields >> field;)
                ASSERT_THAT(line, testing::ContainsRegex("[][ :,>]" + field + "[][ :,?]"))
                    << capture << " " << i;
        }
    }
}

Frame hex(std::string digits) {
    std::erase(digits, ' ');
    Frame bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

const std::string macs = "ffffffffffff 020000000001";
const std::string ends = "c0a80702 c0a80701"; // 192.168.7.2 to 192.168.7.1
/// UDP from 5000 to `port`, of `bytes` in all.
std::string udp(const std::string& bytes, const std::string& port, const std::string& rest) {
    return macs + "0800 4500" + bytes + "0000 0000 4011 0000" + ends + "1388" + port + rest;
}

TEST(FrameTextTest, TellsEachProtocolAndSurvivesLengthsThatLie) {
    const struct {
        std::string frame;
        const char* end; ///< behind "> ff:ff:ff:ff:ff:ff "
    } rows[] = {
        {macs + "8100 0064 0806" + "0001 0800 0604 0001 020000000001" + "c0a80702 000000000000 c0a80701",
         "ARP 46 vlan 100 who has 192.168.7.1? tell 192.168.7.2"},
        {macs + "0026 424203", "IEEE 802.3 17"},
        {macs + "0800 4f000014", "IPv4 18"}, // the header would be 60 bytes
        {macs + "0800 4500 0014 0000 2010 4011 0000" + ends,
         "IPv4 34 192.168.7.2 > 192.168.7.1 fragment at 128 protocol 17"},
        {udp("002c", "0f74", "0018 0000 4201 0082 0008 0007 00000a00 00000002"),
         "IPv4 58 192.168.7.2:5000 > 192.168.7.1:3956 GVCP write register 0x00000a00 = 0x00000002, id 7"},
        {udp("0030", "0f74", "001c 0000 4200 0040 000c 0008 0001 0011 00000003 00000009"),
         "IPv4 62 192.168.7.2:5000 > 192.168.7.1:3956 GVCP packet resend block 17 packets 3 to 9, id 8"},
        {udp("0028", "0f74", "0014 0000 0000 0089 0004 0009 0000 01f4"),
         "IPv4 54 192.168.7.2:5000 > 192.168.7.1:3956 GVCP pending answer 500 ms, id 9"},
        {udp("0034", "0f74", "0020 0000 4201 00c0 0010 000a 0000 9001 0000 0007 0000000000000001"),
         "IPv4 66 192.168.7.2:5000 > 192.168.7.1:3956 GVCP event 0x9001 block 7, id 10"},
        {udp("0024", "0f74",
             "0010 0000 8006 0083 0000 0007"), // its length holds, an answer's value is missing
         "IPv4 50 192.168.7.2:5000 > 192.168.7.1:3956 GVCP write register answer: access denied, id 7"},
        {udp("0024", "0f74", "0010 0000 4201 0082 0108 0007"), // more bytes announced than there are
         "IPv4 50 192.168.7.2:5000 > 192.168.7.1:3956 UDP 8 bytes"},
        {udp("0028", "1000", "0014 0000 0000 0001 03000005 aabbccdd"), // no leader told of a stream
         "IPv4 54 192.168.7.2:5000 > 192.168.7.1:4096 UDP 12 bytes"},
        {macs + "86dd 60000000 0010 2c40 fd000000000000000000000000000001 fd000000000000000000000000000002" +
             "1100 0008 00000001 1388",
         "IPv6 64 fd00::1 > fd00::2 fragment at 8 protocol 17"},
        {macs + "86dd 60000000 0008 0040 fd000000000000000000000000000001 fd000000000000000000000000000002" +
             "11ff 0000 0000 0000", // options longer than the packet
         "IPv6 62"},
    };
    for (const auto& [frame, end] : rows)
        EXPECT_EQ(FrameDescriber().describe(bytesOf(hex(frame))),
                  std::string("02:00:00:00:00:01 > ff:ff:ff:ff:ff:ff ") + end);
    EXPECT_EQ(FrameDescriber().describe({}), "0 bytes, too short for an Ethernet header");
}

TEST(FrameTextTest, FollowsAStreamFromItsLeaderOn) {
    FrameDescriber describer;
    const auto frameWith = [&](const std::string& form, const std::string& packet, const std::string& rest) {
        const auto frame = hex(udp(
            "0100", "1000", "00ec 0000 0000 0000" + form + "000000" + "0000000100000002" + packet + rest));
        return describer.describe(bytesOf(frame));
    };
    EXPECT_THAT(frameWith("83", "00000001", "00"), HasSubstr("UDP"));
    EXPECT_THAT(
        frameWith("81", "00000000",
                  "0000 0001 0000000000000001 01080001 00000280 000001e0 00000000 00000000 0000 0000"),
        HasSubstr("GVSP block 4294967298 packet 0 leader 640 x 480, pixel format 0x01080001"));
    EXPECT_THAT(frameWith("83", "00000001", "0011"), HasSubstr("packet 1 payload 2 bytes"));
    EXPECT_THAT(frameWith("82", "00000002", "00000001 000001e0"), HasSubstr("packet 2 trailer"));
}

TEST(FrameTextTest, ShowsTimesInUtc) {
    using namespace std::chrono;
    EXPECT_EQ(clockText(system_clock::time_point(hours(24 * 365) + seconds(61) + microseconds(42))),
              "00:01:01.000042");
}

} // namespace
} // namespace orvo::host
