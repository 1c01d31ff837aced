// A host's view of a simulated board, for tests.
#pragma once

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>
#include <orvo/sim/orvo_sim.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// `count` bytes that tell their place, beginning with `first`.
Bytes frameOf(std::size_t count, unsigned first = 1);
/// The frame as a receiver hands it to the host: padded to 60 bytes, and to an even number.
Bytes padded(Bytes frame);
/// The frame with its check sequence, exclusive-or'ed with `errorMask`.
Bytes withFcs(Bytes frame, std::uint32_t errorMask = 0);

/// An open board.
class Device {
public:
    explicit Device(int board = 0);
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    void* handle() const { return handle_; }
    void* applet() const { return applet_; }
    std::uint32_t address(const std::string& name) const;
    std::uint64_t read(const std::string& name) const; ///< fails the test when the access does
    void write(const std::string& name, std::uint64_t value) const;

    /// Writes the whole 16-bit units of a frame into the port's transmitter and sends it.
    void send(unsigned port, const Bytes& frame) const;
    /// The next frame in the port's receive queue; none when nothing is there.
    std::optional<Bytes> receive(unsigned port, std::uint32_t timeoutMs = 0) const;

    std::uint16_t readPhy(unsigned port, unsigned number) const;
    void writePhy(unsigned port, unsigned number, std::uint16_t value) const;

private:
    void* handle_;
    void* applet_;
};

OrvoSimPort portState(unsigned board, unsigned port);
std::string wireOf(unsigned board, unsigned port);
void setWire(unsigned board, unsigned port, const std::string& wire);
/// Advances virtual time.
void passMs(std::uint64_t milliseconds);

/// Runs in virtual time, and finds all boards present and all queues empty.
class SimulatedBoard : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};
