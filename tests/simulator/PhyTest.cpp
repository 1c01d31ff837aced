// SPDX-License-Identifier: MIT
// PHYs behind the MDIO master: resets, negotiation and registers, on the virtual clock.
#include "SimulatedBoard.h"

namespace {

constexpr unsigned control = 0, status = 1, advertisement = 4, expansion = 6, gigabitControl = 9;
constexpr unsigned gigabitStatus = 10, specific = 17, extendedIndex = 29, extendedData = 30;

class PhyTest : public SimulatedBoard {
protected:
    unsigned read(unsigned number, std::uint64_t afterMs = 0) const {
        passMs(afterMs);
        return device.readPhy(0, number);
    }
    void write(unsigned number, unsigned value) const { device.writePhy(0, number, value); }
    const Device device{0};
};

TEST_F(PhyTest, RegistersOfALinkAt1000) {
    read(status);            // it was down
    write(gigabitStatus, 0); // read only
    const std::pair<unsigned, unsigned> expected[] = {
        {control, 0x1140}, {status, 0x796D},         {advertisement, 0x0DE1},
        {5, 0x4DE1},       {expansion, 0x000F},      {7, 0x2001},
        {8, 0x2008},       {gigabitControl, 0x0200}, {gigabitStatus, 0x3800},
        {15, 0x3000},      {specific, 0xAC00}};
    for (const auto& [number, value] : expected) EXPECT_EQ(read(number), value) << "register " << number;
    for (unsigned number : {2U, 3U, 11U, 16U, 31U}) EXPECT_NE(read(number), 0xFFFFU) << number;
    EXPECT_EQ(device.readPhy(4, control), 0xFFFFU) << "no PHY answers";
    EXPECT_EQ(Device(1).readPhy(2, control), 0xFFFFU) << "a board of two ports";
}

TEST_F(PhyTest, SoftwareResetTakesItsTimeAndRestartsNegotiation) {
    write(advertisement, 0x0041);
    write(extendedIndex, 0x16);
    write(extendedData, 0xA2DA); // the vendor's registers keep what was written to them
    write(control, 0x9140);
    EXPECT_EQ(read(status), 0x7949U) << "link down, nothing negotiated";
    passMs(49);
    write(control, 0x0800); // goes nowhere during the reset
    EXPECT_EQ(read(control), 0x9140U);
    EXPECT_EQ(read(control, 1), 0x1140U);
    EXPECT_EQ(read(advertisement), 0x0DE1U);
    EXPECT_EQ(read(extendedData), 0xA2DAU);
    EXPECT_EQ(read(specific, 399), 0U);
    EXPECT_EQ(portState(0, 0).linkMbit, 0);
    EXPECT_FALSE(device.carries(0));
    EXPECT_EQ(read(specific, 1), 0xAC00U);
    EXPECT_TRUE(device.carries(0));
}

TEST_F(PhyTest, HardwareResetSilencesThePhyAndEndsAnyOther) {
    orvoSimSetPhyTimes(0, 0, UINT32_MAX, 0);
    write(extendedIndex, 0x0B);
    write(extendedData, 0x8004);
    write(control, 0x9140);
    EXPECT_EQ(read(control, 1'000'000'000), 0x9140U) << "never ends";
    orvoSimSetPhyTimes(0, 0, 50, 400);
    device.write("GigE_Reset", 0xE);
    EXPECT_EQ(read(control), 0xFFFFU);
    device.write("GigE_Reset", 0xF);
    EXPECT_EQ(read(specific, 450), 0xAC00U);
    write(extendedIndex, 0x2B); // beyond the last
    write(extendedData, 0x1234);
    EXPECT_EQ(read(extendedData), 0U);
    write(extendedIndex, 0x0B);
    EXPECT_EQ(read(extendedData), 0x0004U);
}

TEST_F(PhyTest, ReadingAndOnlyReadingClearsLatches) {
    orvoSimSetPartner(0, 0, OrvoSimPartnerDown);
    EXPECT_EQ(read(specific, 1000), 0U);
    orvoSimSetPartner(0, 0, OrvoSimPartner100);
    EXPECT_EQ(read(specific, 399), 0U);
    EXPECT_EQ(read(specific, 1), 0x6C00U);
    EXPECT_EQ(orvoSimSetIdleErrors(0, 0, 1000), 0); // stop at 255
    const unsigned latches[][3] = {
        {status, 0x7969, 0x796D}, {expansion, 0x0F, 0x0D}, {gigabitStatus, 0xFF, 0}};
    for (const auto& [number, latched, cleared] : latches) {
        std::uint16_t looked = 0;
        EXPECT_EQ(orvoSimReadPhy(0, 0, number, &looked), 0);
        EXPECT_EQ(looked, latched);
        EXPECT_EQ(read(number), latched);
        EXPECT_EQ(read(number), cleared);
    }
}

TEST_F(PhyTest, CabledPortsAgreeOnTheBestThatBothOffer) {
    struct End {
        unsigned advertisement, gigabitControl, control = 0x1340;
    };
    const End all{0x0DE1, 0x0300}, forced100{0, 0, 0x2100};
    // The ends of ports 0 and 1; what they come to by register 17 of both, and by register 10 of port 0.
    const std::tuple<const char*, End, End, unsigned, unsigned, unsigned> cases[] = {
        {"all, and the first of two alike becomes master", all, all, 0xAC00, 0xAC00, 0x7C00},
        {"isolated: link without frames", {0x0DE1, 0x0300, 0x1540}, all, 0xAC00, 0xAC00, 0x7C00},
        {"powered down", {0x0DE1, 0x0300, 0x1940}, all, 0, 0, 0},
        {"1000 half only", all, {0x0DE1, 0x0100}, 0x8C00, 0x8C00, 0x7400},
        {"no 1000", all, {0x0DE1, 0}, 0x6C00, 0x6C00, 0},
        {"100 half and 10 full", all, {0x00C1, 0}, 0x4C00, 0x4C00, 0},
        {"10 half", {0x0021, 0x0200}, {0x0021, 0}, 0x0C00, 0x0C00, 0},
        {"nothing in common", {0x0041, 0}, {0x0021, 0}, 0, 0, 0},
        {"detected 100", all, forced100, 0x4C00, 0x6C00, 0},
        {"1000 cannot be detected", all, {0, 0, 0x0140}, 0, 0, 0},
        {"detected, but not offered", {0x0101, 0}, forced100, 0, 0, 0},
        {"both forced", forced100, forced100, 0x6C00, 0x6C00, 0},
        {"both forced, different", forced100, {0, 0, 0x0100}, 0, 0, 0},
        {"partner is multi-port and becomes master", {0, 0x0200}, {0, 0x0600}, 0xAC00, 0xAC00, 0x3800},
        {"insists on master", {0, 0x1A00}, {0, 0x0600}, 0xAC00, 0xAC00, 0x7800},
        {"partner insists on slave", {0, 0x0200}, {0, 0x1600}, 0xAC00, 0xAC00, 0x7800},
        {"both insist, different", {0, 0x1200}, {0, 0x1A00}, 0xAC00, 0xAC00, 0x3800},
        {"both insist on slave", {0, 0x1200}, {0, 0x1200}, 0, 0, 0x8800},
    };
    setWire(0, 0, "port:0/1");
    for (const auto& [what, first, second, specific0, specific1, gigabitStatus0] : cases) {
        SCOPED_TRACE(what);
        for (const auto& [port, end] : {std::pair{1U, second}, {0U, first}}) {
            device.writePhy(port, advertisement, end.advertisement);
            device.writePhy(port, gigabitControl, end.gigabitControl);
            device.writePhy(port, control, end.control);
        }
        EXPECT_EQ(read(specific, 400), specific0);
        EXPECT_EQ(device.readPhy(1, specific), specific1);
        EXPECT_EQ(read(control), first.control & ~0x0200U) << "the restart bit clears itself";
        device.send(0, frameOf(60));
        EXPECT_EQ(device.receive(1).has_value(), specific0 != 0 && (first.control & 0x0400) == 0);
        EXPECT_EQ(read(gigabitStatus), gigabitStatus0);
        EXPECT_EQ(device.readPhy(1, gigabitStatus) & read(gigabitStatus) & 0x4000U, 0U) << "one master";
    }
    EXPECT_EQ(read(gigabitStatus), 0x0800U) << "the fault is cleared by reading";
}

} // namespace
