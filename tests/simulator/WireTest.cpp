// Cables: which ports they join, how they are changed, and what the link does then.
#include "SimulatedBoard.h"

#include <array>

namespace {

using testing::Optional;

constexpr unsigned phyStatus = 1;
constexpr unsigned linkBit = 0x0004;

class WireTest : public SimulatedBoard {
protected:
    void TearDown() override {
        setWire(4, 0, "port:4/1");
        setWire(4, 2, "none");
        setWire(4, 3, "loopback");
        setWire(3, 3, "loopback");
        SimulatedBoard::TearDown();
    }
    const Device cabled{4};
};

TEST_F(WireTest, CableCarriesFramesBothWays) {
    EXPECT_EQ(wireOf(4, 0), "port:4/1");
    EXPECT_EQ(wireOf(4, 1), "port:4/0");
    cabled.send(0, frameOf(60, 1));
    cabled.send(1, frameOf(60, 2));
    EXPECT_THAT(cabled.receive(1), Optional(frameOf(60, 1)));
    EXPECT_THAT(cabled.receive(0), Optional(frameOf(60, 2)));
    EXPECT_EQ(portState(4, 0).linkMbit, 1000);
}

TEST_F(WireTest, PortWithoutWireHasNoLink) {
    const auto before = portState(4, 2);
    EXPECT_EQ(wireOf(4, 2), "none");
    EXPECT_EQ(before.linkUp, 0);
    EXPECT_EQ(before.linkMbit, 0);
    cabled.send(2, frameOf(60));
    EXPECT_EQ(orvoSimInjectFrame(4, 2, frameOf(60).data(), 60, 0), 0);
    EXPECT_EQ(portState(4, 2).unsentFrames, before.unsentFrames + 1);
    EXPECT_EQ(portState(4, 2).ignoredFrames, before.ignoredFrames + 1);
}

TEST_F(WireTest, PluggingFreesTheFarEndsOfCablesTakenAway) {
    cabled.readPhy(0, phyStatus);
    setWire(4, 0, "port:3/3"); // takes away the cable to 4/1, and the loopback plug of 3/3
    EXPECT_EQ(wireOf(4, 0), "port:3/3");
    EXPECT_EQ(wireOf(3, 3), "port:4/0");
    EXPECT_EQ(wireOf(4, 1), "none");
    EXPECT_EQ(portState(4, 1).linkUp, 0);
    EXPECT_EQ(portState(4, 0).linkUp, 1); // at once: this PHY was never reset
    EXPECT_EQ(cabled.readPhy(0, phyStatus) & linkBit, 0U) << "that it was down is kept until it is read";
    EXPECT_EQ(cabled.readPhy(0, phyStatus) & linkBit, linkBit);
    cabled.send(0, frameOf(60));
    const Device other(3);
    EXPECT_THAT(other.receive(3), Optional(frameOf(60)));

    setWire(3, 3, "loopback");
    EXPECT_EQ(wireOf(4, 0), "none");
    setWire(4, 1, "port:4/0"); // from the other end
    EXPECT_EQ(wireOf(4, 0), "port:4/1");
}

TEST_F(WireTest, RefusedWiresLeaveTheOldOneInPlace) {
    struct Case {
        unsigned board, port;
        const char* wire;
        int result;
        const char* reason;
    };
    const Case cases[] = {
        {0, 0, nullptr, OrvoSimBadValue, "no wire given"},
        {0, 0, "", OrvoSimBadValue,
         "wire '' is unknown; use loopback, port:BOARD/PORT, pcap:IN[,OUT] or none"},
        {0, 0, "loopback:1", OrvoSimBadValue, "wire 'loopback:1' is unknown"},
        {0, 0, "port:1", OrvoSimBadValue, "wire 'port:1' names no port; write port:BOARD/PORT"},
        {0, 0, "port:1/x", OrvoSimBadValue, "names no port"},
        {0, 0, "port:1/2", OrvoSimBadValue, "there is no port 1/2"},
        {0, 0, "port:77/0", OrvoSimBadValue, "there is no port 77/0"},
        {0, 0, "port:0/0", OrvoSimBadValue, "port 0/0 cannot be cabled to itself; use loopback"},
        {0, 0, "pcap:", OrvoSimBadValue, "wire 'pcap:' names no file to play"},
        {0, 0, "pcap:x,", OrvoSimBadValue, "names no file after the comma"},
        {0, 0, "tap:gige0", OrvoSimBadValue, "wire 'tap:gige0' is not available"},
        {0, 0, "packet:eth0", OrvoSimBadValue, "wire 'packet:eth0' is not available"},
        {0, 4, "loopback", OrvoSimNoSuchPlace, "there is no port 0/4"},
        {77, 0, "none", OrvoSimNoSuchPlace, "there is no port 77/0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.wire ? c.wire : "null");
        std::array<char, 200> error{};
        EXPECT_EQ(orvoSimSetWire(c.board, c.port, c.wire, error.data(), error.size()), c.result);
        EXPECT_THAT(error.data(), testing::HasSubstr(c.reason));
        EXPECT_EQ(orvoSimSetWire(c.board, c.port, c.wire, nullptr, 0), c.result);
        EXPECT_EQ(wireOf(0, 0), "loopback");
    }
    std::array<char, 5> cut{'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(orvoSimGetWire(0, 0, cut.data(), cut.size()), 0);
    EXPECT_STREQ(cut.data(), "loop");
    EXPECT_EQ(orvoSimGetWire(0, 0, nullptr, 5), OrvoSimBadValue);
    EXPECT_EQ(orvoSimGetWire(0, 4, cut.data(), cut.size()), OrvoSimNoSuchPlace);
}

} // namespace
