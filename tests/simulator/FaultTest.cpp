// SPDX-License-Identifier: MIT
// Faults by script, as a host at the board meets them.
#include "SimulatedBoard.h"

namespace {

using testing::ElementsAre;

class FaultTest : public SimulatedBoard {
protected:
    ~FaultTest() override { load(""); }
    /// What is said about it; nothing when it is good.
    static std::string load(const std::string& script, std::uint64_t seed = 1, int result = 0) {
        char error[512] = "";
        EXPECT_EQ(orvoSimLoadFaultText(script.c_str(), seed, error, sizeof error), result) << error;
        return error;
    }
    static std::string fault(const std::string& kind, const std::string& when) {
        return "[[fault]]\nkind = '" + kind + "'\n" + when + "\n";
    }
    static OrvoSimFault entry(unsigned number) {
        OrvoSimFault found{};
        EXPECT_EQ(orvoSimReadFault(number, &found), 0);
        return found;
    }
    static OrvoSimPortAccount account(unsigned port) {
        OrvoSimPortAccount found{};
        EXPECT_EQ(orvoSimReadPortAccount(0, port, &found), 0);
        return found;
    }
    std::vector<int> receiveAll(unsigned port) const {
        std::vector<int> numbers;
        while (const auto frame = device.receive(port)) numbers.push_back(frame->at(0));
        return numbers;
    }
    const Device device{0};
};

TEST_F(FaultTest, WiresSpoilLoseDoubleAndReorderFrames) {
    const std::tuple<const char*, std::vector<int>, unsigned> cases[] = {
        // what comes of frames 1 to 5 when something happens to frame 2; receive errors
        {"fcs-flip", {1, 3, 4, 5}, 1},  {"bit-error", {1, 3, 4, 5}, 1}, {"runt", {1, 3, 4, 5}, 1},
        {"giant", {1, 3, 4, 5}, 1},     {"loss", {1, 3, 4, 5}, 0},      {"duplicate", {1, 2, 2, 3, 4, 5}, 0},
        {"reorder", {1, 3, 2, 4, 5}, 0}};
    for (const auto& [kind, arriving, errors] : cases)
        for (const char* wire : {"loopback", "port:0/1"})
            for (const char* direction : {"sent", "received"}) {
                SCOPED_TRACE(std::string(kind) + " " + wire + " " + direction);
                setWire(0, 0, wire);
                const unsigned far = wire == std::string("loopback") ? 0 : 1;
                const unsigned place = direction == std::string("sent") ? 0 : far;
                load(fault(kind,
                           "at = 2\nport = " + std::to_string(place) + "\ndirection = '" + direction + "'"));
                passMs(1000); // to negotiate the link
                const auto before = portState(0, far);
                for (unsigned number = 1; number <= 5; ++number) device.send(0, frameOf(60 + number, number));
                EXPECT_EQ(receiveAll(far), arriving);
                EXPECT_EQ(portState(0, far).receiveErrors - before.receiveErrors, errors);
                EXPECT_EQ(entry(0).injected, 1U);
            }
    EXPECT_EQ(orvoSimReadFault(1, nullptr), OrvoSimNoSuchPlace);
}

TEST_F(FaultTest, OneFrameSuffersOneFaultAndTheOthersWait) {
    load(fault("loss", "at = 2") + fault("duplicate", "at = 2") + fault("reorder", "at = 4"));
    passMs(1000);
    for (unsigned number = 1; number <= 4; ++number) device.send(0, frameOf(60, number));
    EXPECT_THAT(receiveAll(0), ElementsAre(1, 3, 3));
    EXPECT_EQ(account(0).sentHeld, 1U);
    orvoSimEndFaults(); // nobody overtook it
    EXPECT_THAT(receiveAll(0), ElementsAre(4));
    EXPECT_EQ(account(0).sentHeld + account(0).leftFrames, 0U);
    EXPECT_EQ(entry(2).injected, 0U);
    EXPECT_THAT((std::vector{account(0).sentLost, account(0).sentAdded, account(0).takenFrames}),
                ElementsAre(1, 1, 4));
}

TEST_F(FaultTest, QueuesGoWrongOneTransmissionAtATime) {
    const std::tuple<const char*, unsigned, int, unsigned> cases[] = {
        // the size word of a frame of 60 bytes, the result of a read of 120 bytes, the last word's end flag
        {"size-zero", 0, HalTimeout, 0}, {"size-long", 68, 120, 1},        {"size-short", 30, 120, 1},
        {"end-missing", 60, 120, 0},     {"read-short", 60, 60, 0},        {"read-torn", 60, 2, 0},
        {"read-long", 60, 124, 1},       {"read-failed", 0, HalTimeout, 0}};
    for (const auto& [kind, size, result, end] : cases) {
        SCOPED_TRACE(kind);
        load(fault(kind, "at = 2"));
        for (unsigned number = 1; number <= 3; ++number) inject(0, 0, frameOf(60, number));
        EXPECT_EQ(device.receive(0), frameOf(60, 1));
        Words words(40);
        const bool fails = kind == std::string("read-failed");
        EXPECT_EQ(OHalDataQueueReadBufferLong(device.handle, 0, words.data(), 4, 0), fails ? -1 : 4);
        EXPECT_EQ(fails ? 0 : words[0], size);
        if (result == HalTimeout) {
            EXPECT_EQ(device.receive(0), frameOf(60, 3)) << "nothing is left of it";
            continue;
        }
        EXPECT_EQ(OHalDataQueueReadBufferLong(device.handle, 0, words.data(), 120, 0), result);
        const auto last = static_cast<std::size_t>(std::clamp(result, 4, 120)) / 4 - 1;
        EXPECT_EQ(words[last] >> 16, end);
        EXPECT_EQ(device.receive(0), frameOf(60, 3)) << "the next read begins with the next frame";
    }
    load(fault("overflow", "at = 1"));
    passMs(1000);
    const auto before = portState(0, 0);
    EXPECT_EQ(inject(0, 0, frameOf(60)), OrvoSimFull);
    inject(0, 0, frameOf(60));
    OHalDataQueueClear(device.handle, 0);
    EXPECT_EQ(portState(0, 0).overflowFrames - before.overflowFrames, 1U);
    EXPECT_EQ(account(0).clearedFrames, 1U);
}

TEST_F(FaultTest, RegistersAndPhysMisbehaveAsTold) {
    load(fault("busy-ff", "at = 2") + fault("register-failed", "register = 'GigeRecvPktCnt0'\nresult = -9") +
         fault("mdio-failed", "port = 1\nat = 1") + fault("reset-endless", "port = 2\nat = 1") +
         fault("slow-negotiation", "port = 3\nat = 1\nfor_ms = 3000"));
    std::uint64_t value = 0;
    const auto read = [&](const char* name) {
        return OHalRegisterRead(device.handle, device.address(name), &value);
    };
    for (unsigned expected : {0U, 0xFFU, 0U}) EXPECT_EQ(device.read("GigeTxTransferActive0"), expected);
    EXPECT_EQ(read("GigeRecvPktCnt0"), -9);
    EXPECT_EQ(device.readPhy(0, 2), 0x0F3CU) << "another port's";
    device.write("GigE_MdioPhyAddr", 1);
    EXPECT_EQ(read("MdioReadReg"), -1);
    for (unsigned lines : {3U, 15U}) device.write("GigE_Reset", lines);
    passMs(2000);
    EXPECT_EQ(device.readPhy(2, 0) & 0x8000U, 0x8000U);
    EXPECT_EQ(portState(0, 3).linkUp, 0);
    EXPECT_EQ(entry(4).effects, 2'000'000U);
    passMs(2000);
    EXPECT_EQ(portState(0, 3).linkUp, 1);
    EXPECT_EQ(account(3).linkLosses, 1U);
    EXPECT_GE(account(3).linkDownMicroseconds, 3'000'000U);
    for (unsigned lines : {11U, 15U}) device.write("GigE_Reset", lines); // the next reset is a good one
    passMs(1000);
    EXPECT_EQ(portState(0, 2).linkUp, 1);
}

TEST_F(FaultTest, SingleFaultsComeBeforeThoseOfTheScript) {
    const char* const name = "GigeRecvPktCnt1";
    EXPECT_EQ(orvoSimOverrideRegister(0, name, -7, 0, 1), 0);
    EXPECT_EQ(orvoSimOverrideRegister(0, name, 0, 42, 1), 0);
    EXPECT_EQ(orvoSimFailReads(0, 1, -8, 5), 0);
    EXPECT_EQ(orvoSimFailReads(0, 1, -9, 1), 0) << "replaces the first";
    load(
        fault("register-failed", "port = 1\ntimes = 1\nregister = '" + std::string(name) + "'\nresult = -6"));
    std::uint64_t value = 0;
    std::vector<int> results;
    for (int i = 0; i < 4; ++i)
        results.push_back(OHalRegisterRead(device.handle, device.address(name), &value));
    EXPECT_THAT(results, ElementsAre(-7, 0, -6, 0));
    passMs(1000);
    inject(0, 1, frameOf(60, 3));
    std::uint32_t word = 0;
    EXPECT_EQ(OHalDataQueueReadBufferLong(device.handle, 1, &word, 4, 0), -9);
    EXPECT_EQ(device.receive(1), frameOf(60, 3)) << "which no single fault loses";
    EXPECT_EQ(account(1).failedFrames, 0U);
}

TEST_F(FaultTest, CablesAndBoardsComeAndGo) {
    load(fault("link-flap", "at_ms = 10\nevery_ms = 1000\ntimes = 2\nfor_ms = 20") +
         fault("board-gone", "at = 2\nport = 1\nfor_ms = 50") +
         fault("action-storm", "at_ms = 0\nreports = 2000"));
    passMs(10); // nobody has touched the board yet
    EXPECT_FALSE(device.carries(0));
    passMs(500);
    EXPECT_TRUE(device.carries(0));
    passMs(1000);
    EXPECT_FALSE(device.carries(0));
    EXPECT_EQ(entry(0).injected, 2U);
    EXPECT_EQ(account(0).linkLosses, 2U);

    std::uint32_t word = 0;
    EXPECT_EQ(OHalDataQueueReadBufferLong(device.handle, 8, &word, 4, 0), HalTimeout) << "the storm waits";
    EXPECT_EQ(OHalDataQueueReadBufferLong(device.handle, 8, &word, 4, 0), 4);
    EXPECT_EQ(entry(2).effects, 1024U);
    EXPECT_EQ(account(0).leftReports, 1023U);

    EXPECT_TRUE(device.carries(1));
    device.send(1, frameOf(60));
    EXPECT_EQ(OHalRegisterRead(device.handle, device.address("GigE_Reset"), nullptr), OrvoSimHalBadArgument);
    std::uint64_t value = 0;
    EXPECT_EQ(OHalRegisterRead(device.handle, device.address("GigE_Reset"), &value), OrvoSimHalBoardGone);
    EXPECT_EQ(OHalRegisterWrite(device.handle, device.address("GigeWriteComplete1"), 0), OrvoSimHalBoardGone);
    EXPECT_EQ(account(1).refusedFrames, 1U);
    passMs(50);
    EXPECT_EQ(device.read("GigE_Reset"), 15U);
}

TEST_F(FaultTest, BadScriptsLeaveTheOldOneAtWork) {
    load(fault("loss", "port = 2"));
    passMs(1000);
    EXPECT_EQ(load(fault("loss", "board = 1\nport = 2"), 1, OrvoSimBadValue),
              "script:2: there is no port 1/2; correct 'board' or 'port'");
    EXPECT_THAT(load(fault("register-failed", "register = 'GigeRecvPktCnt'"), 1, OrvoSimBadValue),
                testing::StartsWith("script:3: the firmware of board 0 has no register 'GigeRecvPktCnt'"));
    EXPECT_THAT(load(fault("register-failed", "register = 'GigeRecvErrCnt1'"), 1, OrvoSimBadValue),
                testing::StartsWith("script:3: 'GigeRecvErrCnt1' is a register of port 1"));
    char error[200] = "";
    EXPECT_EQ(orvoSimLoadFaults("/nowhere/x.toml", 1, error, sizeof error), OrvoSimBadValue);
    EXPECT_STREQ(error, "/nowhere/x.toml: cannot be read: No such file or directory");
    EXPECT_FALSE(device.carries(2));
    EXPECT_EQ(entry(0).injected, 1U);
}

} // namespace
