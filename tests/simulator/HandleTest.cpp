// Device handles, boards that come and go, and the applet runtime's register maps.
#include "SimulatedBoard.h"

#include <set>

namespace {

class HandleTest : public SimulatedBoard {};

std::vector<int> everyCall(void* handle, void* applet) {
    std::uint64_t value = 77;
    std::uint32_t word = 77;
    const auto address = static_cast<std::uint32_t>(KivGetRegisterByName(applet, "GigE_Reset"));
    const std::vector results{OHalRegisterRead(handle, address, &value),
                              OHalRegisterWrite(handle, address, 15),
                              OHalConfigureFpga(handle, applet),
                              OHalGetBoardInfoInt(handle, "ports/gige"),
                              OHalDataQueueReadBufferLong(handle, 0, &word, 4, 0),
                              OHalDataQueueWriteBuffer(handle, 8, &word, 4, 0),
                              OHalDataQueueClear(handle, 0),
                              OHalDataQueueGetNrOfLostWords(handle, 0),
                              OHalUnloadFpga(handle)};
    EXPECT_EQ(OHalGetBoardInfoString(handle, "board/name"), nullptr);
    EXPECT_EQ(value, 77U);
    EXPECT_EQ(word, 77U);
    return results;
}

TEST_F(HandleTest, BadHandlesAreRefusedAndStaleOnesCounted) {
    void* const applet = KivFirmwareTrampoline(1, 0);
    void* const first = OHalInitDevice(0);
    void* const second = OHalGetDevice(0);
    ASSERT_NE(first, second);
    EXPECT_EQ(OHalFreeDevice(first), 0);
    void* const third = OHalInitDevice(0); // may take the first one's place
    ASSERT_NE(third, first);
    const auto staleBefore = portState(0, 3).staleAccesses;
    int local = 0;
    const auto neverGiven = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(third) + 1);
    for (void* bad : {static_cast<void*>(nullptr), static_cast<void*>(&local), reinterpret_cast<void*>(~0UL),
                      reinterpret_cast<void*>(1UL), neverGiven, first}) {
        SCOPED_TRACE(bad);
        EXPECT_THAT(everyCall(bad, applet), testing::Each(OrvoSimHalBadHandle));
        EXPECT_EQ(OHalFreeDevice(bad), OrvoSimHalBadHandle);
        EXPECT_EQ(OHalPutDevice(bad), OrvoSimHalBadHandle);
    }
    EXPECT_EQ(portState(0, 3).staleAccesses - staleBefore, 12U); // those with the first handle
    EXPECT_EQ(OHalGetBoardInfoInt(second, "ports/gige"), 4);
    EXPECT_EQ(OHalPutDevice(second), 0);
    EXPECT_EQ(OHalFreeDevice(third), 0);
}

TEST_F(HandleTest, HandlesRunOutWithoutHarm) {
    std::set<void*> handles;
    while (void* handle = OHalInitDevice(3)) handles.insert(handle);
    EXPECT_EQ(handles.size(), 256U);
    for (void* handle : handles) EXPECT_EQ(OHalFreeDevice(handle), 0);
    const Device again(3);
}

TEST_F(HandleTest, BoardsTellWhatTheyAre) {
    EXPECT_EQ(orvoSimBoardCount(), 6);
    EXPECT_EQ(OHalInitLibraries(), 0);
    EXPECT_EQ(OHalGetDeviceCount(), 6);
    EXPECT_EQ(OHalGetMaxDevices(), 32);
    for (int index : {-1, 5, 6, 32, 1000}) EXPECT_EQ(OHalGetDevice(index), nullptr) << index;
    const Device older(1);
    const auto info = [&older](const char* key) { return OHalGetBoardInfoInt(older.handle(), key); };
    EXPECT_EQ(info("ports/gige"), 2);
    EXPECT_EQ(info("firmware/major"), 0);
    EXPECT_EQ(info("firmware/minor"), 9);
    EXPECT_EQ(static_cast<std::uint32_t>(info("board/serial")), 0xFFFF'0001U);
    EXPECT_EQ(info("board/type"), 0x0A40);
    EXPECT_EQ(info("board/name"), OrvoSimHalBadArgument);
    EXPECT_EQ(info(nullptr), OrvoSimHalBadArgument);
    EXPECT_STREQ(OHalGetBoardInfoString(older.handle(), "board/name"), "Older board");
    EXPECT_STREQ(OHalGetBoardInfoString(older.handle(), "board/caminterface"), "GigE");
    EXPECT_EQ(OHalGetBoardInfoString(older.handle(), "ports/gige"), nullptr);
    const Device other(9);
    EXPECT_STREQ(OHalGetBoardInfoString(other.handle(), "board/caminterface"), "CXP");
    EXPECT_EQ(OHalGetBoardInfoInt(other.handle(), "ports/gige"), 0);
    EXPECT_EQ(OHalGetBoardIndex(other.handle(), 0), 9);
}

TEST_F(HandleTest, RemovedBoardFailsEveryCallUntilItIsBack) {
    void* const handle = OHalInitDevice(0);
    void* const applet = KivFirmwareTrampoline(1, 0);
    EXPECT_EQ(orvoSimSetBoardPresent(0, 0), 0);
    EXPECT_THAT(everyCall(handle, applet), testing::Each(OrvoSimHalBoardGone));
    EXPECT_EQ(OHalInitDevice(0), nullptr);
    EXPECT_EQ(OHalGetDevice(0), nullptr);
    EXPECT_EQ(OHalGetDeviceCount(), 5);
    EXPECT_EQ(orvoSimInjectFrame(0, 0, "x", 1, 0), 0); // no link
    EXPECT_EQ(orvoSimSetBoardPresent(0, 1), 0);
    EXPECT_EQ(OHalDataQueueGetNrOfWords(handle, 0), 0);
    EXPECT_EQ(portState(0, 0).linkUp, 0);
    passMs(450);
    EXPECT_EQ(portState(0, 0).linkUp, 1);
    EXPECT_EQ(OHalFreeDevice(handle), 0);
    EXPECT_EQ(orvoSimSetBoardPresent(77, 1), OrvoSimNoSuchPlace);
}

TEST_F(HandleTest, ColdBoardNeedsItsAppletAndAStart) {
    const Device cold(2);
    std::uint64_t value = 0;
    EXPECT_EQ(OHalRegisterRead(cold.handle(), cold.address("GigE_Reset"), &value), OrvoSimHalNoApplet);
    EXPECT_EQ(OHalConfigureFpga(cold.handle(), nullptr), OrvoSimHalNoApplet);
    EXPECT_EQ(OHalConfigureFpga(cold.handle(), KivFirmwareTrampoline(0, 9)), OrvoSimHalNoApplet);
    EXPECT_EQ(OHalConfigureFpga(cold.handle(), cold.applet()), 0);
    for (const char* name : {"GigE_Reset", "GigE_TxStart", "GigE_RxEnable", "GigeTxStart3"})
        EXPECT_EQ(cold.read(name), 0U) << name;
    cold.write("GigE_Reset", 15);
    passMs(450);
    cold.write("GigE_TxStart", 1);
    cold.write("GigE_RxEnable", 1);
    cold.send(3, frameOf(60));
    EXPECT_EQ(cold.receive(3), std::nullopt);
    cold.write("GigeTxStart3", 1);
    cold.send(3, frameOf(60));
    EXPECT_EQ(cold.receive(3), frameOf(60));
    EXPECT_EQ(OHalConfigureFpga(cold.handle(), cold.applet()), 0); // runs already: left alone
    EXPECT_EQ(cold.read("GigeTxStart3"), 1U);
    EXPECT_EQ(OHalUnloadFpga(cold.handle()), 0);
    EXPECT_EQ(OHalRegisterWrite(cold.handle(), cold.address("GigE_Reset"), 15), OrvoSimHalNoApplet);
    EXPECT_EQ(portState(2, 3).linkUp, 0);
}

TEST_F(HandleTest, RegisterMapsFollowTheFirmwareVersion) {
    void* const full = KivFirmwareTrampoline(1, 0);
    void* const old = KivFirmwareTrampoline(0, 9);
    ASSERT_NE(full, nullptr);
    ASSERT_NE(old, nullptr);
    for (auto [major, minor] : {std::pair{1U, 1U}, {9U, 0U}, {0U, 0U}, {257U, 0U}})
        EXPECT_EQ(KivFirmwareTrampoline(major, minor), nullptr) << major << "." << minor;
    EXPECT_EQ(KivLoadKivFileWithType("applet.file", 0, 0), nullptr);

    EXPECT_EQ(KivGetNrOfRegister(full), 13 * 4 + 9);
    EXPECT_EQ(KivGetNrOfRegister(old), 13 * 4 + 9 - 4 - 1 - 1);
    std::set<int> addresses{0};
    for (std::uint32_t i = 0; i < 61; ++i) {
        const char* name = KivGetRegisterName(full, i);
        ASSERT_NE(name, nullptr) << i;
        EXPECT_EQ(KivGetRegisterByName(full, name), KivGetRegisterAddress(full, i)) << name;
        EXPECT_TRUE(addresses.insert(KivGetRegisterAddress(full, i)).second) << name;
    }
    EXPECT_EQ(KivGetRegisterName(full, 61), nullptr);
    EXPECT_EQ(KivGetRegisterAddress(full, 61), 0);

    for (const char* name :
         {"ActionCmdConfigData0", "ActionCmdConfigData3", "GigeTxDisableCrcGeneration1", "GigE_TxStart"}) {
        EXPECT_EQ(KivGetRegisterByName(old, name), 0) << name;
        EXPECT_NE(KivGetRegisterByName(full, name), 0) << name;
    }
    EXPECT_NE(KivGetRegisterByName(old, "GigeTxDisableCrcGeneration0"), 0);
    for (const char* name :
         {"GigeWriteData", "GigeWriteData4", "GigeWriteData00", "GigE_Reset0", "gige_reset", ""})
        EXPECT_EQ(KivGetRegisterByName(full, name), 0) << name;

    EXPECT_EQ(KivGetRegisterByName(full, nullptr), 0);
    for (void* none : {static_cast<void*>(nullptr), static_cast<void*>(&addresses)}) {
        EXPECT_EQ(KivGetRegisterByName(none, "GigE_Reset"), 0);
        EXPECT_EQ(KivGetRegisterName(none, 0), nullptr);
        EXPECT_LT(KivGetNrOfRegister(none), 0);
        EXPECT_LT(KivUnloadKivFile(none), 0);
    }
}

TEST_F(HandleTest, RegistersThatTheFirmwareLacksAreNoRegisters) {
    const Device full(0);
    const Device older(1); // lacks some registers, and has two ports
    std::uint64_t value = 77;
    for (const char* name :
         {"ActionCmdConfigData0", "GigeTxDisableCrcGeneration1", "GigE_TxStart", "GigeRecvPktCnt2"}) {
        SCOPED_TRACE(name);
        const auto address = full.address(name);
        EXPECT_EQ(OHalRegisterRead(older.handle(), address, &value), OrvoSimHalNoRegister);
        EXPECT_EQ(OHalRegisterWrite(older.handle(), address, 1), OrvoSimHalNoRegister);
    }
    const auto known = full.address("GigeWriteData0");
    for (std::uint32_t wrong :
         {0U, known + 1, known | 0x80, known | 0x400, known | 0x2'0000, 0xFFFF'FFFFU, known + 0x40}) {
        SCOPED_TRACE(wrong);
        EXPECT_EQ(OHalRegisterRead(full.handle(), wrong, &value), OrvoSimHalNoRegister);
        EXPECT_EQ(OHalRegisterWrite(full.handle(), wrong, 1), OrvoSimHalNoRegister);
    }
    EXPECT_EQ(value, 77U);
    EXPECT_EQ(OHalRegisterRead(full.handle(), known, nullptr), OrvoSimHalBadArgument);
    full.write("ActionCmdConfigData2", 0x1234'5678'9ABC);
    EXPECT_EQ(full.read("ActionCmdConfigData2"), 0x1234'5678'9ABCU);
    EXPECT_EQ(full.read("ActionCmdConfigData1"), 0U);
    full.write("GigeRecvPktCnt2", 9); // read only
    EXPECT_EQ(full.read("GigeRecvPktCnt2"), portState(0, 2).receivedFrames);
}

} // namespace
