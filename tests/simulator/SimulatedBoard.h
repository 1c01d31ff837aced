// SPDX-License-Identifier: MIT
// A host's view of a simulated board, for tests.
#pragma once

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>
#include <orvo/sim/orvo_sim.h>

#include <gmock/gmock.h>
#include <zlib.h>

#include <filesystem>
#include <optional>

#include <sys/types.h>

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint32_t>;

/// `count` bytes that tell their place, beginning with `first`.
inline Bytes frameOf(std::size_t count, unsigned first = 1) {
    Bytes frame(count);
    for (std::size_t i = 0; i < count; ++i) frame[i] = static_cast<std::uint8_t>(first + i * 3);
    return frame;
}

/// The frame with its check sequence, exclusive-or'ed with `errorMask`.
inline Bytes withFcs(Bytes frame, unsigned long errorMask = 0) {
    auto fcs = crc32_z(0, frame.data(), frame.size()) ^ errorMask;
    for (int i = 0; i < 4; ++i, fcs >>= 8) frame.push_back(static_cast<std::uint8_t>(fcs));
    return frame;
}

/// The frame as a receiver hands it to the host: padded to 60 bytes, and to an even number.
inline Bytes padded(Bytes frame) {
    frame.resize(std::max<std::size_t>(frame.size() + frame.size() % 2, 60));
    return frame;
}

/// An open board. Calls fail the test when an access fails.
class Device {
public:
    explicit Device(int board = 0)
        : handle(OHalInitDevice(board)), applet(KivFirmwareTrampoline(board != 1, board != 1 ? 0 : 9)) {
        EXPECT_TRUE(handle && applet) << "board " << board;
    }
    ~Device() { EXPECT_TRUE(KivUnloadKivFile(applet) == 0 && OHalFreeDevice(handle) == 0); }
    Device(const Device&) = delete;

    std::uint32_t address(const std::string& name) const {
        return static_cast<std::uint32_t>(KivGetRegisterByName(applet, name.c_str()));
    }
    std::uint64_t read(const std::string& name) const {
        std::uint64_t value = 0;
        EXPECT_EQ(OHalRegisterRead(handle, address(name), &value), 0) << name;
        return value;
    }
    void write(const std::string& name, std::uint64_t value) const {
        EXPECT_EQ(OHalRegisterWrite(handle, address(name), value), 0) << name;
    }

    /// Writes the whole 16-bit units of a frame into the port's transmitter and sends it.
    void send(unsigned port, const Bytes& frame) const {
        const std::string number = std::to_string(port);
        write("GigeBufferReset" + number, 0);
        for (std::size_t i = 0; i + 1 < frame.size(); i += 2)
            write("GigeWriteData" + number, frame[i] | std::uint64_t{frame[i + 1]} << 8);
        write("GigeWriteComplete" + number, 0);
    }
    /// The next frame in the port's receive queue; none when nothing is there.
    std::optional<Bytes> receive(unsigned port, std::uint32_t timeoutMs = 0) const {
        std::uint32_t bytes = 0, word = 0;
        if (OHalDataQueueReadBufferLong(handle, port, &bytes, 4, timeoutMs) == HalTimeout)
            return std::nullopt;
        Bytes frame;
        while (frame.size() < bytes && OHalDataQueueReadBuffer(handle, port, &word, 4, 0) == 4) {
            for (unsigned shift : {0U, 8U}) frame.push_back(static_cast<std::uint8_t>(word >> shift));
            EXPECT_EQ(word >> 16, frame.size() >= bytes ? 1U : 0U) << "end of transmission";
        }
        EXPECT_EQ(frame.size(), bytes);
        return frame;
    }
    /// Sends a frame on a port that is on loopback; true when it comes back.
    bool carries(unsigned port) const {
        send(port, frameOf(60));
        return receive(port) == frameOf(60);
    }

    unsigned readPhy(unsigned port, unsigned number) const {
        write("GigE_MdioPhyAddr", port);
        write("GigE_MdioRegAddr", number);
        write("GigE_MdioRD", 0);
        return static_cast<unsigned>(read("MdioReadReg"));
    }
    void writePhy(unsigned port, unsigned number, unsigned value) const {
        write("GigE_MdioPhyAddr", port);
        write("GigE_MdioRegAddr", number);
        write("GigE_Mdio", value);
        write("GigE_MdioWR", 0);
    }

    void* const handle;
    void* const applet;
};

inline OrvoSimPort portState(unsigned board, unsigned port) {
    OrvoSimPort state{};
    EXPECT_EQ(orvoSimReadPort(board, port, &state), 0);
    return state;
}

inline std::string wireOf(unsigned board, unsigned port) {
    char text[4096] = "";
    EXPECT_EQ(orvoSimGetWire(board, port, text, sizeof text), 0);
    return text;
}

/// Plugs a wire, or is refused as expected; returns the reason.
inline std::string setWire(unsigned board, unsigned port, const std::string& wire, int result = 0) {
    char error[4096] = "";
    EXPECT_EQ(orvoSimSetWire(board, port, wire.c_str(), error, sizeof error), result) << error;
    return error;
}

inline int inject(unsigned board, unsigned port, const Bytes& frame, std::uint32_t fcsErrorMask = 0) {
    return orvoSimInjectFrame(board, port, frame.data(), frame.size(), fcsErrorMask);
}

/// A folder for the files of one test.
struct TemporaryFolder {
    ~TemporaryFolder() { std::filesystem::remove_all(path); }
    const std::filesystem::path path = mkdtemp((testing::TempDir() + "simulator-XXXXXX").data());
};

/// A process that serves the boards to others, with a socket of its own; ends with this object, or when this
/// process does.
struct BoardServer {
    explicit BoardServer(const std::filesystem::path& folder);
    ~BoardServer();
    BoardServer(const BoardServer&) = delete;

    const std::string socket;
    int lifeline = -1; // before the process, whose start sets it
    const pid_t process;
};

/// This program as another process; with `waits`, returns once it has written its first byte. `input` is the
/// other end of its standard input. The environment variable ORVO_BOARD is `board`.
pid_t startSelf(const char* mode, const std::string& argument, const std::string& board, int& input,
                bool waits = true);

/// Runs in virtual time, and finds boards 0, 3 and 4 present, cabled as configured, up since a reset, and all
/// their queues empty.
class SimulatedBoard : public testing::Test {
protected:
    void SetUp() override;
    static void passMs(std::uint64_t milliseconds) { EXPECT_EQ(orvoSimAdvanceTime(milliseconds * 1000), 0); }
};
