// Board access for tests, and the program's main.
#include "SimulatedBoard.h"

#include <zlib.h>

#include <array>
#include <cstdlib>

Bytes frameOf(std::size_t count, unsigned first) {
    Bytes frame(count);
    for (std::size_t i = 0; i < count; ++i) frame[i] = static_cast<std::uint8_t>(first + i * 3);
    return frame;
}

Bytes padded(Bytes frame) {
    frame.resize(std::max<std::size_t>(frame.size() + frame.size() % 2, 60));
    return frame;
}

Bytes withFcs(Bytes frame, std::uint32_t errorMask) {
    auto fcs = static_cast<std::uint32_t>(crc32_z(0, frame.data(), frame.size())) ^ errorMask;
    for (int i = 0; i < 4; ++i, fcs >>= 8) frame.push_back(static_cast<std::uint8_t>(fcs));
    return frame;
}

Device::Device(int board) : handle_(OHalInitDevice(board)) {
    EXPECT_NE(handle_, nullptr) << "board " << board;
    const auto info = [this](const char* key) {
        return static_cast<std::uint32_t>(OHalGetBoardInfoInt(handle_, key));
    };
    applet_ = KivFirmwareTrampoline(info("firmware/major"), info("firmware/minor"));
    EXPECT_NE(applet_, nullptr);
}

Device::~Device() {
    EXPECT_EQ(KivUnloadKivFile(applet_), 0);
    EXPECT_EQ(OHalFreeDevice(handle_), 0);
}

std::uint32_t Device::address(const std::string& name) const {
    return static_cast<std::uint32_t>(KivGetRegisterByName(applet_, name.c_str()));
}

std::uint64_t Device::read(const std::string& name) const {
    std::uint64_t value = 0;
    EXPECT_EQ(OHalRegisterRead(handle_, address(name), &value), 0) << name;
    return value;
}

void Device::write(const std::string& name, std::uint64_t value) const {
    EXPECT_EQ(OHalRegisterWrite(handle_, address(name), value), 0) << name;
}

void Device::send(unsigned port, const Bytes& frame) const {
    const std::string number = std::to_string(port);
    write("GigeBufferReset" + number, 0);
    const auto data = address("GigeWriteData" + number);
    for (std::size_t i = 0; i + 1 < frame.size(); i += 2)
        EXPECT_EQ(OHalRegisterWrite(handle_, data, frame[i] | std::uint64_t{frame[i + 1]} << 8), 0);
    write("GigeWriteComplete" + number, 0);
}

std::optional<Bytes> Device::receive(unsigned port, std::uint32_t timeoutMs) const {
    std::uint32_t bytes = 0;
    const int result = OHalDataQueueReadBufferLong(handle_, port, &bytes, 4, timeoutMs);
    if (result == HalTimeout) return std::nullopt;
    EXPECT_EQ(result, 4);
    std::vector<std::uint32_t> words(bytes / 2);
    EXPECT_EQ(OHalDataQueueReadBufferLong(handle_, port, words.data(), 2 * bytes, 0),
              static_cast<int>(2 * bytes));
    Bytes frame;
    for (std::size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(words[i] >> 16, i + 1 == words.size() ? 1U : 0U) << "end of transmission, word " << i;
        frame.push_back(static_cast<std::uint8_t>(words[i]));
        frame.push_back(static_cast<std::uint8_t>(words[i] >> 8));
    }
    return frame;
}

std::uint16_t Device::readPhy(unsigned port, unsigned number) const {
    write("GigE_MdioPhyAddr", port);
    write("GigE_MdioRegAddr", number);
    write("GigE_MdioRD", 0);
    return static_cast<std::uint16_t>(read("MdioReadReg"));
}

void Device::writePhy(unsigned port, unsigned number, std::uint16_t value) const {
    write("GigE_MdioPhyAddr", port);
    write("GigE_MdioRegAddr", number);
    write("GigE_Mdio", value);
    write("GigE_MdioWR", 0);
}

OrvoSimPort portState(unsigned board, unsigned port) {
    OrvoSimPort state{};
    EXPECT_EQ(orvoSimReadPort(board, port, &state), 0);
    return state;
}

std::string wireOf(unsigned board, unsigned port) {
    std::array<char, 4096> text{};
    EXPECT_EQ(orvoSimGetWire(board, port, text.data(), text.size()), 0);
    return text.data();
}

void setWire(unsigned board, unsigned port, const std::string& wire) {
    std::array<char, 4096> error{};
    EXPECT_EQ(orvoSimSetWire(board, port, wire.c_str(), error.data(), error.size()), 0) << error.data();
}

void passMs(std::uint64_t milliseconds) {
    EXPECT_EQ(orvoSimAdvanceTime(milliseconds * 1000), 0);
}

void SimulatedBoard::SetUp() {
    orvoSimUseVirtualTime(1);
    passMs(1000); // links that the test before took down are up again
    for (int board : {0, 1, 3, 4}) {
        const Device device(board);
        for (unsigned port = 0; port < 4; ++port)
            for (unsigned queue : {port, port + 8}) OHalDataQueueClear(device.handle(), queue);
    }
}

void SimulatedBoard::TearDown() {
    orvoSimUseVirtualTime(0);
}

int main(int argc, char** argv) {
    setenv("ORVO_SIMULATOR_CONFIG", SIMULATOR_BOARDS, 1); // before the library is used first
    testing::InitGoogleMock(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a child runs this main again, with a library of its own
    return RUN_ALL_TESTS();
}
