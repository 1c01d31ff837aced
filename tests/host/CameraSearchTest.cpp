// SPDX-License-Identifier: MIT
// The search for cameras, answered by cameras of every kind, and the list that comes of it.
#include "frames/CameraSearch.h"
#include "CameraFrames.h"
#include "Process.h"

#include <gmock/gmock.h>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;

const NetworkAddress own = *NetworkAddress::parse("192.168.7.2/24");
constexpr std::uint32_t ownAddress = 0xC0A8'0702;

/// The datagram of a frame that the search sends; its header's checksum must be right.
UdpDatagram datagramOf(const ByteVector& frame) {
    const auto ip = readIp(*readEthernet(frame));
    std::uint32_t sum = 0;
    for (std::size_t i = 14; i < 34; i += 2) sum += big16(frame, i);
    EXPECT_EQ((sum & 0xFFFF) + (sum >> 16), 0xFFFFu);
    return *readUdp(*ip);
}

ByteVector answer(std::uint32_t camera, GigeCommand command, std::uint16_t status,
                  const ByteVector& payload) {
    ByteVector bytes;
    put(bytes, status, 2);
    put(bytes, static_cast<std::uint64_t>(command) + 1, 2);
    put(bytes, payload.size(), 2);
    put(bytes, 1, 2);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return testing_support::udpFrame(camera, gigeControlPort, ownAddress, 49'152, bytes);
}

ByteVector introduction(std::uint8_t mac, std::uint32_t address, std::uint32_t mask) {
    ByteVector payload(248);
    const auto place = [&](std::size_t offset, const ByteVector& bytes) {
        std::ranges::copy(bytes, payload.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    ByteVector numbers;
    put(numbers, address, 4);
    put(numbers, mask, 4);
    payload[15] = mac;
    place(36, {numbers.begin(), numbers.begin() + 4});
    place(52, {numbers.begin() + 4, numbers.end()});
    place(72, ByteVector(32, 'M')); // a text that fills its field
    place(104, {'T', '\n', '1'});
    place(216, {'4', '2'});
    return answer(address, GigeCommand::Discovery, 0, payload);
}

TEST(CameraSearchTest, ListsWhoAnswersAndWhetherItIsFree) {
    CameraSearch search(own);
    const auto discovery = search.discovery();
    const auto asked = datagramOf(discovery);
    EXPECT_EQ(asked.destinationPort, gigeControlPort);
    EXPECT_EQ(readGigeControl(asked.payload)->command, GigeCommand::Discovery);
    EXPECT_EQ(macText(readEthernet(discovery)->destination), "ff:ff:ff:ff:ff:ff");

    const struct {
        std::uint8_t mac;
        std::uint32_t address;
        std::uint16_t status;
        ByteVector privilege; ///< empty: no answer
    } cameras[] = {{1, 0xC0A8'0710, 0, {0, 0, 0, 0}},
                   {2, 0xC0A8'0711, 0, {0, 0, 0, 2}},
                   {3, 0xC0A8'0712, 0x8006, {}},
                   {4, 0xC0A8'0713, 0, {0}}}; // cut short
    for (const auto& camera : cameras) {
        const auto question = search.take(introduction(camera.mac, camera.address, 0xFFFF'FF00));
        const auto control = readGigeControl(datagramOf(question).payload);
        EXPECT_EQ(gigeWordsOf(*control)[0], GigeControlPrivilege);
        const auto again = [&] { return search.take(introduction(camera.mac, camera.address, 0xFFFF'FF00)); };
        EXPECT_FALSE(again().empty()); // the question may have been lost
        search.take(answer(camera.address, GigeCommand::ReadRegister, camera.status, camera.privilege));
        EXPECT_EQ(again().empty(), camera.privilege.size() != 1);
    }
    EXPECT_TRUE(search.take(introduction(5, 0x0A00'00FE, 0xFFFF'FF00)).empty()); // another network
    EXPECT_TRUE(search.take(introduction(6, 0, 0)).empty());

    const auto text = camerasText(search.cameras(), own, "0/1");
    EXPECT_EQ(std::ranges::count(text, '\n'), 11);
    const std::string maker(32, 'M');
    for (const auto& line :
         {"192.168.7.16/24  00:00:00:00:00:01  " + maker + "  T?1    42      -     free\n",
          "192.168.7.17/24  00:00:00:00:00:02  " + maker + "  T?1    42      -     controlled by a client\n",
          "192.168.7.18/24  00:00:00:00:00:03  " + maker + "  T?1    42      -     in exclusive use\n",
          "192.168.7.19/24  00:00:00:00:00:04  " + maker + "  T?1    42      -     unknown\n",
          std::string("the camera 10.0.0.254 is in another network than 192.168.7.2/24\n"),
          std::string(" sudo orvo-gige bridge --port 0/1 --tap gige0 --address 10.0.0.253/24\n"),
          std::string(" orvo-gige cameras --port 0/1 --address 10.0.0.253/24\n"),
          std::string("the camera 00:00:00:00:00:06 has no address yet; ")})
        EXPECT_THAT(text, HasSubstr(line));
}

TEST(CameraSearchTest, AnswersArpForItsOwnAddressOnly) {
    CameraSearch search(own);
    const auto request = [](std::uint32_t target) {
        ByteVector frame(12, 0x0C);
        put(frame, 0x0806, 2);
        put(frame, 0x0001'0800'0604'0001, 8);
        put(frame, 0x0C0C'0C0C'0C0C, 6);
        put(frame, 0xC0A8'0701, 4);
        put(frame, 0, 6);
        put(frame, target, 4);
        return frame;
    };
    const auto reply = search.take(request(ownAddress));
    const auto arp = readArp(*readEthernet(reply));
    ASSERT_TRUE(arp);
    EXPECT_EQ(arp->operation, 2);
    EXPECT_EQ(ipText(arp->sender), "192.168.7.2");
    EXPECT_EQ(macText(arp->senderHardware), macText(readEthernet(search.discovery())->source));
    EXPECT_EQ(ipText(arp->target), "192.168.7.1");
    EXPECT_TRUE(search.take(request(ownAddress + 1)).empty());
}

TEST(CameraSearchTest, RunsThroughAPort) {
    const auto outcome = runTool({"cameras", "--no-reset", "--wire", "0=loopback", "-d", "0.1"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("no camera behind port 0/0 answered 169.254.77.77/16"));
    EXPECT_EQ(runTool({"cameras", "--address", "fd00::1/64"}).exitCode, 2);
}

} // namespace
} // namespace orvo::host
