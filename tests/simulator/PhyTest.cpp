// PHYs behind the MDIO master: resets, negotiation and registers, on the virtual clock.
#include "SimulatedBoard.h"

namespace {

enum Register : unsigned {
    Control,
    Status,
    Identifier1,
    Identifier2,
    Advertisement,
    Partner,
    Expansion,
    NextPage,
    PartnerNextPage,
    GigabitControl,
    GigabitStatus,
    Extended = 15,
    Specific = 17,
    Index = 29,
    Data = 30
};

class PhyTest : public SimulatedBoard {
protected:
    void SetUp() override {
        SimulatedBoard::SetUp();
        device.writePhy(0, Control, 0x9140); // as after a reset, and up
        passMs(500);
        read(Status);
    }
    void TearDown() override {
        orvoSimSetPhyTimes(0, 0, 50, 400);
        orvoSimSetPartner(0, 0, OrvoSimPartner1000);
        device.writePhy(0, Control, 0x9140);
        setWire(0, 0, "loopback");
        SimulatedBoard::TearDown();
    }
    unsigned read(unsigned number) const { return device.readPhy(0, number); }
    static unsigned peek(unsigned number) {
        std::uint16_t value = 0;
        EXPECT_EQ(orvoSimReadPhy(0, 0, number, &value), 0);
        return value;
    }
    void write(unsigned number, unsigned value) const {
        device.writePhy(0, number, static_cast<std::uint16_t>(value));
    }
    const Device device{0};
};

TEST_F(PhyTest, RegistersOfALinkAt1000) {
    const std::vector<std::pair<unsigned, unsigned>> expected = {
        {Control, 0x1140},       {Status, 0x796D},   {Advertisement, 0x0DE1},   {Partner, 0x4DE1},
        {Expansion, 0x000F},     {NextPage, 0x2001}, {PartnerNextPage, 0x2008}, {GigabitControl, 0x0200},
        {GigabitStatus, 0x3800}, {Extended, 0x3000}, {Specific, 0xAC00},
    };
    for (const auto& [number, value] : expected) EXPECT_EQ(read(number), value) << "register " << number;
    EXPECT_EQ(read(Expansion), 0x000DU) << "page received is cleared by reading";
    EXPECT_NE(read(Identifier1), 0xFFFFU);
    EXPECT_NE(read(Identifier2), 0xFFFFU);
    for (unsigned number : {11U, 14U, 16U, 28U, 31U}) EXPECT_NE(read(number), 0xFFFFU) << number;
    write(GigabitStatus, 0); // read only
    EXPECT_EQ(read(GigabitStatus), 0x3800U);
    EXPECT_EQ(portState(0, 0).linkMbit, 1000);
}

TEST_F(PhyTest, OnlyThePortsPhysAnswer) {
    EXPECT_EQ(device.readPhy(4, Control), 0xFFFFU);
    device.writePhy(31, Control, 0x9140);
    EXPECT_EQ(device.readPhy(31, Control), 0xFFFFU);
    const Device older(1); // two ports
    EXPECT_EQ(older.readPhy(2, Control), 0xFFFFU);
    EXPECT_EQ(older.readPhy(1, Control), 0x1140U);
    std::uint16_t value = 0;
    EXPECT_EQ(orvoSimReadPhy(1, 2, 0, &value), OrvoSimNoSuchPlace);
    EXPECT_EQ(orvoSimReadPhy(0, 0, 32, &value), OrvoSimBadValue);
}

TEST_F(PhyTest, SoftwareResetTakesItsTimeAndRestartsNegotiation) {
    write(Advertisement, 0x0041);
    write(Control, 0x9140);
    EXPECT_EQ(read(Control), 0x9140U);
    EXPECT_EQ(read(Status), 0x7949U) << "link down, nothing negotiated";
    passMs(49);
    write(Control, 0x0800); // goes nowhere during the reset
    EXPECT_EQ(read(Control), 0x9140U);
    passMs(1);
    EXPECT_EQ(read(Control), 0x1140U);
    EXPECT_EQ(read(Advertisement), 0x0DE1U);
    passMs(399);
    EXPECT_EQ(portState(0, 0).linkUp, 0);
    device.send(0, frameOf(60));
    EXPECT_EQ(device.receive(0), std::nullopt);
    passMs(1);
    EXPECT_EQ(portState(0, 0).linkUp, 1);
    EXPECT_EQ(read(Status), 0x796DU);
    device.send(0, frameOf(60));
    EXPECT_TRUE(device.receive(0));

    orvoSimSetPhyTimes(0, 0, UINT32_MAX, 0);
    write(Control, 0x9140);
    passMs(1'000'000'000);
    EXPECT_EQ(read(Control), 0x9140U);
    orvoSimSetPhyTimes(0, 0, 50, 400);
    device.write("GigE_Reset", 0xE);
    device.write("GigE_Reset", 0xF);
    passMs(50);
    EXPECT_EQ(read(Control), 0x1140U);
}

TEST_F(PhyTest, HardwareResetSilencesThePhy) {
    write(Index, 0x0B);
    write(Data, 0x8004);
    device.write("GigE_Reset", 0xE);
    EXPECT_EQ(read(Control), 0xFFFFU);
    EXPECT_EQ(portState(0, 0).linkUp, 0);
    device.write("GigE_Reset", 0xF);
    EXPECT_EQ(read(Control), 0x9140U);
    passMs(450);
    EXPECT_EQ(portState(0, 0).linkUp, 1);
    write(Index, 0x0B);
    EXPECT_EQ(read(Data), 0x0004U);
}

TEST_F(PhyTest, ExtendedRegistersSurviveASoftwareReset) {
    write(Index, 0x1B);
    write(Data, 0x418F);
    write(Index, 0x16);
    write(Data, 0xA2DA);
    write(Control, 0x9140);
    passMs(50);
    EXPECT_EQ(read(Data), 0xA2DAU);
    write(Index, 0x1B);
    EXPECT_EQ(read(Data), 0x418FU);
    write(Index, 0x20); // beyond the last
    write(Data, 0x1234);
    EXPECT_EQ(read(Data), 0U);
}

TEST_F(PhyTest, LinkStatusLatchesLow) {
    orvoSimSetPartner(0, 0, OrvoSimPartnerDown);
    passMs(1000);
    orvoSimSetPartner(0, 0, OrvoSimPartner1000);
    passMs(399);
    EXPECT_EQ(portState(0, 0).linkUp, 0);
    passMs(1);
    EXPECT_EQ(portState(0, 0).linkUp, 1);
    EXPECT_EQ(peek(Status), 0x7969U); // looking does not count as reading
    EXPECT_EQ(read(Status), 0x7969U) << "was down since it was read last";
    EXPECT_EQ(read(Status), 0x796DU);
}

TEST_F(PhyTest, IdleErrorsStopAt255AndClearByReading) {
    EXPECT_EQ(orvoSimSetIdleErrors(0, 0, 1000), 0);
    EXPECT_EQ(peek(GigabitStatus), 0x38FFU);
    EXPECT_EQ(read(GigabitStatus), 0x38FFU);
    EXPECT_EQ(read(GigabitStatus), 0x3800U);
}

TEST_F(PhyTest, ControlDecidesAboutTheLink) {
    struct Case {
        const char* what;
        unsigned control, readBack;
        OrvoSimPartner partner;
        int mbit;
        unsigned specific;
        bool passes;
    };
    const Case cases[] = {
        {"negotiated with a slow partner", 0x1340, 0x1140, OrvoSimPartner100, 100, 0x6C00, true},
        {"partner switched off", 0x1340, 0x1140, OrvoSimPartnerDown, 0, 0, false},
        {"forced to 100, partner detects it", 0x2100, 0x2100, OrvoSimPartner1000, 100, 0x6C00, true},
        {"forced to 10, half duplex", 0x0000, 0x0000, OrvoSimPartner1000, 10, 0x0C00, true},
        {"1000 needs negotiation", 0x0140, 0x0140, OrvoSimPartner1000, 0, 0, false},
        {"powered down", 0x1940, 0x1940, OrvoSimPartner1000, 0, 0, false},
        {"isolated: link without frames", 0x1740, 0x1540, OrvoSimPartner1000, 1000, 0xAC00, false},
        {"loopback bit is kept", 0x5340, 0x5140, OrvoSimPartner1000, 1000, 0xAC00, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(orvoSimSetPartner(0, 0, c.partner), 0);
        write(Control, c.control);
        passMs(400);
        EXPECT_EQ(read(Control), c.readBack);
        EXPECT_EQ(portState(0, 0).linkMbit, c.mbit);
        EXPECT_EQ(read(Specific), c.specific);
        device.send(0, frameOf(60));
        EXPECT_EQ(device.receive(0).has_value(), c.passes);
    }
}

TEST_F(PhyTest, CabledPortsNegotiateWithEachOther) {
    setWire(0, 0, "port:0/1");
    passMs(400);
    EXPECT_EQ(read(GigabitStatus), 0x7800U) << "the first of two alike becomes master";
    EXPECT_EQ(device.readPhy(1, GigabitStatus), 0x3800U);
    device.writePhy(1, GigabitControl, 0x0000);
    device.writePhy(1, Advertisement, 0x0061);
    device.writePhy(1, Control, 0x1340);
    EXPECT_EQ(portState(0, 0).linkUp, 0) << "both ends negotiate anew";
    passMs(400);
    EXPECT_EQ(portState(0, 0).linkMbit, 10);
    EXPECT_EQ(portState(0, 1).linkMbit, 10);
    EXPECT_EQ(read(Partner), 0x4061U);
    device.writePhy(1, Control, 0x9140);
    passMs(450);
    write(GigabitControl, 0x1A00);
    device.writePhy(1, GigabitControl, 0x1A00); // both insist on being master
    device.writePhy(1, Control, 0x1340);
    passMs(400);
    EXPECT_EQ(portState(0, 0).linkUp, 0);
    EXPECT_EQ(read(GigabitStatus), 0x8800U);
    EXPECT_EQ(read(GigabitStatus), 0x0800U) << "the fault is cleared by reading";
    device.writePhy(1, Control, 0x9140);
    setWire(0, 1, "loopback");
    passMs(500);
}

} // namespace
